#include "tools/options/TimeRange.h"

#include <algorithm>
#include <cmath>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {

std::pair<std::uint64_t, std::uint64_t> TimeRange::Frames(double start, double rate,
                                                          std::uint64_t frames) const {
  // Seconds are decimal: a sample that lies at an end within rounding is taken.
  constexpr double rounding = 1e-6;
  const auto place = [&](double x) {
    return std::clamp((x - start) * rate, 0.0, static_cast<double>(frames));
  };
  std::uint64_t first = 0, end = frames;
  if (from) first = numeric::trunc_sat<std::uint64_t>(std::ceil(place(*from) - rounding));
  if (to && *to < start)
    end = 0;
  else if (to)
    end = std::min(frames, numeric::trunc_sat<std::uint64_t>(std::floor(place(*to) + rounding)) + 1);
  return {std::min(first, end), end};
}

void DeclareTimeRange(CLI::App& command, TimeRange& range, const std::string& unit) {
  command.add_option("--from", range.from, "leaves out what lies before")
      ->check(Finite().description(""))
      ->type_name(unit);
  command.add_option("--to", range.to, "leaves out what lies behind")
      ->check(Finite().description(""))
      ->type_name(unit);
}

void CheckTimeRange(const TimeRange& range) {
  if (range.from && range.to && !(*range.from < *range.to)) {
    FailUsage("--from {} --to {}: the part would end before it begins; exchange them", *range.from,
              *range.to);
  }
}

}  // namespace umlauf::tool
