#pragma once

#include <optional>
#include <string>

#include "tools/input/ProgressSource.h"
#include "tools/options/SpeedOptions.h"
#include "tools/speed/SpeedOutputs.h"
#include "umlauf/rotation/TachoPulses.h"
#include "umlauf_io/RecordingSource.h"

namespace umlauf::tool {

/// The speed of one channel of a recording that is open, from its levels to its output files. Several of them
/// share the blocks of one pass. Throws ToolError. Not for several threads.
class ChannelSpeed {
 public:
  /// Channel `channel` [from 0] of `channels` that are read from the file.
  ChannelSpeed(const SpeedOptions& options, const CRecordingSource& file, unsigned channel,
               std::size_t channels);
  ChannelSpeed(const ChannelSpeed&) = delete;
  ChannelSpeed& operator=(const ChannelSpeed&) = delete;

  unsigned channel() const { return channel_; }
  const SpeedOptions& options() const { return options_; }

  /// Reads the recording, or a part of it.
  void FindLevels(ProgressSource& source);
  /// Begins a pass with those levels.
  void Begin();
  void Take(const float* samples, std::size_t n, std::size_t stride);
  /// Ends the pass. False when the levels did not serve and another one is needed.
  bool Finish();
  /// All files written. Throws where no speed was found; that reads the recording once more, to say why.
  SpeedReport Complete(ProgressSource& source);
  void Print(const SpeedReport& report) const { outputs_->Print(report); }
  void CheckTolerance() const { outputs_->CheckTolerance(); }

 private:
  [[noreturn]] void FailWithoutPulses(ProgressSource& source) const;

  SpeedOptions options_;
  const CRecordingSource& file_;
  unsigned channel_;
  std::size_t channels_;
  CDzPulsDetektor detector_;
  PulseLevels levels_;
  std::optional<SpeedOutputs> outputs_;
  std::optional<CTachoPulses> tacho_;
  CPulseTrain pulses_;
};

}  // namespace umlauf::tool
