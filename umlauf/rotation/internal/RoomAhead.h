#pragma once

#include <algorithm>
#include <cstddef>

#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/rotation/PulseTrain.h"

namespace umlauf::rotation {

/// Pulses from which on the number of all can be told.
inline constexpr std::size_t leastForecast = 4096;

/// Makes room for so many times the pulses that there are, as go on like these: a train that grows is copied.
/// Room that is not needed is not touched.
inline void MakeRoom(CPulseTrain& pulses, double times) {
  constexpr double most = 8, little = 1 << 18, more = 1.05;
  const auto known = static_cast<double>(pulses.size());
  pulses.Reserve(
      numeric::trunc_sat<std::size_t>(more * std::min(times * known, std::max(most * known, little))));
}

}  // namespace umlauf::rotation
