#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/spectrum/SpectrumScaling.h"
#include "umlauf/spectrum/SpectrumWindow.h"

namespace umlauf::spectrum {

/// A curve of zeros over the bins of a transform of `length` samples, from 0 Hz on in steps of rate / length.
/// False, with an empty curve, when there is no memory.
bool FrequencyCurve(CSigCurve& out, std::size_t length, double rate);

/// Factor of one-sided powers: 2, but 1 at 0 Hz and, for even lengths, at half the sample rate.
inline double OneSided(std::size_t bin, std::size_t length) {
  return bin == 0 || 2 * bin == length ? 1.0 : 2.0;
}

/// Whether scaled values go with the root of powers.
inline bool IsRoot(SpectrumScaling scaling) {
  return scaling == SpectrumScaling::Amplitude || scaling == SpectrumScaling::Effective;
}

/// From powers |X|² of a transform to scaled values.
class PowerScale {
 public:
  PowerScale(SpectrumScaling scaling, const CSpectrumWindow& window, double rate)
      : root_(umlauf::spectrum::IsRoot(scaling)),
        squareSides_(scaling == SpectrumScaling::Amplitude),
        factor_(scaling == SpectrumScaling::Density ? 1.0 / (rate * window.SumSquares())
                                                    : 1.0 / (window.Sum() * window.Sum())) {}
  bool IsRoot() const { return root_; }
  /// What the power of a bin is multiplied by, before a root is taken.
  double Factor(std::size_t bin, std::size_t length) const {
    const double sides = OneSided(bin, length);
    return factor_ * (squareSides_ ? sides * sides : sides);
  }
  double Value(double power, std::size_t bin, std::size_t length) const {
    const double scaled = power * Factor(bin, length);
    return root_ ? std::sqrt(scaled) : scaled;
  }

 private:
  bool root_, squareSides_;
  double factor_;
};

/// Unit of scaled values of a signal in `unit`.
CMeasuringUnit ScaledUnit(SpectrumScaling scaling, const CMeasuringUnit& unit);

/// Sum of many vectors: in single precision over a few, then in double precision, so that it stays exact
/// however many there are. Adding depends on nothing but the order of the vectors.
class LongSum {
 public:
  bool Alloc(std::size_t n) { return recent_.alloc(n) && total_.alloc(n); }
  void Clear();
  /// Where the next vector is to be added.
  float* Recent() { return recent_.data(); }
  /// Tells that a vector was added.
  void Added() {
    if (++count_ == kFew) Settle();
  }
  double At(std::size_t i) const { return total_[i] + static_cast<double>(recent_[i]); }

 private:
  static constexpr unsigned kFew = 32;
  void Settle();

  CAlignedMem<float> recent_;
  CAlignedMem<double> total_;
  unsigned count_ = 0;
};

}  // namespace umlauf::spectrum
