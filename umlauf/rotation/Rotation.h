#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/FailureText.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/Revolutions.h"
#include "umlauf/rotation/RotationWarning.h"
#include "umlauf/rotation/ShaftAngle.h"
#include "umlauf/rotation/SpeedComparison.h"
#include "umlauf/rotation/SpeedSummary.h"
#include "umlauf/rotation/Wheel.h"
#include "umlauf/tacho/DzPulsDetektor.h"

class CBlockSource;
class CSigCurve;
class CSigPairs;

/// The rotation of a shaft from the recording of a tacho: pulses, speed and angle. Levels are found, and the
/// gap of a toothed wheel is corrected, where asked for.
///
///     CMemorySource recording(samples, 50000);
///     CRotation rotation;
///     rotation.Wheel(60, CRotation::Gap::automatic);
///     if (!rotation.Analyse(recording)) return Complain(rotation.Failure());
///     for (const RotationWarning& each : rotation.Warnings()) Show(each.text);
///     std::printf("%.1f rpm\n", rotation.Speed().Mean(50000));
///     std::unique_ptr<CSigCurve> curve = rotation.SpeedCurve(0.01);
///
/// Keeps the pulses of the whole recording, 33 bytes each; the recording itself is read in blocks. One object
/// for many recordings is faster: it keeps their memory, which the system clears before it hands it out.
/// Where even that is too much, or the measurement is still running, its parts do the same train after train:
/// CLevelFinder, CPulseFinder, CGapCorrection, and what takes the pulses (CPulseCounts, CRevolutions,
/// CSpeedCurveBuilder, CSpeedPairsBuilder, CSpeedComparison).
///
/// Nothing throws. One object is used by one thread at a time.
class UMLAUF_API CRotation {
 public:
  enum class Gap { none, automatic };

  CRotation();

  // What is known. Stays for all recordings that follow

  /// The wheel gives `pulsesPerRevolution` pulses: the edges that count, so twice the teeth where both edges
  /// do; with a gap those of the wheel without it (60 for 60-2 teeth). May have a fraction. A gap is
  /// measured.
  void Wheel(double pulsesPerRevolution, Gap gap = Gap::none);
  /// As above; the gap is known to be `gapLength` pitches long (3 where two teeth are missing).
  void Wheel(double pulsesPerRevolution, double gapLength);
  /// Upper and lower level of the pulses, instead of those that are found.
  void GivenLevels(std::optional<float> upper, std::optional<float> lower);
  /// How edges are found, but for levels and pulses per revolution: edges, minimum length (0 here, unlike
  /// in a detector of its own), divider, spike filter, TTL correction. With a gap each tooth must give one
  /// pulse: no divider, not both edges.
  CDzPulsDetektor& Detector() { return detector_; }
  /// Samples that are read at a time; the results do not depend on it. Default 65536.
  void BlockSize(std::size_t samples) { blockSize_ = samples > 0 ? samples : 1; }

  /// Finds the rotation in a channel [from 0] of a recording, from its start where it can rewind. It must be
  /// able to unless both levels are given. False, with the reason in `Failure`, when there is none; the
  /// results are then empty.
  bool Analyse(CBlockSource& recording, unsigned channel = 0);
  /// Why the last `Analyse` found nothing, in one sentence; empty after one that did.
  const CString& Failure() const { return failure_.Text(); }
  /// What is doubtful about the results; see CPulseJudge.
  const std::vector<RotationWarning>& Warnings() const { return levels_.warnings; }

  // Results. Positions in samples, 0 the first of the recording; times in seconds from its start time on

  /// All pulses, gaps corrected.
  const CPulseTrain& Pulses() const { return pulses_; }
  /// Samples of the recording.
  std::uint64_t Samples() const { return samples_; }
  /// Levels that were used.
  const PulseLevels& Levels() const { return levels_; }
  /// The wheel as it was seen.
  const PulseWheel& Wheel() const { return wheel_; }
  /// Speed over all pulses, and how many of them are of which kind.
  const SpeedSummary& Speed() const { return counts_.Speed(); }
  const CPulseCounts& Counts() const { return counts_; }
  /// Whole revolutions.
  const std::vector<CRevolutions::Revolution>& Revolutions() const { return revolutions_.Found(); }
  const SpeedSummary& RevolutionSpeed() const { return revolutions_.Speed(); }

  /// Speed over time [s, rpm] as a curve of steps of `step` seconds; see CSpeedCurveBuilder. Null when the
  /// step is no good or there is no memory.
  std::unique_ptr<CSigCurve> SpeedCurve(double step) const;
  /// Speed of each pulse at its middle [s, rpm]; null when there is no memory.
  std::unique_ptr<CSigPairs> SpeedPairs() const;
  /// Deviation from a known speed, given by rising time.
  CSpeedComparison Compare(std::vector<CSpeedComparison::Point> known) const;
  /// Angle of the shaft.
  CShaftAngle Angle() const { return CShaftAngle(pulses_, pulsesPerRevolution_); }

 private:
  bool SettingsFit();
  bool Find(CBlockSource& recording, unsigned channel);
  bool FindPulses(CBlockSource& recording, unsigned channel);
  void Forget();
  void TakeFrom(std::size_t from);
  void MakeRoom(double times);
  void FailWithoutPulses();

  double pulsesPerRevolution_ = 1;
  bool gap_ = false;
  std::optional<double> gapLength_;
  std::optional<float> upper_, lower_;
  CDzPulsDetektor detector_;
  std::size_t blockSize_ = 65536;

  FailureText failure_;
  PulseLevels levels_;
  PulseWheel wheel_;
  CPulseTrain pulses_;
  std::uint64_t samples_ = 0;
  CPulseCounts counts_;
  CRevolutions revolutions_{false, 1};
};
