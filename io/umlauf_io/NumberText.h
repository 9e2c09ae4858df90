#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "umlauf_io/Export.h"

namespace umlauf::io {

/// Numbers from text: the whole text (blanks around it aside), decimal point, never by the locale.
UMLAUF_IO_API std::optional<double> ParseNumber(std::string_view text);
UMLAUF_IO_API std::optional<std::uint32_t> ParseCount(std::string_view text);

/// Without blanks, tabs and line ends at both sides.
UMLAUF_IO_API std::string_view Trimmed(std::string_view text);

}  // namespace umlauf::io
