#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/FailureText.h"
#include "umlauf/rotation/RecordingStatistics.h"
#include "umlauf/rotation/RotationWarning.h"
#include "umlauf/rotation/SwingSource.h"
#include "umlauf/tacho/DzPulsDetektor.h"

class CBlockSource;

namespace umlauf::rotation {
class RangeParts;
class Share;
struct Swings;
}  // namespace umlauf::rotation

/// Levels (thresholds) for the pulses of a recording.
struct UMLAUF_API PulseLevels {
  /// Swings of a part of the recording, counted without levels.
  struct SwingCount {
    std::uint64_t begin = 0, end = 0;  ///< [samples]
    double swings = 0;                 ///< up and down
  };

  float upper = 0.75f, lower = 0.25f;
  bool automaticUpper = false, automaticLower = false;  ///< found, not given
  /// Set where no two levels serve for the whole recording: the levels are then to be used on the scale that
  /// a CSwingSource brings it to.
  std::optional<SwingScale> scale;
  /// Set where the levels were found in a part of the recording: the scale to use where they do not serve for
  /// the rest (see CTachoPulses).
  std::optional<SwingScale> otherwise;
  bool certain = true;                    ///< no reason for doubt so far; the pulses are still to be judged
  std::vector<RotationWarning> warnings;  ///< reasons for doubt, and what to try
  std::vector<SwingCount> counts;         ///< for CPulseJudge
  double clipped = 0;                     ///< share of the samples that lie at the ends of a clipped range

  /// Uses a scale of its own for every swing.
  void Follow(const SwingScale& swings);
};

/// Finds levels for a whole recording.
///
/// It looks at the swings of the signal, up and down by at least some size, in the recording or in parts of a
/// long one. Whatever the smallest size is, teeth keep their number over a range of it, and follow each other
/// regularly; noise does neither. With the smallest swing known, two levels are laid through all swings,
/// those of the detector's own rule where they do; where no two levels serve, as with drift, or where they
/// would move the edges, each swing gets a scale of its own (see CSwingSource). Wild samples and steps are
/// taken out of the signal when that makes its swings more regular.
///
/// Reads the recording once, so the source must be able to rewind unless both levels are given; then, and
/// where a part is to do, it reads up to two million samples. Takes up to 40 MB. Nothing throws. One object
/// is used by one thread at a time.
class UMLAUF_API CLevelFinder {
 public:
  /// For a detector with these settings, of which only the TTL correction counts.
  explicit CLevelFinder(const CDzPulsDetektor& detector);
  ~CLevelFinder();
  CLevelFinder(const CLevelFinder&) = delete;
  CLevelFinder& operator=(const CLevelFinder&) = delete;

  /// Levels that are known; the other one is found around it.
  void Given(std::optional<float> upper, std::optional<float> lower);
  /// Looks at a part of a long recording only, where its source can seek: whoever uses the levels then has to
  /// see whether they serve for all of it, as CTachoPulses does. Off by default.
  void Part(bool suffices) { part_ = suffices; }
  /// Samples that are read at a time.
  void BlockSize(std::size_t samples) { blockSize_ = samples > 0 ? samples : 1; }

  /// Finds the levels of a channel [from 0]; the source is rewound before and after. False, with a reason in
  /// `Failure`, when it cannot be read (twice), and when the levels given are upside down.
  bool Find(CBlockSource& source, unsigned channel);

  const PulseLevels& Levels() const { return levels_; }
  const CString& Failure() const { return failure_.Text(); }

 private:
  enum class Seen { part, stretches, all };

  bool Rewound(CBlockSource& source);
  void Look(CBlockSource& source, unsigned channel);
  bool LookAtPart(CBlockSource& source, unsigned channel, umlauf::rotation::Share& share);
  void LookAtAll(CBlockSource& source, unsigned channel, umlauf::rotation::Share& share);
  umlauf::rotation::Swings TakeShare(umlauf::rotation::Share& share);
  void TakeLevels(const umlauf::rotation::Swings& swings);
  void Take(const umlauf::rotation::Swings& swings);
  void TakeOther(const umlauf::rotation::Swings& swings);

  CDzPulsDetektor detector_;
  std::optional<float> upper_, lower_;
  std::size_t blockSize_ = 65536;
  bool part_ = false;
  Seen seen_ = Seen::all;
  PulseLevels levels_;
  CRecordingStatistics statistics_;
  std::unique_ptr<umlauf::rotation::RangeParts> ranges_;  ///< of all of the recording
  FailureText failure_;
};
