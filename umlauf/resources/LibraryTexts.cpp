#include "umlauf/resources/LibraryTexts.h"

#include "umlauf/platform/basis/CSwitchResourceDefault.h"
#include "umlauf/resources/internal/StringTables.h"

const CResourceModule& umlauf::LibraryResources() { return resources::EmbeddedTables(); }

CString umlauf::LibraryText(TextId id) {
  CString text;
  LibraryTexts(id, {&text, 1});
  return text;
}

void umlauf::LibraryTexts(TextId first, std::span<CString> texts) {
  const CSwitchResourceDefault library(LibraryResources());
  auto id = static_cast<unsigned>(first);
  for (CString& text : texts) text = CLibMgr::LoadStringW(id++);
}
