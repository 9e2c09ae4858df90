#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::io {

/// The frames of a recording between two times.
class Section {
 public:
  /// Times [s] as the recording counts them, from `start` on; `rate` [frames/s].
  Section(const std::optional<double>& from, const std::optional<double>& to, double rate, double start) {
    // The frame that lies at a time, not the next one: a millionth of a frame is rounding.
    const auto frame = [rate, start](double time) {
      return numeric::trunc_sat<std::uint64_t>(std::ceil((time - start) * rate - 1e-6));
    };
    if (from) first_ = frame(*from);
    if (to) end_ = std::max(first_, frame(*to));
  }

  std::uint64_t first() const { return first_; }
  /// Frames at most.
  std::uint64_t length() const { return end_ - first_; }
  /// How many of a recording's frames it holds.
  std::optional<std::uint64_t> Frames(const std::optional<std::uint64_t>& all) const {
    if (!all) return std::nullopt;
    return std::min(end_, *all) - std::min(first_, *all);
  }

 private:
  std::uint64_t first_ = 0;
  std::uint64_t end_ = std::numeric_limits<std::uint64_t>::max();
};

}  // namespace umlauf::io
