#include "umlauf/orders/internal/OrderFit.h"

#include <cmath>
#include <new>
#include <numbers>

#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::orders {

OrderFit::OrderFit(const std::vector<double>& orders, const CSpectrumWindow& window)
    : length_(window.Size()), unknowns_(2 * orders.size() + 1) {
  if (!base_.alloc(unknowns_ * length_)) throw std::bad_alloc();
  factor_.resize(unknowns_ * unknowns_);
  right_.resize(unknowns_);
  std::vector<double> values(unknowns_);
  for (std::size_t i = 0; i < length_; ++i) {
    const auto weight = static_cast<double>(window.Samples()[i]);
    values[0] = 1;
    for (std::size_t k = 0; k < orders.size(); ++k) {
      const double arc = 2 * std::numbers::pi * orders[k] * static_cast<double>(i);
      values[2 * k + 1] = std::cos(arc);
      values[2 * k + 2] = -std::sin(arc);
    }
    for (std::size_t a = 0; a < unknowns_; ++a) {
      base_[a * length_ + i] = static_cast<float>(weight * values[a]);
      for (std::size_t b = 0; b <= a; ++b) factor_[a * unknowns_ + b] += weight * values[a] * values[b];
    }
  }
  valid_ = Factorise();
}

bool OrderFit::Factorise() {
  const std::size_t n = unknowns_;
  for (std::size_t a = 0; a < n; ++a) {
    for (std::size_t b = 0; b <= a; ++b) {
      const double whole = factor_[a * n + b];
      double rest = whole;
      for (std::size_t k = 0; k < b; ++k) rest -= factor_[a * n + k] * factor_[b * n + k];
      if (a > b) {
        factor_[a * n + b] = rest / factor_[b * n + b];
      } else if (rest > 1e-4 * whole) {
        factor_[a * n + a] = std::sqrt(rest);
      } else {
        return false;
      }
    }
  }
  return true;
}

void OrderFit::Fit(const float* samples, std::complex<double>* amplitudes) {
  const std::size_t n = unknowns_;
  for (std::size_t a = 0; a < n; ++a) {
    double rest = static_cast<double>(QVL::DotProduct(samples, base_.data() + a * length_, length_));
    for (std::size_t k = 0; k < a; ++k) rest -= factor_[a * n + k] * right_[k];
    right_[a] = rest / factor_[a * n + a];
  }
  for (std::size_t a = n; a-- > 0;) {
    for (std::size_t k = a + 1; k < n; ++k) right_[a] -= factor_[k * n + a] * right_[k];
    right_[a] /= factor_[a * n + a];
  }
  for (std::size_t k = 0; 2 * k + 1 < n; ++k) amplitudes[k] = {right_[2 * k + 1], right_[2 * k + 2]};
}

}  // namespace umlauf::orders
