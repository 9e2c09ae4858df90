#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace umlauf::rotation {

/// Successive samples of a recording.
struct Stretch {
  std::uint64_t begin = 0;  ///< [samples]
  std::vector<float> samples;
};
using Stretches = std::vector<Stretch>;

/// Keeps a share of a recording of any length: all of it up to two million samples, of a longer one stretches
/// at even distances, half to all of that number. Also the range of every part of it, share or not.
class Share {
 public:
  struct Range {
    float low, high;
  };
  static constexpr std::size_t most = 1 << 21;

  void Take(const float* samples, std::size_t n, std::size_t stride);
  /// The share, neighbours joined; call once, at the end.
  Stretches Finish();
  bool IsAll() const { return interval_ == 1; }
  /// Of successive parts of equal length.
  const std::vector<Range>& Ranges() const { return ranges_; }

 private:
  static constexpr std::size_t stretch = 32768, mostStretches = most / stretch;
  static constexpr std::size_t part = 4096, mostRanges = 32768;

  void TakeRange(const float* samples, std::size_t n);

  Stretches stretches_;
  std::uint64_t at_ = 0;
  std::uint64_t interval_ = 1;  ///< every so many stretches one is kept
  std::vector<Range> ranges_;
  std::uint64_t rangeParts_ = 1, partsInRange_ = 0;
  std::size_t inPart_ = 0;
};

}  // namespace umlauf::rotation
