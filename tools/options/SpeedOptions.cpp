#include "tools/options/SpeedOptions.h"

#include <array>
#include <cmath>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/options/Lists.h"
#include "tools/output/OutputFile.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {
namespace {

struct SpikeFilter {
  float threshold = 0;
  unsigned runIn = 5, deadTime = 0;
};

SpikeFilter ParseSpikeFilter(const std::string& text) {
  SpikeFilter filter;
  const std::array<unsigned*, 2> counts = {&filter.runIn, &filter.deadTime};
  std::string_view rest = text;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t comma = rest.find(',');
    const std::string_view part = rest.substr(0, comma);
    const auto number = io::ParseNumber(part);
    const auto count = io::ParseCount(part);
    if (i == 0 ? !(number && *number > 0 && *number < 1e6) : !count) break;
    if (i == 0) filter.threshold = static_cast<float>(*number);
    if (i > 0) *counts[i - 1] = *count;
    if (comma == std::string_view::npos) return filter;
    rest.remove_prefix(comma + 1);
  }
  FailUsage("--spike-filter {} is not THRESHOLD[,RUNIN[,DEADTIME]]; give for example 0.2,5,0", text);
}

void DeclareDetector(CLI::App& command, SpeedOptions& o) {
  const std::string group = "Detector";
  command.add_option("--upper", o.upper, "upper threshold (automatic)")
      ->check(Finite().description(""))
      ->group(group);
  command.add_option("--lower", o.lower, "lower threshold (automatic)")
      ->check(Finite().description(""))
      ->group(group);
  command.add_option("--edges", o.edges, "rising, falling or both (rising)")
      ->check(OneOf({"rising", "falling", "both"}))
      ->group(group);
  command.add_option("--divider", o.divider, "only every n-th edge ends a pulse (1)")
      ->transform(WholeNumber(1, 1000000))
      ->group(group);
  command
      .add_option("--min-pulse", o.minPulse, "shorter pulses are merged with the next one, in samples (0)")
      ->transform(WholeNumber(0, 0xFFFFFFFF))
      ->type_name("SAMPLES")
      ->group(group);
  command
      .add_option("--spike-filter", o.spikeFilter,
                  "hold the speed when it changes by more than this part from pulse to pulse")
      ->type_name("THRESHOLD[,RUNIN[,DEADTIME]]")
      ->group(group);
  command.add_flag("--ttl", o.ttl, "logic-level signal: low-pass and thresholds at 1/3 and 2/3 of the range")
      ->group(group);
  command
      .add_option("--settings", o.settings, "settings line of the detector, in place of the options above")
      ->type_name("TEXT")
      ->group(group);
}

}  // namespace

void DeclareSpeedOptions(CLI::App& command, SpeedOptions& options) {
  command
      .add_option("recording", options.paths,
                  "WAV, FLAC, W64, RF64, MAT ..., CSV or raw samples, one or several; - is standard input")
      ->required();
  command
      .add_option("--channel", options.channels,
                  "channel of a sound or raw file, from 1; several with commas, or all (1)")
      ->type_name("N,...")
      ->group("Recording");
  command
      .add_option(
          "--column", options.columns,
          "column of a CSV file, number from 1 (1 is the time) or name; several with commas, or all (2)")
      ->type_name("COLUMN,...")
      ->group("Recording");
  DeclareRecordingFormat(command, options.recording);
  command
      .add_option("--list", options.list,
                  "the CSV file is a list of edges (their times) or levels (times, levels from there on); by "
                  "itself where it has one column, or a second one called level")
      ->check(OneOf({"edges", "levels"}))
      ->group("Recording");
  DeclareSection(command, options.recording);
  DeclareScaling(command, options.recording);
  DeclareDetector(command, options);
  DeclareSpeedResults(command, options);
  CLI::Option* settings = command.get_option("--settings");
  for (const char* each :
       {"--upper", "--lower", "--edges", "--divider", "--min-pulse", "--spike-filter", "--ttl"}) {
    settings->excludes(command.get_option(each));
  }
}

namespace {

/// Each recording and channel has outputs of its own.
void CheckAllOutputs(const SpeedOptions& o) {
  const ChannelChoice choice = ChosenChannels(o);
  std::vector<std::string> seen;
  for (const FilePath& path : o.paths) {
    for (std::size_t c = 0; c < choice.atLeast(); ++c) {
      const std::string channel = c < choice.columns.size()    ? choice.columns[c]
                                  : c < choice.channels.size() ? std::to_string(choice.channels[c])
                                                               : std::to_string(c + 1);
      const SpeedOptions each = OptionsFor(o, path, channel);
      CheckSpeedResults(each);
      for (const auto& [option, name, kind] : OutputsOf(each)) {
        if (name.empty()) continue;
        if (std::find(seen.begin(), seen.end(), name) != seen.end()) {
          FailUsage("{} {} would be written several times; put {{name}} or {{channel}} into it", option,
                    name);
        }
        for (const FilePath& input : o.paths) CheckOutputPath(option, name, input);
        seen.push_back(name);
      }
    }
  }
}

}  // namespace

ChannelChoice ChosenChannels(const SpeedOptions& o) {
  ChannelChoice choice;
  if (!o.channels.empty() && !o.columns.empty()) {
    FailUsage("--channel is for sound and raw files, --column for CSV files; give one of them");
  }
  if (!o.columns.empty() && o.recording.raw) {
    FailUsage("--column is for CSV files; use --channel with --raw");
  }
  choice.all = o.channels == "all" || o.columns == "all";
  if (choice.all) return choice;
  if (!o.columns.empty()) choice.columns = Listed(o.columns);
  if (o.channels.empty()) return choice;
  for (const std::string& each : Listed(o.channels)) {
    const auto number = io::ParseCount(each);
    if (!number || *number < 1 || *number > 65535) {
      FailUsage("--channel {}: give numbers from 1 to 65535, with commas between them, or all", o.channels);
    }
    choice.channels.push_back(*number);
  }
  return choice;
}

SpeedOptions OptionsFor(const SpeedOptions& o, const FilePath& path, const std::string& channel) {
  SpeedOptions options = o;
  options.recording.path = path;
  const std::string name = path == "-" ? "stdin" : path.stem().string();
  for (std::string* each : {&options.csv, &options.curve, &options.pairs, &options.plot, &options.truth})
    *each = Replaced(Replaced(*each, "{name}", name), "{channel}", channel);
  return options;
}

void CheckSpeedOptions(const SpeedOptions& o) {
  if (o.upper && o.lower && *o.lower > *o.upper) {
    FailUsage("--lower {} lies above --upper {}; exchange them", *o.lower, *o.upper);
  }
  if (!o.spikeFilter.empty()) ParseSpikeFilter(o.spikeFilter);
  CheckAllOutputs(o);
  if (!o.gap.empty()) {
    const CDzPulsDetektor detector = ConfiguredDetector(o);
    if (detector.BeideFlankenSuchen() || detector.PulsTeiler() > 1) {
      FailUsage("--gap works on every tooth once; leave out --edges both and --divider");
    }
  }
}

CDzPulsDetektor ConfiguredDetector(const SpeedOptions& o) {
  CDzPulsDetektor detector;
  if (o.settings.empty()) {
    if (o.upper && o.lower)
      detector.SchrankenSetzen(static_cast<float>(*o.upper), static_cast<float>(*o.lower));
    detector.PulsTeilerSetzen(o.divider);
    detector.PulsMinLenSetzen(o.minPulse);
    detector.FallendeFlankenSuchen(o.edges == "falling");
    detector.BeideFlankenSuchen(o.edges == "both");
    detector.TtlKorrekturAktivieren(o.ttl);
    if (!o.spikeFilter.empty()) {
      const SpikeFilter filter = ParseSpikeFilter(o.spikeFilter);
      detector.StoerpulsFilterAktivieren(true, filter.threshold, filter.runIn, filter.deadTime);
    }
  } else if (!detector.SettingsStringLesen(CString::FromUtf8(o.settings))) {
    FailUsage(
        "--settings {}: eleven fields are needed, as [lower|upper|divider|min pulse|both|ttl|spike filter|"
        "spike threshold|run-in|dead time|falling]",
        o.settings);
  }
  if (o.pulsesPerRev == std::floor(o.pulsesPerRev) && o.pulsesPerRev < 1e9) {
    detector.QuellenPulseProUmdr(numeric::trunc_sat<unsigned>(o.pulsesPerRev));
  } else {
    detector.QuellenPulseProUmdr(static_cast<float>(o.pulsesPerRev));
  }
  return detector;
}

}  // namespace umlauf::tool
