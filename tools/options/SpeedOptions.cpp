#include "tools/options/SpeedOptions.h"

#include <array>
#include <cmath>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
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
  DeclareRecording(command, options.recording);
  DeclareScaling(command, options.recording);
  DeclareDetector(command, options);
  DeclareSpeedResults(command, options);
  CLI::Option* settings = command.get_option("--settings");
  for (const char* each :
       {"--upper", "--lower", "--edges", "--divider", "--min-pulse", "--spike-filter", "--ttl"}) {
    settings->excludes(command.get_option(each));
  }
}

void CheckSpeedOptions(const SpeedOptions& o) {
  if (o.upper && o.lower && *o.lower > *o.upper) {
    FailUsage("--lower {} lies above --upper {}; exchange them", *o.lower, *o.upper);
  }
  if (!o.spikeFilter.empty()) ParseSpikeFilter(o.spikeFilter);
  CheckSpeedResults(o);
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
