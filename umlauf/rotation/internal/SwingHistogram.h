#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/rotation/internal/TurningPoints.h"

namespace umlauf::rotation {

/// How many swings of what size a signal makes: up and back down (or the other way round) by at least so
/// much, whatever smaller swings lie within. The number is known for every smallest swing at once.
class SwingHistogram {
 public:
  /// Sizes are counted in quarters of octaves.
  static constexpr std::size_t bins = 1024;
  static std::size_t Bin(float size);
  /// Least size in a bin.
  static float Size(std::size_t bin);

  /// Adds successive samples that belong together.
  void Add(const TurningPoints& points);

  /// [bins] Swings of at least `Size(i)`.
  std::vector<double> Counts() const;

 private:
  void Turn(float value);
  void Close();
  void Count(float size, double swings) { counts_[Bin(size)] += swings; }

  std::array<double, bins> counts_{};
  std::vector<float> open_;  ///< turning points whose swings larger ones may still enclose
};

/// A range of smallest swings that leave the number of swings as it is.
struct Plateau {
  float low = 0, high = 0;  ///< noise makes swings of up to `low`, the smallest tooth one of `high`
  double swings = 0;
  /// The smallest swing to go by.
  float Smallest() const;
  float Width() const { return high / low; }
};

/// The bin of the greatest swing; 0 where there is none.
std::size_t GreatestBin(const std::vector<double>& counts);

/// All plateaus that are wide enough to tell teeth from noise, from small swings to great ones.
std::vector<Plateau> FindPlateaus(const SwingHistogram& histogram);

}  // namespace umlauf::rotation
