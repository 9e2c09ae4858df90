#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/BlockSource.h"
#include "umlauf/speed/DzPulsDetektor.h"

namespace umlauf::tool {

/// What `umlauf speed` is asked for.
struct SpeedOptions {
  RecordingOptions recording;

  double pulsesPerRev = 1;
  std::optional<double> upper, lower;
  std::string edges = "rising";
  unsigned divider = 1;
  unsigned minPulse = 0;
  std::string spikeFilter;  ///< THRESHOLD[,RUNIN[,DEADTIME]]; empty = off
  bool ttl = false;
  std::string settings;  ///< the detector's settings line; empty = from the options above
  std::string gap;       ///< REL or "auto"; empty = none
  std::size_t block = 65536;

  std::string csv, curve, plot;     ///< output files; empty = none
  double curveStep = 0.01;          ///< [s]
  std::string truth;                ///< table of seconds and rpm to compare with
  std::optional<double> tolerance;  ///< [%] greatest deviation from it
  bool json = false;

  /// Relative length of the gap in pitches; nothing when it is to be measured. Throws for anything else.
  std::optional<double> gapLength() const;
};

/// Declares the options of `umlauf speed` on its subcommand.
void DeclareSpeedOptions(CLI::App& command, SpeedOptions& options);

/// Refuses options that contradict each other.
void CheckSpeedOptions(const SpeedOptions& options);

/// The detector as the options say. Thresholds that are not given stay at their default and have to be found.
CDzPulsDetektor ConfiguredDetector(const SpeedOptions& options);

}  // namespace umlauf::tool
