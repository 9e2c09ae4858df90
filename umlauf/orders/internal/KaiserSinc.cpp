#include "umlauf/orders/internal/KaiserSinc.h"

#include <cmath>
#include <cstddef>
#include <numbers>

#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::orders {

namespace {

constexpr double kAttenuation = 90;  ///< [dB]
constexpr double kFineness = 1024;   ///< values in a step, straight lines between

double Bessel0(double x) {
  double sum = 1, term = 1;
  for (int k = 1; term > 1e-17 * sum; ++k) {
    term *= x * x / (4.0 * k * k);
    sum += term;
  }
  return sum;
}

}  // namespace

KaiserSinc::KaiserSinc(double pass, double stop)
    : halfLength_((kAttenuation - 8) / (2.285 * 2 * std::numbers::pi * (stop - pass)) / 2) {
  const double beta = 0.1102 * (kAttenuation - 8.7), bottom = 1 / Bessel0(beta);
  values_.resize(numeric::trunc_sat<std::size_t>(halfLength_ * kFineness) + 3);
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const double u = static_cast<double>(i) / kFineness, edge = u / halfLength_;
    if (edge >= 1) continue;
    const double arc = std::numbers::pi * (pass + stop) * u;
    values_[i] = (arc == 0 ? 1 : std::sin(arc) / arc) * Bessel0(beta * std::sqrt(1 - edge * edge)) * bottom;
  }
  double sum = -values_[0];
  for (const double each : values_) sum += 2 * each;
  for (double& each : values_) each *= kFineness / sum;
}

double KaiserSinc::At(double steps) const {
  const double at = std::abs(steps) * kFineness;
  const auto i = numeric::trunc_sat<std::size_t>(at);
  if (i + 1 >= values_.size()) return 0;
  return values_[i] + (at - static_cast<double>(i)) * (values_[i + 1] - values_[i]);
}

}  // namespace umlauf::orders
