#include "tools/simulate/RandomNumbers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace umlauf::tool {

double NormalNumbers::Next() {
  // Box and Muller.
  const double radius = std::sqrt(-2 * std::log(Uniform()));
  return radius * std::cos(2 * std::numbers::pi * Uniform());
}

double NormalNumbers::Jitter(double deviation) {
  return deviation > 0 ? std::clamp(deviation * Next(), -0.4, 0.4) : 0.0;
}

RandomMoments::RandomMoments(double rate, std::uint64_t seed)
    : random_(seed), rate_(rate), next_(rate > 0 ? Wait() : std::numeric_limits<double>::infinity()) {}

double RandomMoments::Wait() { return -std::log(random_.Uniform()) / rate_; }

bool RandomMoments::Reached(double time) {
  if (time < next_) return false;
  next_ += Wait();
  return true;
}

}  // namespace umlauf::tool
