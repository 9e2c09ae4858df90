#include "umlauf/platform/basis/Formatting.h"

#include "umlauf/platform/os/os.h"

std::wstring Formatting::ansi2unicode(std::string_view ansi) { return umlauf::os::Cp1252ToWide(ansi); }
std::string Formatting::unicode2ansi(std::wstring_view wide) { return umlauf::os::WideToCp1252(wide); }
