#include "umlauf/rotation/internal/TurningPoints.h"

#include <algorithm>
#include <cstddef>

namespace umlauf::rotation {
namespace {

constexpr std::size_t stride = 8;

/// Whether so many samples go on the way that those before them went; direction: 1 up, -1 down.
bool GoOn(const float* samples, float direction) {
  unsigned on = 0;
  for (std::size_t k = 0; k < stride; ++k) on += (samples[k] - samples[k - 1]) * direction > 0 ? 1u : 0u;
  return on == stride;
}

}  // namespace

TurningPoints::TurningPoints(std::span<const float> samples) : samples_(samples) {
  if (samples.empty()) return;
  places_.push_back(0);
  float last = samples[0], direction = 0;
  std::size_t lastAt = 0;
  for (std::size_t i = 1; i < samples.size();) {
    const std::size_t n = std::min(stride, samples.size() - i);
    if (n == stride && GoOn(&samples[i], direction)) {
      i += n;
      lastAt = i - 1;
      last = samples[lastAt];
      continue;
    }
    for (const std::size_t end = i + n; i < end; ++i) {
      const float x = samples[i];
      if (x == last) continue;
      const float now = x > last ? 1.0f : -1.0f;
      if (now == -direction) places_.push_back(static_cast<std::uint32_t>(lastAt));
      direction = now;
      last = x;
      lastAt = i;
    }
  }
  if (lastAt > 0) places_.push_back(static_cast<std::uint32_t>(lastAt));
}

}  // namespace umlauf::rotation
