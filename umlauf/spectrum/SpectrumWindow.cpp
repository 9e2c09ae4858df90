#include "umlauf/spectrum/SpectrumWindow.h"

#include <cmath>
#include <iterator>
#include <numbers>
#include <span>

namespace {

/// Σ (−1)^m c[m] cos(m u).
double Cosines(std::span<const double> terms, double u) {
  double value = 0.0;
  double sign = 1.0;
  for (std::size_t m = 0; m < terms.size(); ++m, sign = -sign) {
    value += sign * terms[m] * std::cos(static_cast<double>(m) * u);
  }
  return value;
}

/// Modified Bessel function of the first kind and order 0 by its power series; quick up to the β that
/// windows have.
double BesselI0(double x) {
  double term = 1.0;
  double sum = 1.0;
  for (int k = 1; term > 1e-17 * sum; ++k) {
    term *= (x / 2 / k) * (x / 2 / k);
    sum += term;
  }
  return sum;
}

double Value(WindowShape shape, double u, double beta) {
  static constexpr double hann[] = {0.5, 0.5};
  static constexpr double hamming[] = {0.54, 0.46};
  static constexpr double blackman[] = {0.42, 0.5, 0.08};
  static constexpr double flatTop[] = {0.21557895, 0.41663158, 0.277263158, 0.083578947, 0.006947368};
  switch (shape) {
    case WindowShape::Hann:
      return Cosines(hann, u);
    case WindowShape::Hamming:
      return Cosines(hamming, u);
    case WindowShape::Blackman:
      return Cosines(blackman, u);
    case WindowShape::FlatTop:
      return Cosines(flatTop, u);
    case WindowShape::Kaiser: {
      const double r = u / std::numbers::pi - 1.0;
      return BesselI0(beta * std::sqrt(std::fmax(0.0, 1.0 - r * r))) / BesselI0(beta);
    }
    case WindowShape::Rectangle:
      break;
  }
  return 1.0;
}

}  // namespace

CSpectrumWindow::CSpectrumWindow(WindowShape shape, std::size_t n, double beta) {
  if (!samples_.alloc(n)) return;
  beta = std::fmin(std::fmax(beta, 0.0), 700.0);  // beyond, I0 leaves the range of a double
  for (std::size_t i = 0; i < n; ++i) {
    const double w =
        Value(shape, 2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(n), beta);
    samples_[i] = static_cast<float>(w);
    sum_ += w;
    sumSquares_ += w * w;
  }
}

double CSpectrumWindow::AmplitudeFactor() const {
  return Size() == 0 ? 0.0 : sum_ / static_cast<double>(Size());
}

double CSpectrumWindow::NoiseBandwidth() const {
  return sum_ == 0.0 ? 0.0 : static_cast<double>(Size()) * sumSquares_ / (sum_ * sum_);
}
