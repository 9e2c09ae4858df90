#pragma once

#include "tools/BlockSource.h"
#include "tools/PulseFinder.h"

namespace umlauf::tool {

/// Thresholds of a whole recording.
struct AutomaticThresholds {
  float upper = 0, lower = 0;
  bool certain = false;  ///< thresholds closer together find the same pulses
};

/// Chooses thresholds for a recording. The detector's own rule goes by the range of the samples, which a few
/// of them may determine: the tooth behind the gap of a wheel, the top speed of an inductive sensor, a spike.
/// So its thresholds are taken when half their distance finds the same pulses. Otherwise the distance is
/// reduced in steps, and those thresholds are taken that lie in the longest run of steps without another
/// number of pulses, when these follow each other regularly, as teeth do and noise does not. Where there is
/// no such run, the choice is uncertain: the thresholds with the most regular pulses, else those of the rule.
///
/// Passes over the recording once, twice when the rule is left. Of the detector only the TTL correction
/// counts.
AutomaticThresholds ChooseThresholds(BlockSource& source, std::size_t blockSize,
                                     const RecordingStatistics& statistics, const CDzPulsDetektor& detector);

}  // namespace umlauf::tool
