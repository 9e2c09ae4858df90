#include "umlauf/keys/internal/StringTable.h"

#include "umlauf/platform/basis/CSwitchResourceDefault.h"
#include "umlauf/resources/StringTables.h"

void umlauf::LoadTexts(unsigned first, std::span<CString> texts) {
  const CSwitchResourceDefault library(LibraryResources());
  for (CString& text : texts) text = CLibMgr::LoadStringW(first++);
}
