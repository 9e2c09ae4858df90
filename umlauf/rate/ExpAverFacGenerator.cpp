#include "umlauf/rate/ExpAverFacGenerator.h"

#include <cmath>
#include <limits>

namespace {
constexpr LONG kSettled = 45;  // time constants after which the factors no longer change
}

LONG CExpAverFacGenerator::TimeStep() {
  constexpr LONG greatest = std::numeric_limits<LONG>::max();
  const std::int64_t end = std::min<std::int64_t>(std::int64_t{kSettled} * tau_, greatest);
  if (t_ >= end) return static_cast<LONG>(end);
  return ++t_;
}

float CExpAverFacGenerator::GetFactor(LONG t, double tau) {
  if (tau <= 0.0 || t <= 1) return 0.0f;
  const double time = static_cast<double>(t), a = std::exp(-1.0 / tau);
  if (time / tau > kSettled) return static_cast<float>(a);
  if (tau >= kNoDecay) return static_cast<float>((time - 1.0) / time);
  const double b = std::exp(-time / tau);
  return static_cast<float>(1.0 / ((1.0 - a) / (a - b) + 1.0));
}

float CExpAverFacGenerator::GetCorrFactor(LONG t, LONG tau) {
  if (tau < 1 || t < 2) return 1.0f;
  const double time = static_cast<double>(t), scale = static_cast<double>(tau), a = std::exp(-1.0 / scale);
  if (time / scale > kSettled) return static_cast<float>((a + 1.0) / (2.0 * a));
  if (tau >= kNoDecay) return static_cast<float>(time / (time - 1.0));
  const double b = std::exp(-time / scale);
  return static_cast<float>((1.0 - b) * (a + 1.0) / (2.0 * (a - b)));
}
