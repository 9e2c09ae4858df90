#include <memory>
#include <optional>
#include <utility>

#include "tools/Error.h"
#include "tools/RecordingAdapter.h"
#include "tools/commands/Commands.h"
#include "tools/options/SpeedOptions.h"
#include "tools/output/Console.h"
#include "tools/output/SpeedOutputs.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/PulseFinder.h"
#include "umlauf/rotation/RecordingStatistics.h"

namespace umlauf::tool {
namespace {

/// Levels of the recording: those that were given, the others from the whole of it. Sets them.
PulseLevels FindLevels(const SpeedOptions& options, RecordingAdapter& source, CDzPulsDetektor& detector) {
  PulseLevels levels;
  if (options.settings.empty()) {
    const auto given = [](std::optional<double> level) {
      return level ? std::optional(static_cast<float>(*level)) : std::nullopt;
    };
    CLevelFinder finder(detector);
    finder.Given(given(options.upper), given(options.lower));
    finder.BlockSize(options.block);
    source.Purpose("thresholds");
    const bool found = finder.Find(source, 0);
    source.Check();
    levels = finder.Levels();
    if (!found) {
      Fail("the automatic {} threshold {:g} does not fit to the other one; give --upper and --lower",
           options.upper ? "lower" : "upper", options.upper ? levels.lower : levels.upper);
    }
    detector.SchrankenSetzen(levels.upper, levels.lower);
  }
  return levels;
}

[[noreturn]] void FailWithoutPulses(const SpeedOptions& options, RecordingAdapter& source,
                                    const CDzPulsDetektor& detector, std::uint64_t edges) {
  CRecordingStatistics statistics;
  const std::string name = options.recording.path.string();
  source.Purpose("range");
  if (!source.Rewind()) {
    Fail(
        "no pulses found in {} (edges: {}) with the thresholds upper {:g}, lower {:g}; put it into a file "
        "and "
        "look at it with umlauf info",
        name, edges, detector.ObereSchranke(), detector.UntereSchranke());
  }
  statistics.Add(source, 0, options.block);
  source.Check();
  if (statistics.Count() == 0) Fail("no pulses found in {}: it holds no samples; check the recording", name);
  Fail(
      "no pulses found in {} (edges: {}): its samples range from {:g} to {:g}, the thresholds are "
      "upper {:g}, lower {:g}; set --upper and --lower within the swing of the pulses, and check --channel "
      "and --min-pulse",
      name, edges, statistics.Min(), statistics.Max(), detector.ObereSchranke(), detector.UntereSchranke());
}

void RunSpeed(SpeedOptions options) {
  CheckSpeedOptions(options);
  // Levels are found in a pass of their own; without it a pipe is read as it comes.
  options.recording.rewindable = options.settings.empty() && !(options.upper && options.lower);
  const std::unique_ptr<CRecordingSource> file = OpenRecording(options.recording);
  RecordingAdapter source(*file);
  CDzPulsDetektor detector = ConfiguredDetector(options);
  const PulseLevels levels = FindLevels(options, source, detector);
  SpeedOutputs outputs(options, options.pulsesPerRev, file->SampleRate(), file->StartTime(),
                       file->Frames().value_or(0));
  source.Purpose("pulses");
  source.Rewind();
  CPulseFinder finder(source, 0, detector, options.block);
  CPulseTrain pulses = outputs.NewTrain();
  while (finder.Next(pulses)) outputs.Take(pulses);
  source.Check();
  if (!finder.Failure().IsEmpty()) Fail("{}", finder.Failure().ToUtf8());
  outputs.Finish();
  if (outputs.counts().Speed().count == 0) {
    FailWithoutPulses(options, source, detector, outputs.counts().Pulses());
  }
  if (!levels.certain) {
    PrintNote(
        "the number of pulses depends on the thresholds; look at the recording with umlauf plot, and set "
        "--upper and --lower");
  }
  PrintWarnings(file->Warnings());
  SpeedReport report;
  report.warnings = file->Warnings();
  report.channel = file->ChannelName(0).ToUtf8();
  report.channelNumber = file->ChannelNumber(0);
  report.channels = file->RecordingChannels();
  report.duration = static_cast<double>(finder.Samples()) / file->SampleRate();
  report.thresholds =
      SpeedReport::Thresholds{detector.ObereSchranke(), detector.UntereSchranke(), levels.automaticUpper,
                              levels.automaticLower, detector.SettingsStringBilden().ToUtf8()};
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
