#include "umlauf_io/NumberText.h"

#include <charconv>
#include <system_error>

namespace umlauf::io {
namespace {

template <class T>
std::optional<T> Parse(std::string_view text) {
  text = Trimmed(text);
  if (text.starts_with('+')) text.remove_prefix(1);
  T value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<double> ParseNumber(std::string_view text) { return Parse<double>(text); }
std::optional<std::uint32_t> ParseCount(std::string_view text) { return Parse<std::uint32_t>(text); }

}  // namespace umlauf::io
