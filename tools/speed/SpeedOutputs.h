#pragma once

#include <optional>
#include <string>

#include "tools/options/SpeedResultOptions.h"
#include "tools/output/OutputFile.h"
#include "tools/pictures/SpeedPicture.h"
#include "tools/speed/SpeedReport.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/SpeedSignals.h"

namespace umlauf::tool {

/// All that becomes of the pulses of one channel: its output files are open while it lives and complete
/// when it has published. Not for several threads.
class SpeedOutputs {
 public:
  /// A recording of `frames` samples at `sampleRate` from `startTime` [s] on; `edgesPerRev` of its edges make
  /// a revolution. It is one of so many channels that are searched together and share the memory.
  SpeedOutputs(const SpeedResultOptions& options, double edgesPerRev, double sampleRate, double startTime,
               std::uint64_t frames, std::size_t channels = 1);
  SpeedOutputs(const SpeedOutputs&) = delete;
  SpeedOutputs& operator=(const SpeedOutputs&) = delete;

  /// Takes the pulses in order of time; call `Finish` behind the last one.
  void Take(const CPulseTrain& pulses);
  void Finish();
  const CPulseCounts& counts() const { return counts_; }
  /// An empty train for pulses of this recording.
  CPulseTrain NewTrain() const { return CPulseTrain(sampleRate_, startTime_); }

  /// Whether all of them can be dropped and begun again: none is written directly.
  static bool CanBeginAgain(const SpeedResultOptions& options);

  /// Completes the report, which then refers to this object, with what was found, and writes all files.
  void Write(SpeedReport& report);
  /// On standard output, where no table of pulses goes there.
  void Print(const SpeedReport& report) const;
  /// Throws when the speed lies beyond the tolerance.
  void CheckTolerance() const;
  /// All three.
  void Publish(SpeedReport report);

 private:
  void TakeCorrected(const CPulseTrain& pulses);
  void TakeRevolutions(const CPulseTrain& pulses);

  const SpeedResultOptions& options_;
  double sampleRate_, startTime_;
  std::string name_;
  std::optional<OutputFile> csv_, curveFile_, pairsFile_, plotFile_;
  CPulseCounts counts_;
  std::optional<CRevolutions> revolutions_;  ///< from where the wheel is known
  CSpeedCurveBuilder curve_;
  CSpeedPairsBuilder pairs_;
  std::optional<SpeedPicture> picture_;
  std::optional<CSpeedComparison> truth_;
  std::optional<CGapCorrection> gap_;
  CPulseTrain corrected_;
};

}  // namespace umlauf::tool
