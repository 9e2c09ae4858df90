#pragma once

// Conversions between wide text and the two encodings that files hold. Every conversion of the library is
// here. They throw std::bad_alloc where there is no memory, and nothing else: who uses the library converts
// through CString, which does not throw.

#include <string>
#include <string_view>

#include "umlauf/Export.h"

namespace umlauf::codepages {

/// UTF-8 to wide text; malformed sequences become U+FFFD.
UMLAUF_API std::wstring Utf8ToWide(std::string_view utf8);
/// Wide text to UTF-8; what is no character becomes U+FFFD.
UMLAUF_API std::string WideToUtf8(std::wstring_view wide);
/// Names of files and folders as the system gives them, which need not be UTF-8, to wide text: a byte that
/// belongs to no character becomes U+DC00 plus the byte. `WideToName` gives every name back byte by byte.
UMLAUF_API std::wstring NameToWide(std::string_view name);
UMLAUF_API std::string WideToName(std::wstring_view wide);
/// Code page 1252 to wide text; bytes without a character map to the control of the same number.
UMLAUF_API std::wstring Cp1252ToWide(std::string_view ansi);
/// Wide text to code page 1252; a character outside the page becomes "?".
UMLAUF_API std::string WideToCp1252(std::wstring_view wide);

}  // namespace umlauf::codepages
