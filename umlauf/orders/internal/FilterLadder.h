#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/orders/internal/KaiserSinc.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/internal/FilterKernels.h"

namespace umlauf::orders {

/// Low-pass filters for a resampler whose ratio changes all the time: a ladder of Kaiser-windowed sincs, each
/// for a range of ratios (input samples in an output step) of 2^(1/8), so that what it passes and stops
/// follows the output. Each is a table of rows for the fractions of an input sample; between two rows one
/// mixes.
///
/// Ratios below the narrowest take the first filter: then it is the input that limits the band.
class FilterLadder {
 public:
  struct Rung {
    vekta::TapRows rows;
    double phases;        ///< rows in an input sample
    std::ptrdiff_t lead;  ///< the window of position p begins at floor(p) - lead
  };

  FilterLadder() = default;
  /// Passes up to `pass` and stops from `stop` on, 0 < pass < stop, both in cycles per output step, for
  /// ratios from `narrowest` to `widest`, 65536 at most: filters of as many samples and more are a mistake.
  /// Empty when there is no memory.
  FilterLadder(double pass, double stop, double narrowest, double widest);
  FilterLadder(FilterLadder&&) noexcept = default;  // a copy's rungs would refer to the original's taps
  FilterLadder& operator=(FilterLadder&&) noexcept = default;

  bool IsValid() const { return !rungs_.empty(); }
  const Rung& operator[](std::size_t i) const { return rungs_[i]; }
  /// The filter of a ratio, looked for from one nearby on; that of `widest` for greater ones.
  std::size_t RungOf(double ratio, std::size_t nearby) const {
    while (nearby > 0 && ratio < starts_[nearby]) --nearby;
    while (nearby + 1 < starts_.size() && ratio >= starts_[nearby + 1]) ++nearby;
    return nearby;
  }
  bool HasNext(std::size_t rung) const { return rung + 1 < rungs_.size(); }
  /// From one filter to the next one goes smoothly with the ratio, so that what lies between pass and stop
  /// does not jump, and fill the band with its splinters.
  float ShareOfNext(double ratio, std::size_t rung) const {
    const double x = std::clamp((ratio - starts_[rung]) / (starts_[rung + 1] - starts_[rung]), 0.0, 1.0);
    return static_cast<float>(x * x * (3 - 2 * x));
  }
  /// Samples of the longest filter on either side of a position, at most.
  std::size_t Reach() const { return reach_; }

 private:
  bool AddRung(double start, const KaiserSinc& kernel);

  std::vector<double> starts_;  ///< least ratio of each
  std::vector<Rung> rungs_;
  std::vector<CAlignedMem<float>> taps_;
  std::size_t reach_ = 0;
};

}  // namespace umlauf::orders
