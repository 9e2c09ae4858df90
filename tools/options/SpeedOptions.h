#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "tools/FilePath.h"
#include "tools/options/SpeedResultOptions.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace umlauf::tool {

/// What `umlauf speed` is asked for.
struct SpeedOptions : SpeedResultOptions {
  std::vector<FilePath> paths;    ///< in place of that of the recording
  std::string channels, columns;  ///< lists with commas, or "all"; empty = the first one
  std::string list;               ///< "edges" or "levels": the recordings are lists of such
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

/// The channels of each recording that are wanted.
struct ChannelChoice {
  bool all = false;
  std::vector<unsigned> channels;    ///< of sound and raw files
  std::vector<std::string> columns;  ///< of tables
  std::size_t atLeast() const {
    return std::max<std::size_t>({channels.size(), columns.size(), all ? 2u : 1u});
  }
};
ChannelChoice ChosenChannels(const SpeedOptions& options);

/// The options for one recording and one channel of it, which `channel` calls: `{name}` and `{channel}` in
/// the names of files are replaced.
SpeedOptions OptionsFor(const SpeedOptions& options, const FilePath& path, const std::string& channel);

/// The detector as the options say. Thresholds that are not given stay at their default and have to be found.
CDzPulsDetektor ConfiguredDetector(const SpeedOptions& options);

}  // namespace umlauf::tool
