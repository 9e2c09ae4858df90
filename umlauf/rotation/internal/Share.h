#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/platform/basis/LargeMemory.h"

namespace umlauf::rotation {

/// Successive samples of a recording.
struct Stretch {
  std::uint64_t begin = 0;  ///< [samples]
  LargeVector<float> samples;
};
using Stretches = std::vector<Stretch>;

/// Keeps a share of a recording of any length: all of it up to two million samples, of a longer one stretches
/// at even distances, half to all of that number.
class Share {
 public:
  static constexpr std::size_t most = 1 << 21;
  static constexpr std::size_t stretch = 32768, mostStretches = most / stretch;

  /// Keeps every so many stretches one, or fewer of a longer recording.
  explicit Share(std::uint64_t interval = 1) : interval_(interval) {}

  void Take(const float* samples, std::size_t n, std::size_t stride);
  /// As above, from a place of the recording on that is a multiple of `stretch`.
  void TakeAt(std::uint64_t begin, const float* samples, std::size_t n, std::size_t stride);
  /// The share, neighbours joined; call once, at the end.
  Stretches Finish();
  bool IsAll() const { return interval_ == 1; }

  /// For a recording of so many samples, of which at most `keep` are kept.
  static std::uint64_t Interval(std::uint64_t samples, std::uint64_t keep = most);
  std::uint64_t Interval() const { return interval_; }

 private:
  void Thin();

  Stretches stretches_;
  std::uint64_t at_ = 0;
  std::uint64_t interval_;
};

}  // namespace umlauf::rotation
