#pragma once

#include <fstream>

#include "support/Test.h"

/// Block of tests/data/reference.txt, which tests/data/make_reference.py writes; empty when it is not there.
inline std::vector<double> Reference(const std::string& wanted) {
  std::ifstream file(UMLAUF_REFERENCE);
  std::string name;
  for (std::size_t count = 0; file >> name >> count;) {
    std::vector<double> values(count);
    for (double& value : values) file >> value;
    if (name == wanted) return values;
  }
  ADD_FAILURE() << "no reference " << wanted;
  return {};
}

/// The signals that the reference was made from: noise, a sine of 50 Hz at 1000 samples/s, an offset and a
/// slope; and half of it three samples later, with other noise.
constexpr double kReferenceRate = 1000.0;
inline double ReferenceNoise(int i, int factor) {
  return static_cast<double>((static_cast<long long>(i) * i * factor + i * 131) % 1009) / 1009 - 0.5;
}
inline std::vector<float> ReferenceX() {
  std::vector<float> x(3000);
  for (int i = 0; i < 3000; ++i) {
    x[static_cast<std::size_t>(i)] = static_cast<float>(
        ReferenceNoise(i, 7) + std::sin(2 * std::numbers::pi * 50 * i / kReferenceRate) + 0.25 + 1e-4 * i);
  }
  return x;
}
inline std::vector<float> ReferenceY() {
  const std::vector<float> x = ReferenceX();
  std::vector<float> y(x.size());
  for (std::size_t i = 3; i < y.size(); ++i)
    y[i] = static_cast<float>(ReferenceNoise(static_cast<int>(i), 11)) + x[i - 3] * 0.5f;
  return y;
}

/// All values within `tolerance` of the greatest magnitude of those expected.
inline void ExpectNear(const float* values, std::size_t count, const std::vector<double>& expected,
                       const std::string& what, double tolerance = 1e-5) {
  ASSERT_EQ(count, expected.size()) << what;
  double peak = 0.0;
  for (const double v : expected) peak = std::max(peak, std::abs(v));
  for (std::size_t i = 0; i < count; ++i)
    ASSERT_NEAR(double{values[i]}, expected[i], tolerance * peak) << what << " at " << i;
}
