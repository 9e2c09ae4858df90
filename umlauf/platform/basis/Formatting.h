#pragma once

#include <string>
#include <string_view>

#include "umlauf/Export.h"

/// Text conversions of lBasis. The result is empty when there is no memory.
namespace Formatting {

/// Code page 1252 to wide text.
UMLAUF_API std::wstring ansi2unicode(std::string_view ansi);
/// Wide text to code page 1252; a character outside the page becomes "?".
UMLAUF_API std::string unicode2ansi(std::wstring_view wide);

}  // namespace Formatting
