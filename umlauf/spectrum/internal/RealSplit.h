#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::spectrum {

/// exp(−2πj part), for a whole part of turns more or less.
inline std::complex<float> Turned(double part) {
  const std::complex<double> value = std::polar(1.0, -2.0 * std::numbers::pi * part);
  return {static_cast<float>(value.real()), static_cast<float>(value.imag())};
}

/// 2n real samples, taken as n complex numbers and transformed as such: from that transform to that of the
/// real samples.
class RealSplit {
 public:
  /// False when there is no memory.
  bool Alloc(std::size_t n) {
    if (!packed_.alloc(n) || !halves_.alloc((n + 1) / 2)) return false;
    for (std::size_t k = 0; k < halves_.size(); ++k) {
      halves_[k] = Turned((static_cast<double>(k) / static_cast<double>(n) + 0.5) / 2);
    }
    return true;
  }
  /// [n] Where the transform of the complex numbers goes.
  std::complex<float>* Packed() { return packed_.data(); }
  /// Writes n + 1 bins.
  void Split(std::complex<float>* spectrum) const {
    QVL::SplitTransform(reinterpret_cast<float*>(spectrum), reinterpret_cast<const float*>(packed_.data()),
                        reinterpret_cast<const float*>(halves_.data()), packed_.size());
  }

 private:
  CAlignedMem<std::complex<float>> packed_, halves_;
};

}  // namespace umlauf::spectrum
