#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::rate {

/// Multiplies n floats, `stride` apart.
inline void ScaleStrided(float* x, std::size_t stride, std::uint64_t n, float factor) {
  if (stride == 1) return QVL::MulFloat(x, x, n, factor);
  for (std::uint64_t i = 0; i < n; ++i) x[i * stride] *= factor;
}

}  // namespace umlauf::rate
