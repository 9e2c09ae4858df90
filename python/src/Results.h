#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/Revolutions.h"
#include "umlauf/rotation/RotationStream.h"
#include "umlauf/rotation/RotationWarning.h"
#include "umlauf/rotation/SpeedSummary.h"
#include "umlauf/rotation/Wheel.h"

class CBlockSource;

namespace umlauf::python {

/// What came out of a recording of a tacho or of an encoder. Does not change.
struct Result {
  std::shared_ptr<const CPulseTrain> train;  ///< of what found them, which is kept with them
  double pulsesPerRevolution = 1;
  std::uint64_t samples = 0;
  PulseWheel wheel;
  CPulseCounts counts;
  std::vector<CRevolutions::Revolution> revolutions;
  SpeedSummary revolutionSpeed;
  std::optional<PulseLevels> levels;
  std::vector<RotationWarning> warnings;

  /// Counts pulses whose gaps are corrected, and keeps them. Throws std::bad_alloc where some are missing.
  void Take(std::shared_ptr<const CPulseTrain> pulses, bool gap);
  const CPulseTrain& Pulses() const { return *train; }
};

/// The rotation in a recording; raises why there is none.
std::unique_ptr<Result> Measure(CBlockSource& source, CRotationStream::Settings settings);

}  // namespace umlauf::python
