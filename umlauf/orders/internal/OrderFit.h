#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/spectrum/SpectrumWindow.h"

namespace umlauf::orders {

/// Least squares of several orders and a constant in windowed segments over angle. Throws std::bad_alloc
/// without memory.
class OrderFit {
 public:
  /// `orders` in cycles per step.
  OrderFit(const std::vector<double>& orders, const CSpectrumWindow& window);

  /// False when the orders cannot be told from each other in so short a segment.
  bool IsValid() const { return valid_; }
  std::size_t Length() const { return length_; }
  /// Amplitudes c_k of Re Σ c_k exp(2πj order_k i) in samples i = 0 … length − 1: [orders].
  void Fit(const float* samples, std::complex<double>* amplitudes);

 private:
  bool Factorise();

  std::size_t length_, unknowns_;
  CAlignedMem<float> base_;     ///< [unknowns, length] windowed
  std::vector<double> factor_;  ///< [unknowns, unknowns] lower triangle of Cholesky
  std::vector<double> right_;
  bool valid_ = false;
};

}  // namespace umlauf::orders
