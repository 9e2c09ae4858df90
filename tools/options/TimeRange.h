#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace umlauf::tool {

/// The part that `--from` and `--to` choose, both ends included; all of it without them.
struct TimeRange {
  std::optional<double> from, to;

  bool given() const { return from || to; }
  bool Contains(double x) const { return !(from && x < *from) && !(to && x > *to); }
  /// First and behind the last of the `frames` samples that lie `rate` per unit apart, the first one at
  /// `start`; equal when there are none.
  std::pair<std::uint64_t, std::uint64_t> Frames(double start, double rate, std::uint64_t frames) const;
};

/// Declares the two options; `unit` for the help ("SECONDS").
void DeclareTimeRange(CLI::App& command, TimeRange& range, const std::string& unit);
/// Throws ToolError when the range ends before it begins.
void CheckTimeRange(const TimeRange& range);

}  // namespace umlauf::tool
