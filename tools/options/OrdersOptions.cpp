#include "tools/options/OrdersOptions.h"

#include <array>
#include <cmath>
#include <utility>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/output/OutputFile.h"
#include "tools/output/Plot.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {
namespace {

void DeclareInput(CLI::App& command, OrdersOptions& o) {
  const std::string group = "Recording";
  command
      .add_option("recording", o.recording.path,
                  "vibration, noise, torque ... beside the tacho: WAV, FLAC, CSV or raw samples")
      ->required();
  command.add_option("--tacho", o.tacho, "channel of the tacho, from 1, or column of a CSV file (1)")
      ->type_name("CHANNEL")
      ->group(group);
  command.add_option("--tacho-file", o.tachoFile, "recording that has the tacho, if it is another one")
      ->type_name("FILE")
      ->group(group);
  command
      .add_option(
          "--offset", o.offset,
          "time from the first sample of the recording to that of --tacho-file (by their start times)")
      ->check(Finite().description(""))
      ->type_name("SECONDS")
      ->group(group);
  command.add_option("--channel", o.channels, "channels of the vibration (the one behind the tacho)")
      ->delimiter(',')
      ->type_name("CHANNEL,...")
      ->group(group);
  const Choices<RawSamples> rawFormats = {
      {"f32", RawSamples::f32}, {"i16", RawSamples::i16}, {"i32", RawSamples::i32}, {"u32", RawSamples::u32}};
  command.add_option("--raw", o.recording.raw, "headerless little-endian samples: f32, i16, i32 or u32")
      ->transform(OneOf(rawFormats))
      ->type_name("FORMAT")
      ->group(group);
  command.add_option("--rate", o.recording.rate, "samples per second of raw samples and CSV files")
      ->check(AboveZero().description(""))
      ->type_name("HZ")
      ->group(group);
  command.add_option("--channels", o.recording.channels, "channels of raw samples (1)")
      ->transform(WholeNumber(1, 65535))
      ->group(group);
  DeclareSection(command, o.recording);
  command.add_option("--unit", o.recording.unit, "unit of the vibration")->group(group);
}

void DeclareShaft(CLI::App& command, OrdersOptions& o) {
  const std::string group = "Shaft";
  command.add_option("--pulses-per-rev", o.pulsesPerRev, "pulses of a revolution, without a gap (1)")
      ->check(AboveZero().description(""))
      ->group(group);
  command.add_option("--gap", o.gap, "the wheel has a gap of this length in teeth, or auto")
      ->type_name("REL|auto")
      ->group(group);
  command
      .add_flag("--pitch-errors", o.pitchErrors, "average out where the teeth are not where they should be")
      ->group(group);
  command
      .add_option(
          "--gear", o.gear,
          "the orders are those of a shaft that the tacho's drives: teeth of its wheel and of the driven "
          "one, or a ratio")
      ->type_name("IN/OUT")
      ->group(group);
  command.add_flag("--torsional", o.torsional, "the vibration is that of the speed itself, in rpm")
      ->group(group);
}

void DeclareAnalysis(CLI::App& command, OrdersOptions& o) {
  const std::string group = "Analysis";
  OrderMapSettings& map = o.analysis.map;
  const auto number = [&](const char* name, double& target, const char* text) {
    return command.add_option(name, target, text)->check(AboveZero().description(""))->group(group);
  };
  number("--max-order", map.maxOrder, "highest order (60)");
  number("--resolution", map.resolution, "orders from line to line; takes 1/resolution revolutions (0.1)");
  command.add_option("--overlap", map.overlap, "share of a segment in common with the next one (0.5)")
      ->check(Between(0, 0.99).description(""))
      ->group(group);
  const Choices<WindowShape> windows = {
      {"rectangle", WindowShape::Rectangle}, {"hann", WindowShape::Hann},
      {"hamming", WindowShape::Hamming},     {"blackman", WindowShape::Blackman},
      {"flattop", WindowShape::FlatTop},     {"kaiser", WindowShape::Kaiser}};
  command.add_option("--window", map.window, "rectangle, hann, hamming, blackman, flattop or kaiser (hann)")
      ->transform(OneOf(windows))
      ->type_name("SHAPE")
      ->group(group);
  command.add_option("--over", o.over, "maps are over time, revolutions or speed (time)")
      ->check(OneOf({"time", "revolutions", "speed"}))
      ->group(group);
  command
      .add_option("--step", o.step, "what lies within a step of that axis is averaged (25 rpm, else none)")
      ->check(AboveZero().description(""))
      ->group(group);
  command.add_option("--reference", o.reference, "of levels in dB (20 µPa, 1 µm/s² ... by the unit, else 1)")
      ->check(AboveZero().description(""))
      ->group(group);
  command.add_option("--tracks", o.analysis.tracks.orders, "orders that are followed; fractions allowed")
      ->delimiter(',')
      ->check(AboveZero().description(""))
      ->type_name("ORDER,...")
      ->group(group);
  number("--bandwidth", o.analysis.tracks.bandwidth, "of a track, in orders (0.25)");
  command.add_option("--scale", "amplitudes of tracks: peak or rms (peak)")
      ->check(OneOf({"peak", "rms"}))
      ->each([&o](const std::string& text) { o.rms = text == "rms"; })
      ->group(group);
}

void DeclareResults(CLI::App& command, OrdersOptions& o) {
  const std::string group = "Output";
  const auto file = [&](const char* name, std::string& target, const char* type, const char* text) {
    command.add_option(name, target, text)->type_name(type)->group(group);
  };
  file("--map", o.map, "FILE.svg|.png", "order map as picture");
  file("--frequency-map", o.frequencyMap, "FILE.svg|.png",
       "frequencies over the same axis, with order lines");
  file("--spectrum", o.spectrum, "FILE.svg|.png", "order spectrum over all revolutions as picture");
  file("--plot", o.plot, "FILE.svg|.png", "amplitude and phase of the tracks over speed as picture");
  file("--average", o.average, "FILE.svg|.png|.usig", "synchronous average over a revolution");
  file("--csv", o.csv, "FILE", "tracks, one line per point; - is standard output");
  file("--signal", o.signal, "FILE.usig", "order map as signal file (curve array)");
  command.add_flag("--json", o.json, "results as one JSON object on standard output")->group(group);
}

void CheckOutputs(const OrdersOptions& o) {
  const std::array<std::pair<const char*, const std::string*>, 7> outputs = {
      {{"--map", &o.map},
       {"--frequency-map", &o.frequencyMap},
       {"--spectrum", &o.spectrum},
       {"--plot", &o.plot},
       {"--average", &o.average},
       {"--csv", &o.csv},
       {"--signal", &o.signal}}};
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const auto& [option, name] = outputs[i];
    if (name->empty()) continue;
    if (i < 4 || (i == 4 && !name->ends_with(".usig"))) CheckPlotName(option, *name);
    CheckOutputPath(option, *name, o.recording.path);
    if (!o.tachoFile.empty()) CheckOutputPath(option, *name, o.tachoFile);
    for (std::size_t k = 0; k < i; ++k) {
      if (*outputs[k].second == *name) FailUsage("{} and {} name the same file", outputs[k].first, option);
    }
  }
  if (o.csv == "-" && o.json)
    FailUsage("--csv - and --json both write to standard output; name a file for --csv");
  if (o.signal == "-") FailUsage("--signal writes a binary file; name one");
  if (o.analysis.tracks.orders.empty() && !(o.plot.empty() && o.csv.empty())) {
    FailUsage("--plot and --csv show tracks; name their orders with --tracks");
  }
  if (o.torsional && !o.frequencyMap.empty())
    FailUsage("--frequency-map needs a vibration; leave out --torsional");
}

}  // namespace

double OrdersOptions::ratio() const {
  if (gear.empty()) return 1;
  const std::size_t slash = std::min(gear.find('/'), gear.size());
  const auto in = io::ParseNumber(std::string_view(gear).substr(0, slash));
  const auto out =
      slash < gear.size() ? io::ParseNumber(std::string_view(gear).substr(slash + 1)) : std::optional(1.0);
  if (!in || !out || !(std::abs(*in / *out) >= 1e-4 && std::abs(*in / *out) <= 1e4)) {
    FailUsage("--gear {} is no ratio; give for example 17/43", gear);
  }
  return *in / *out;
}

void DeclareOrdersOptions(CLI::App& command, OrdersOptions& options) {
  DeclareInput(command, options);
  DeclareShaft(command, options);
  DeclareAnalysis(command, options);
  DeclareResults(command, options);
  command.get_option("--offset")->needs(command.get_option("--tacho-file"));
  command.get_option("--torsional")->excludes(command.get_option("--channel"));
}

void CheckOrdersOptions(OrdersOptions& o) {
  CheckSection(o.recording);
  if (o.gap != "auto" && !o.gap.empty() && !io::ParseNumber(o.gap)) {
    FailUsage("--gap {}: give the length of the gap in teeth (more than 1), or auto", o.gap);
  }
  o.ratio();
  CheckOutputs(o);
  MapAxis& axis = o.analysis.map.axis;
  axis.kind = o.over == "speed"  ? MapAxis::Kind::speed
              : o.over == "time" ? MapAxis::Kind::time
                                 : MapAxis::Kind::revolution;
  axis.step = o.step.value_or(axis.kind == MapAxis::Kind::speed ? 25 : 0);
  if (!o.frequencyMap.empty()) o.analysis.frequencies = CampbellSettings{.axis = axis};
  if (!o.average.empty()) o.analysis.averagedRevolutions = 1;
}

}  // namespace umlauf::tool
