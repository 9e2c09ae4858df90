#include <memory>
#include <utility>

#include "tools/Commands.h"
#include "tools/Error.h"
#include "tools/PulseFinder.h"
#include "tools/SpeedOptions.h"
#include "tools/SpeedOutputs.h"

namespace umlauf::tool {
namespace {

/// Thresholds that were not given, from the whole recording. Tells which ones.
SpeedReport::Thresholds FindThresholds(const SpeedOptions& options, BlockSource& source,
                                       CDzPulsDetektor& detector) {
  SpeedReport::Thresholds found;
  if (!options.settings.empty() || (options.upper && options.lower)) return found;
  const RecordingStatistics statistics = MeasureRecording(source, options.block);
  const float levels[] = {statistics.min, statistics.max, statistics.mean, statistics.meanSquare};
  // What it returns tells nothing about the recording (it is false for a clean sine): the pulses found do.
  detector.AutoSchrankenSetzen(levels);
  const float upper = options.upper ? static_cast<float>(*options.upper) : detector.ObereSchranke();
  const float lower = options.lower ? static_cast<float>(*options.lower) : detector.UntereSchranke();
  if (lower > upper) {
    Fail("the automatic {} threshold {:g} does not fit to the other one; give --upper and --lower",
         options.upper ? "lower" : "upper", options.upper ? lower : upper);
  }
  detector.SchrankenSetzen(upper, lower);
  found.automaticUpper = !options.upper;
  found.automaticLower = !options.lower;
  return found;
}

[[noreturn]] void FailWithoutPulses(const SpeedOptions& options, BlockSource& source,
                                    const CDzPulsDetektor& detector, std::uint64_t edges) {
  const RecordingStatistics statistics = MeasureRecording(source, options.block);
  Fail(
      "no pulses found in {} ({} edges): its samples range from {:g} to {:g}, the thresholds are upper {:g}, "
      "lower "
      "{:g}; set --upper and --lower within the swing of the pulses, and check --channel and --min-pulse",
      options.recording.path.string(), edges, statistics.min, statistics.max, detector.ObereSchranke(),
      detector.UntereSchranke());
}

void RunSpeed(const SpeedOptions& options) {
  CheckSpeedOptions(options);
  const std::unique_ptr<BlockSource> source = OpenRecording(options.recording);
  CDzPulsDetektor detector = ConfiguredDetector(options);
  SpeedReport::Thresholds thresholds = FindThresholds(options, *source, detector);
  SpeedOutputs outputs(options, options.pulsesPerRev, source->sampleRate(), source->startTime(),
                       source->frames());
  const std::uint64_t samples =
      FindPulses(*source, options.block, detector, [&outputs](const Pulse& pulse) { outputs.Take(pulse); });
  outputs.Finish();
  if (outputs.counts().speed().count == 0) {
    FailWithoutPulses(options, *source, detector, outputs.counts().pulses());
  }
  thresholds.upper = detector.ObereSchranke();
  thresholds.lower = detector.UntereSchranke();
  thresholds.settings = detector.SettingsStringBilden().ToUtf8();
  SpeedReport report;
  report.channel = source->channelName();
  report.duration = static_cast<double>(samples) / source->sampleRate();
  report.thresholds = std::move(thresholds);
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
