#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace umlauf::rotation {

/// The range of every part of a recording of any length; a longer one has longer parts.
class RangeParts {
 public:
  struct Range {
    float low, high;
  };
  static constexpr std::size_t part = 4096;  ///< [samples] before they grow

  void Take(const float* samples, std::size_t n, std::size_t stride);

  /// Takes the range of the next `part` samples, or of those that the recording ends with. Not together with
  /// samples.
  void TakePart(Range range);

  /// Whether all parts pass both levels, or rest, going up and down by no more than twice `smallest`.
  bool Pass(float upper, float lower, float smallest) const;

 private:
  static constexpr std::size_t mostRanges = 32768;

  void Begin(Range range);
  void EndPart();
  void TakeRange(const float* samples, std::size_t n, std::size_t stride);

  std::vector<Range> ranges_;
  std::uint64_t rangeParts_ = 1, partsInRange_ = 0;
  std::size_t inPart_ = 0;
};

}  // namespace umlauf::rotation
