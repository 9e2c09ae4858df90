#include "umlauf_io/internal/TimeUnit.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "umlauf_io/NumberText.h"

namespace umlauf::io {
namespace {

constexpr std::pair<std::string_view, double> units[] = {
    {"s", 1},        {"sec", 1},   {"seconds", 1},    {"Sekunden", 1},
    {"ms", 1e-3},    {"us", 1e-6}, {"\u00B5s", 1e-6}, {"\u03BCs", 1e-6},  // the Greek letter
    {"\xB5s", 1e-6},                                                      // of code page 1252
    {"ns", 1e-9},    {"min", 60},  {"h", 3600},
};

}  // namespace

std::optional<double> TimeUnit(std::string_view cell) {
  cell = Trimmed(cell);
  if (cell.size() > 2 && (cell.front() == '[' || cell.front() == '(')) cell = cell.substr(1, cell.size() - 2);
  const auto found = std::ranges::find(units, Trimmed(cell), &std::pair<std::string_view, double>::first);
  return found == std::end(units) ? std::nullopt : std::optional(found->second);
}

std::optional<double> TimeUnitOfName(std::string_view name) {
  name = Trimmed(name);
  const std::size_t begin = name.find_last_of("_[(/ ");
  if (begin == std::string_view::npos) return TimeUnit(name);
  const bool bracket = name[begin] == '[' || name[begin] == '(';
  return TimeUnit(name.substr(bracket ? begin : begin + 1));
}

}  // namespace umlauf::io
