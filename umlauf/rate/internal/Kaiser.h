#pragma once

#include <cmath>

namespace umlauf::rate {

/// Modified Bessel function of the first kind, order 0.
inline double BesselI0(double x) {
  double sum = 1.0, term = 1.0;
  for (int k = 1; term > sum * 1e-17; ++k) {
    term *= (x / (2.0 * k)) * (x / (2.0 * k));
    sum += term;
  }
  return sum;
}

}  // namespace umlauf::rate
