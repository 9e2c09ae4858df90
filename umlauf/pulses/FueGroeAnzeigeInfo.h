#pragma once

#include <cstdint>

#include "umlauf/Export.h"

class CDzPulsListe;

/// What a display shows of a speed: a snapshot of one block's pulse list, in the list's unit (rpm). A plain
/// value that refers to nothing.
struct UMLAUF_API FueGroeAnzeigeInfo {
  FueGroeAnzeigeInfo() = default;
  explicit FueGroeAnzeigeInfo(const CDzPulsListe& list);

  std::int32_t signalId = 0;
  float average = 0.0f;      ///< over the block, with the sign of the direction [rpm]
  float slowest = 0.0f;      ///< of the closed pulses, by magnitude [rpm]; 0 without any
  float fastest = 0.0f;      ///< likewise
  std::uint64_t pulses = 0;  ///< closed pulses in the block
  bool moving = false;       ///< the average is not 0
};
