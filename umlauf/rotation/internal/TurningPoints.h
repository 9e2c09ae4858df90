#pragma once

#include <cstdint>
#include <span>

#include "umlauf/platform/basis/LargeMemory.h"
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
        const std::uint32_t seen = FirstThatTurns(zigzag, begin, end);
        zigzag.TakeAt(seen, samples_[seen]);
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
  /// From sample `begin` on; `end` is one, and the signal does not turn on the way.
  std::uint32_t FirstThatTurns(const Zigzag& zigzag, std::uint32_t begin, std::uint32_t end) const {
    while (end - begin > few) {
      const std::uint32_t middle = begin + (end - begin) / 2;
      (zigzag.Turns(samples_[middle]) ? end : begin) = middle;
    }
    // A count has no branches that a processor would have to guess.
    std::uint32_t before = 0;
    for (std::uint32_t i = begin; i < end; ++i) before += zigzag.Turns(samples_[i]) ? 0u : 1u;
    return begin + before;
  }

  static constexpr std::uint32_t few = 32;

  std::span<const float> samples_;
  LargeVector<std::uint32_t> places_;
};

}  // namespace umlauf::rotation
