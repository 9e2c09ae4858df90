#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "umlauf/Export.h"
#include "umlauf/rotation/PulseTrain.h"

/// Speeds over stretches of time.
struct UMLAUF_API SpeedSummary {
  double min = std::numeric_limits<double>::infinity();  ///< [rpm]
  double max = -std::numeric_limits<double>::infinity();
  double first = 0, last = 0;
  double turns = 0;    ///< revolutions in all
  double samples = 0;  ///< in which they were made
  std::uint64_t count = 0;

  /// Adds a stretch of `addedSamples` > 0 at `sampleRate` [samples/s].
  void Add(double addedTurns, double addedSamples, double sampleRate);
  /// Revolutions over time [rpm], so that long and short stretches count as long as they last.
  double Mean(double sampleRate) const { return samples > 0 ? 60 * sampleRate * turns / samples : 0; }
};

/// Counts the pulses of a recording and sums up their speeds, train after train. One object is used by one
/// thread at a time.
class UMLAUF_API CPulseCounts {
 public:
  /// Takes the pulses from number `from` on.
  void Take(const CPulseTrain& pulses, std::size_t from = 0);

  std::uint64_t Pulses() const { return pulses_; }
  /// Gaps that were corrected, one that the end of the recording cuts included.
  std::uint64_t CorrectedGaps() const { return correctedGaps_; }
  /// Pulses that the spike filter held.
  std::uint64_t Held() const { return held_; }
  /// Over the single pulses.
  const SpeedSummary& Speed() const { return speed_; }

 private:
  void TakeChunk(const CPulseTrain& pulses, std::size_t from, std::size_t n);

  std::uint64_t pulses_ = 0, correctedGaps_ = 0, held_ = 0;
  SpeedSummary speed_;
};
