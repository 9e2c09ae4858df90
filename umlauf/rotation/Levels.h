#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/rotation/RecordingStatistics.h"
#include "umlauf/rotation/RotationWarning.h"
#include "umlauf/tacho/DzPulsDetektor.h"

class CBlockSource;

/// Levels (thresholds) for the pulses of a recording.
struct PulseLevels {
  float upper = 0.75f, lower = 0.25f;
  bool automaticUpper = false, automaticLower = false;  ///< found, not given
  bool certain = true;                                  ///< no reason to doubt the pulses that they find
  std::vector<RotationWarning> warnings;                ///< why they are doubtful, and what to try
};

/// Finds levels for a whole recording.
///
/// The detector's own rule goes by the range of the samples, which a few of them may determine: the tooth
/// behind the gap of a wheel, the top speed of an inductive sensor, a spike. So its levels are taken when
/// half their distance finds the same pulses. Otherwise the distance is reduced in steps, and those levels
/// are taken that lie in the longest run of steps without another number of pulses, when these follow each
/// other regularly, as teeth do and noise does not. Where there is no such run, the choice is uncertain: the
/// levels with the most regular pulses, else those of the rule.
///
/// Reads the recording two or three times, so the source must be able to rewind. Nothing throws. One object
/// is used by one thread at a time.
class UMLAUF_API CLevelFinder {
 public:
  /// For a detector with these settings, of which only the TTL correction counts.
  explicit CLevelFinder(const CDzPulsDetektor& detector) : detector_(detector) {}

  /// Levels that are known; when both are, nothing is read.
  void Given(std::optional<float> upper, std::optional<float> lower);
  /// Samples that are read at a time.
  void BlockSize(std::size_t samples) { blockSize_ = samples > 0 ? samples : 1; }

  /// Finds the levels of a channel [from 0]; the source is rewound before and after. False, with a reason in
  /// `Failure`, when it cannot be read (twice), and when the level that was found does not fit to the given
  /// one (upper below lower).
  bool Find(CBlockSource& source, unsigned channel);

  const PulseLevels& Levels() const { return levels_; }
  /// Of the channel; empty when both levels were given.
  const CRecordingStatistics& Statistics() const { return statistics_; }
  const CString& Failure() const { return failure_; }

 private:
  bool Rewound(CBlockSource& source);
  bool Choose(CBlockSource& source, unsigned channel);

  CDzPulsDetektor detector_;
  std::optional<float> upper_, lower_;
  std::size_t blockSize_ = 65536;
  PulseLevels levels_;
  CRecordingStatistics statistics_;
  CString failure_;
};
