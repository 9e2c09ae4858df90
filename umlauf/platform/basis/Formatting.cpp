#include "umlauf/platform/basis/Formatting.h"

#include "umlauf/platform/basis/codepages/CodePages.h"

std::wstring Formatting::ansi2unicode(std::string_view ansi) { return umlauf::codepages::Cp1252ToWide(ansi); }
std::string Formatting::unicode2ansi(std::wstring_view wide) { return umlauf::codepages::WideToCp1252(wide); }
