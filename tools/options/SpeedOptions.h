#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/options/SpeedResultOptions.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace umlauf::tool {

/// What `umlauf speed` is asked for.
struct SpeedOptions : SpeedResultOptions {
  std::optional<double> upper, lower;
  std::string edges = "rising";
  unsigned divider = 1;
  unsigned minPulse = 0;
  std::string spikeFilter;  ///< THRESHOLD[,RUNIN[,DEADTIME]]; empty = off
  bool ttl = false;
  std::string settings;  ///< the detector's settings line; empty = from the options above
};

/// Declares the options of `umlauf speed` on its subcommand.
void DeclareSpeedOptions(CLI::App& command, SpeedOptions& options);

/// Refuses options that contradict each other.
void CheckSpeedOptions(const SpeedOptions& options);

/// The detector as the options say. Thresholds that are not given stay at their default and have to be found.
CDzPulsDetektor ConfiguredDetector(const SpeedOptions& options);

}  // namespace umlauf::tool
