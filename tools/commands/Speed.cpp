#include <memory>
#include <utility>

#include "tools/AutomaticThresholds.h"
#include "tools/Error.h"
#include "tools/PulseFinder.h"
#include "tools/commands/Commands.h"
#include "tools/options/SpeedOptions.h"
#include "tools/output/Console.h"
#include "tools/output/SpeedOutputs.h"

namespace umlauf::tool {
namespace {

/// What was found out about the thresholds of a recording.
struct Thresholds {
  SpeedReport::Thresholds report;
  bool certain = true;
};

/// Sets the thresholds that were not given, from the whole recording.
Thresholds FindThresholds(const SpeedOptions& options, BlockSource& source, CDzPulsDetektor& detector) {
  Thresholds found;
  if (!options.settings.empty() || (options.upper && options.lower)) return found;
  const RecordingStatistics statistics = MeasureRecording(source, options.block);
  // What it returns tells nothing about the recording (it is false for a clean sine): the pulses found do.
  detector.AutoSchrankenSetzen(statistics.min, statistics.max, static_cast<float>(statistics.mean),
                               static_cast<float>(statistics.deviation));
  found.report.automaticUpper = !options.upper;
  found.report.automaticLower = !options.lower;
  if (!options.upper && !options.lower) {
    const AutomaticThresholds chosen = ChooseThresholds(source, options.block, statistics, detector);
    detector.SchrankenSetzen(chosen.upper, chosen.lower);
    found.certain = chosen.certain;
    return found;
  }
  const float upper = options.upper ? static_cast<float>(*options.upper) : detector.ObereSchranke();
  const float lower = options.lower ? static_cast<float>(*options.lower) : detector.UntereSchranke();
  if (lower > upper) {
    Fail("the automatic {} threshold {:g} does not fit to the other one; give --upper and --lower",
         options.upper ? "lower" : "upper", options.upper ? lower : upper);
  }
  detector.SchrankenSetzen(upper, lower);
  return found;
}

[[noreturn]] void FailWithoutPulses(const SpeedOptions& options, BlockSource& source,
                                    const CDzPulsDetektor& detector, std::uint64_t edges) {
  const RecordingStatistics statistics = MeasureRecording(source, options.block);
  const std::string name = options.recording.path.string();
  if (statistics.samples == 0) Fail("no pulses found in {}: it holds no samples; check the recording", name);
  Fail(
      "no pulses found in {} (edges: {}): its samples range from {:g} to {:g}, the thresholds are "
      "upper {:g}, lower {:g}; set --upper and --lower within the swing of the pulses, and check --channel "
      "and --min-pulse",
      name, edges, statistics.min, statistics.max, detector.ObereSchranke(), detector.UntereSchranke());
}

void RunSpeed(const SpeedOptions& options) {
  CheckSpeedOptions(options);
  const std::unique_ptr<BlockSource> source = OpenRecording(options.recording);
  CDzPulsDetektor detector = ConfiguredDetector(options);
  Thresholds thresholds = FindThresholds(options, *source, detector);
  SpeedOutputs outputs(options, options.pulsesPerRev, source->sampleRate(), source->startTime(),
                       source->frames());
  const std::uint64_t samples =
      FindPulses(*source, options.block, detector, [&outputs](const Pulse& pulse) { outputs.Take(pulse); });
  outputs.Finish();
  if (outputs.counts().speed().count == 0) {
    FailWithoutPulses(options, *source, detector, outputs.counts().pulses());
  }
  if (!thresholds.certain) {
    PrintNote(
        "the number of pulses depends on the thresholds; look at the recording with umlauf plot, and set "
        "--upper and --lower");
  }
  thresholds.report.upper = detector.ObereSchranke();
  thresholds.report.lower = detector.UntereSchranke();
  thresholds.report.settings = detector.SettingsStringBilden().ToUtf8();
  SpeedReport report;
  report.channel = source->channelName();
  report.duration = static_cast<double>(samples) / source->sampleRate();
  report.thresholds = std::move(thresholds.report);
  outputs.Publish(std::move(report));
}

}  // namespace

void AddSpeedCommand(CLI::App& app) {
  auto options = std::make_shared<SpeedOptions>();
  CLI::App* command = app.add_subcommand("speed", "Speed of rotation from a tacho recording");
  DeclareSpeedOptions(*command, *options);
  command->callback([options] { RunSpeed(*options); });
}

}  // namespace umlauf::tool
