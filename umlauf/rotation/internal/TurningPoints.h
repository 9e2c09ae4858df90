#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "umlauf/rotation/internal/Zigzag.h"

namespace umlauf::rotation {

/// Successive samples, numbers all, and where they turn. In between they only rise, or only fall, so that
/// whoever follows swings of some size has to look at few of them.
class TurningPoints {
 public:
  TurningPoints() = default;
  explicit TurningPoints(std::span<const float> samples);

  std::span<const float> Samples() const { return samples_; }
  /// The first sample, those where the signal turns, and the last one: of equal ones the first.
  std::span<const std::uint32_t> Places() const { return places_; }

  /// What a zigzag finds in the samples: f(number of the sample that confirms an extreme) for each.
  template <class F>
  void Follow(Zigzag& zigzag, F f) const {
    std::uint32_t begin = 0;
    for (const std::uint32_t end : places_) {
      if (zigzag.Turns(samples_[end])) {
        const auto first = samples_.begin() + begin, last = samples_.begin() + end;
        const auto at = std::partition_point(first, last, [&](float x) { return !zigzag.Turns(x); });
        const auto seen = static_cast<std::uint32_t>(at - samples_.begin());
        zigzag.TakeAt(seen, *at);
        f(seen);
        if (seen == end) {
          begin = end;
          continue;
        }
      }
      zigzag.TakeAt(end, samples_[end]);
      begin = end;
    }
  }

 private:
  std::span<const float> samples_;
  std::vector<std::uint32_t> places_;
};

}  // namespace umlauf::rotation
