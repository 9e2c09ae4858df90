#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "umlauf_io/NumberText.h"

namespace umlauf::tool {

/// The parts of a text that commas part, without blanks around them.
inline std::vector<std::string> Listed(std::string_view text) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    parts.emplace_back(io::Trimmed(text.substr(begin, end - begin)));
    begin = end + 1;
  }
  return parts;
}

/// A text with every `what` replaced.
inline std::string Replaced(std::string text, std::string_view what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
    text.replace(at, what.size(), by);
  return text;
}

}  // namespace umlauf::tool
