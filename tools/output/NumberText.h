#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace umlauf::tool {

/// Numbers from text: the whole text (blanks around it aside), decimal point, never by the locale.
std::optional<double> ParseNumber(std::string_view text);
std::optional<std::uint32_t> ParseCount(std::string_view text);

/// Without blanks, tabs and line ends at both sides.
std::string_view Trimmed(std::string_view text);

}  // namespace umlauf::tool
