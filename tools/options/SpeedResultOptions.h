#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/input/RecordingInput.h"
#include "tools/options/Outputs.h"

namespace umlauf::tool {

/// What every subcommand that finds speed is asked for: the recording, the wheel, and what is to be made of
/// the pulses.
struct SpeedResultOptions {
  RecordingOptions recording;

  double pulsesPerRev = 1;
  bool countTeeth = false;  ///< in place of that number: those from gap to gap
  std::string gap;          ///< REL or "auto"; empty = none
  std::size_t block = 65536;

  std::string csv, curve, pairs, plot;  ///< output files; empty = none
  double curveStep = 0.01;              ///< [s]
  std::string truth;                    ///< table of seconds and rpm to compare with
  std::optional<double> tolerance;      ///< [%] greatest deviation from it
  bool json = false;

  /// Relative length of the gap in pitches; nothing when it is to be measured. Throws for anything else.
  std::optional<double> gapLength() const;
};

/// Declares all of them but the recording.
void DeclareSpeedResults(CLI::App& command, SpeedResultOptions& options);

/// Refuses options that contradict each other, and outputs that would overwrite an input or each other.
void CheckSpeedResults(const SpeedResultOptions& options);

std::vector<OutputChoice> OutputsOf(const SpeedResultOptions& options);

}  // namespace umlauf::tool
