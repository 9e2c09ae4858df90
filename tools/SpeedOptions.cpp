#include "tools/SpeedOptions.h"

#include <array>
#include <cmath>
#include <map>

#include "tools/Commands.h"
#include "tools/Error.h"
#include "tools/NumberText.h"
#include "tools/Plot.h"
#include "umlauf/platform/vekta/numeric.h"

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
    const auto number = ParseNumber(part);
    const auto count = ParseCount(part);
    if (i == 0 ? !(number && *number > 0 && *number < 1e6) : !count) break;
    if (i == 0) filter.threshold = static_cast<float>(*number);
    if (i > 0) *counts[i - 1] = *count;
    if (comma == std::string_view::npos) return filter;
    rest.remove_prefix(comma + 1);
  }
  FailUsage("--spike-filter {} is not THRESHOLD[,RUNIN[,DEADTIME]]; give for example 0.2,5,0", text);
}

void DeclareRecording(CLI::App& command, RecordingOptions& recording) {
  const std::map<std::string, RawFormat> rawFormats = {
      {"f32", RawFormat::f32}, {"i16", RawFormat::i16}, {"i32", RawFormat::i32}, {"u32", RawFormat::u32}};
  command.add_option("recording", recording.path, "WAV, FLAC, W64, RF64, MAT ..., CSV or raw samples")
      ->required();
  command.add_option("--channel", recording.channel, "channel of a sound or raw file, from 1")
      ->group("Recording");
  command
      .add_option("--column", recording.column, "column of a CSV file, number from 1 (1 is the time) or name")
      ->group("Recording");
  command.add_option("--raw", recording.raw, "headerless little-endian samples: f32, i16, i32 or u32")
      ->transform(CLI::CheckedTransformer(rawFormats).description(""))
      ->type_name("FORMAT")
      ->group("Recording");
  command
      .add_option("--rate", recording.rate,
                  "samples per second of raw samples; for CSV in place of its times")
      ->check(AboveZero().description(""))
      ->type_name("HZ")
      ->group("Recording");
  command.add_option("--channels", recording.channels, "channels of raw samples (1)")
      ->check(CLI::Range(1u, 65535u).description(""))
      ->group("Recording");
}

void DeclareDetector(CLI::App& command, SpeedOptions& o) {
  const std::string group = "Detector";
  command
      .add_option(
          "--pulses-per-rev", o.pulsesPerRev,
          "pulses of a revolution: the edges that count, so twice the teeth with --edges both; with --gap "
          "those of a wheel without the gap (1)")
      ->check(AboveZero().description(""))
      ->group(group);
  command.add_option("--upper", o.upper, "upper threshold (automatic)")
      ->check(Finite().description(""))
      ->group(group);
  command.add_option("--lower", o.lower, "lower threshold (automatic)")
      ->check(Finite().description(""))
      ->group(group);
  command.add_option("--edges", o.edges, "rising, falling or both (rising)")
      ->check(CLI::IsMember({"rising", "falling", "both"}).description(""))
      ->group(group);
  command.add_option("--divider", o.divider, "only every n-th edge ends a pulse (1)")
      ->check(CLI::Range(1u, 1000000u).description(""))
      ->group(group);
  command
      .add_option("--min-pulse", o.minPulse, "shorter pulses are merged with the next one, in samples (0)")
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
  command
      .add_option("--gap", o.gap,
                  "the wheel has a gap of this length in teeth (3 when two are missing), or auto")
      ->type_name("REL|auto")
      ->group(group);
  command.add_option("--block", o.block, "samples per block (65536)")
      ->check(CLI::Range(std::size_t{1}, std::size_t{1} << 26).description(""))
      ->type_name("SAMPLES")
      ->group(group);
}

void DeclareOutput(CLI::App& command, SpeedOptions& o) {
  const std::string group = "Output";
  command.add_option("--csv", o.csv, "one line per pulse; - is standard output")
      ->type_name("FILE")
      ->group(group);
  command.add_option("--curve", o.curve, "speed over time as signal file")->type_name("FILE")->group(group);
  command.add_option("--curve-step", o.curveStep, "step of that curve (0.01)")
      ->check(AboveZero().description(""))
      ->type_name("SECONDS")
      ->group(group);
  command.add_option("--plot", o.plot, "speed over time as picture")
      ->type_name("FILE.svg|.png")
      ->group(group);
  command.add_option("--truth", o.truth, "compare with a known speed: CSV of seconds and rpm")
      ->type_name("FILE")
      ->group(group);
  command.add_option("--tolerance", o.tolerance, "fail when a pulse deviates more from --truth, in percent")
      ->check(AboveZero().description(""))
      ->type_name("PERCENT")
      ->group(group);
  command.add_flag("--json", o.json, "results as one JSON object on standard output")->group(group);
}

}  // namespace

void DeclareSpeedOptions(CLI::App& command, SpeedOptions& options) {
  DeclareRecording(command, options.recording);
  DeclareDetector(command, options);
  DeclareOutput(command, options);
  CLI::Option* settings = command.get_option("--settings");
  for (const char* each :
       {"--upper", "--lower", "--edges", "--divider", "--min-pulse", "--spike-filter", "--ttl"}) {
    settings->excludes(command.get_option(each));
  }
  command.get_option("--tolerance")->needs(command.get_option("--truth"));
  command.get_option("--curve-step")->needs(command.get_option("--curve"));
}

std::optional<double> SpeedOptions::gapLength() const {
  if (gap == "auto") return std::nullopt;
  const auto length = ParseNumber(gap);
  if (!length || !(*length > 1 && *length < 1000)) {
    FailUsage("--gap {}: give the length of the gap in teeth (more than 1), or auto", gap);
  }
  return length;
}

void CheckSpeedOptions(const SpeedOptions& o) {
  if (o.upper && o.lower && *o.lower > *o.upper) {
    FailUsage("--lower {} lies above --upper {}; exchange them", *o.lower, *o.upper);
  }
  if (!o.spikeFilter.empty()) ParseSpikeFilter(o.spikeFilter);
  if (!o.gap.empty()) {
    const auto length = o.gapLength();
    if (o.pulsesPerRev < 4 || (length && *length >= o.pulsesPerRev)) {
      FailUsage(
          "--gap needs the pulses of the wheel without its gap, more than the gap is long; give "
          "--pulses-per-rev");
    }
    const CDzPulsDetektor detector = ConfiguredDetector(o);
    if (detector.BeideFlankenSuchen() || detector.PulsTeiler() > 1) {
      FailUsage("--gap works on every tooth once; leave out --edges both and --divider");
    }
  }
  if (!o.plot.empty()) CheckPlotName("--plot", o.plot);
  if (o.csv == "-" && o.json)
    FailUsage("--csv - and --json both write to standard output; name a file for --csv");
  if (o.curve == "-") FailUsage("--curve writes a binary file; name one");
  const std::array<std::pair<const char*, const std::string*>, 3> outputs = {
      {{"--csv", &o.csv}, {"--curve", &o.curve}, {"--plot", &o.plot}}};
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const auto& [option, name] = outputs[i];
    if (name->empty()) continue;
    CheckOutputPath(option, *name, o.recording.path);
    if (!o.truth.empty()) CheckOutputPath(option, *name, o.truth);
    for (std::size_t k = 0; k < i; ++k) {
      if (*outputs[k].second == *name) FailUsage("{} and {} name the same file", outputs[k].first, option);
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
