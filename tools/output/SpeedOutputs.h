#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/GapCorrection.h"
#include "tools/SpeedResults.h"
#include "tools/options/SpeedResultOptions.h"
#include "tools/output/OutputFile.h"
#include "tools/output/SpeedReport.h"

namespace umlauf::tool {

/// All that becomes of the pulses of one recording: its output files are open while it lives and complete
/// when it has published. Not for several threads.
class SpeedOutputs {
 public:
  /// A recording of `frames` samples at `sampleRate` from `startTime` [s] on; `edgesPerRev` of its edges make
  /// a revolution.
  SpeedOutputs(const SpeedResultOptions& options, double edgesPerRev, double sampleRate, double startTime,
               std::uint64_t frames);
  ~SpeedOutputs();
  SpeedOutputs(const SpeedOutputs&) = delete;
  SpeedOutputs& operator=(const SpeedOutputs&) = delete;

  /// Takes the pulses in order of time; call `Finish` behind the last one.
  void Take(const Pulse& pulse);
  void Finish();
  const PulseCounts& counts() const { return counts_; }

  /// Completes the report with what was found, writes all files and prints to standard output. Throws when
  /// the speed lies beyond the tolerance, with everything written.
  void Publish(SpeedReport report);

 private:
  class Picture;

  void TakeCorrected(const Pulse& pulse);

  const SpeedResultOptions& options_;
  double sampleRate_, startTime_;
  std::string name_;
  std::optional<OutputFile> csv_, curveFile_, pairsFile_, plotFile_;
  PulseCounts counts_;
  Revolutions revolutions_;
  CurveBuilder curve_;
  PairsBuilder pairs_;
  std::unique_ptr<Picture> picture_;
  std::optional<TruthComparison> truth_;
  std::optional<GapCorrection> gap_;
};

}  // namespace umlauf::tool
