#include "tools/options/OrdersOptions.h"

#include <cmath>
#include <utility>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/options/Outputs.h"
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

void DeclareComb(CLI::App& command, OrdersOptions& o) {
  const std::string group = "Without a tacho";
  CLI::Option* comb =
      command
          .add_option("--comb", o.comb.orders,
                      "orders that the vibration is known to have: the speed is where they are loud")
          ->delimiter(',')
          ->check(AboveZero().description(""))
          ->type_name("ORDER,...")
          ->group(group);
  const auto range = [&](const char* name, double& low, double& high, const char* text) {
    command
        .add_option_function<std::vector<double>>(
            name,
            [name, &low, &high](const std::vector<double>& ends) {
              if (!(ends[0] < ends[1]))
                FailUsage("{} {},{}: the first must be the lower one", name, ends[0], ends[1]);
              low = ends[0];
              high = ends[1];
            },
            text)
        ->delimiter(',')
        ->expected(2)
        ->check(AboveZero().description(""))
        ->needs(comb)
        ->type_name("LOW,HIGH")
        ->group(group);
  };
  range("--start-rpm", o.comb.startLow, o.comb.startHigh, "speed at the start (anywhere within --rpm)");
  range("--rpm", o.comb.lowest, o.comb.highest, "lowest and highest speed (300,6000)");
  command
      .add_option("--steepest", o.comb.steepest, "greatest change of the speed, in rpm for a second (1000)")
      ->check(AboveZero().description(""))
      ->needs(comb)
      ->type_name("RPM/S")
      ->group(group);
  for (const char* each :
       {"--tacho", "--tacho-file", "--pulses-per-rev", "--gap", "--pitch-errors", "--torsional"}) {
    comb->excludes(command.get_option(each));
  }
}

const Choices<OrderTrackSettings::Method> methods = {{"segments", OrderTrackSettings::Method::segments},
                                                     {"vold-kalman", OrderTrackSettings::Method::voldKalman}};

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
  command
      .add_option("--method", o.analysis.tracks.method,
                  "how they are followed: segments (least squares) or vold-kalman (segments)")
      ->transform(OneOf(methods))
      ->type_name("METHOD")
      ->group(group);
  command.add_option("--scale", "amplitudes of tracks: peak or rms (peak)")
      ->check(OneOf({"peak", "rms"}))
      ->each([&o](const std::string& text) { o.rms = text == "rms"; })
      ->group(group);
  command.add_flag("--overall", o.overall, "all orders together beside the tracks, as effective value")
      ->group(group);
}

void DeclareResults(CLI::App& command, OrdersOptions& o) {
  DeclareOutput(command, "--map", o.map, OutputKind::picture, "order map as picture");
  DeclareOutput(command, "--frequency-map", o.frequencyMap, OutputKind::picture,
                "frequencies over the same axis, with order lines");
  DeclareOutput(command, "--spectrum", o.spectrum, OutputKind::picture,
                "order spectrum over all revolutions as picture");
  DeclareOutput(command, "--plot", o.plot, OutputKind::picture,
                "amplitude and phase of the tracks over speed as picture");
  DeclareOutput(command, "--average", o.average, OutputKind::pictureOrSignal,
                "synchronous average over a revolution");
  DeclareOutput(command, "--speed", o.speed, OutputKind::pictureOrSignal,
                "speed that --comb found, over time; the picture has its confidence");
  DeclareOutput(command, "--csv", o.csv, OutputKind::table,
                "tracks, one line per point; - is standard output");
  DeclareOutput(command, "--signal", o.signal, OutputKind::signal, "order map as signal file (curve array)");
  DeclareJson(command, o.json);
  command.get_option("--speed")->needs(command.get_option("--comb"));
}

void CheckResults(const OrdersOptions& o) {
  std::vector<std::filesystem::path> inputs = {o.recording.path};
  if (!o.tachoFile.empty()) inputs.emplace_back(o.tachoFile);
  CheckOutputs({{"--map", o.map, OutputKind::picture},
                {"--frequency-map", o.frequencyMap, OutputKind::picture},
                {"--spectrum", o.spectrum, OutputKind::picture},
                {"--plot", o.plot, OutputKind::picture},
                {"--average", o.average, OutputKind::pictureOrSignal},
                {"--speed", o.speed, OutputKind::pictureOrSignal},
                {"--csv", o.csv, OutputKind::table},
                {"--signal", o.signal, OutputKind::signal}},
               o.json, inputs);
  if (o.analysis.tracks.orders.empty() && !o.overall && !(o.plot.empty() && o.csv.empty())) {
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
  DeclareComb(command, options);
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
  CheckResults(o);
  MapAxis& axis = o.analysis.map.axis;
  axis.kind = o.over == "speed"  ? MapAxis::Kind::speed
              : o.over == "time" ? MapAxis::Kind::time
                                 : MapAxis::Kind::revolution;
  axis.step = o.step.value_or(axis.kind == MapAxis::Kind::speed ? 25 : 0);
  if (!o.frequencyMap.empty()) o.analysis.frequencies = CampbellSettings{.axis = axis};
  if (!o.average.empty()) o.analysis.averagedRevolutions = 1;
}

}  // namespace umlauf::tool
