#include "umlauf/platform/basis/Formatting.h"

#include "umlauf/platform/basis/codepages/CodePages.h"
#include "umlauf/platform/memory/WithoutMemory.h"

namespace codepages = umlauf::codepages;

std::wstring Formatting::ansi2unicode(std::string_view ansi) {
  return umlauf::WithMemory(std::wstring(), [&] { return codepages::Cp1252ToWide(ansi); });
}

std::string Formatting::unicode2ansi(std::wstring_view wide) {
  return umlauf::WithMemory(std::string(), [&] { return codepages::WideToCp1252(wide); });
}
