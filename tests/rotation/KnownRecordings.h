#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/simulate/SpeedProfile.h"

/// A simulated recording with all that is known of it.
struct KnownRecording {
  std::string kind;
  std::vector<float> samples;
  double rate = 0;
  double teeth = 0;              ///< that began
  std::size_t teethPerTurn = 1;  ///< that are there
  unsigned standstills = 0;
  umlauf::tool::SpeedProfile profile{{{0, 0}, {1, 0}}};

  /// The count is right within one, and one more for each standstill, and so is the speed of an ordinary
  /// revolution, to 0.5 %. Edges in samples.
  bool IsRight(const std::vector<double>& edges) const;
};

/// Recordings of all kinds in turn; the same for the same seed.
KnownRecording SimulateKind(std::uint64_t seed);
std::size_t Kinds();
