#include <memory>
#include <optional>
#include <utility>

#include "tools/Error.h"
#include "tools/ProgressSource.h"
#include "tools/commands/Commands.h"
#include "tools/options/SpeedOptions.h"
#include "tools/output/Console.h"
#include "tools/output/SpeedOutputs.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/PulseFinder.h"
#include "umlauf/rotation/PulseJudge.h"
#include "umlauf/rotation/RecordingStatistics.h"
#include "umlauf/rotation/SwingSource.h"

namespace umlauf::tool {
namespace {

/// Levels of the recording: those that were given, the others from the whole of it. Sets them.
PulseLevels FindLevels(const SpeedOptions& options, ProgressSource& source, CDzPulsDetektor& detector) {
  const bool line = !options.settings.empty();
  const auto given = [line](std::optional<double> level, float ofLine) {
    if (line) return std::optional(ofLine);
    return level ? std::optional(static_cast<float>(*level)) : std::nullopt;
  };
  CLevelFinder finder(detector);
  finder.Given(given(options.upper, detector.ObereSchranke()),
               given(options.lower, detector.UntereSchranke()));
  finder.BlockSize(options.block);
  source.Purpose("thresholds");
  const bool found = finder.Find(source, 0);
  source.Check();
  // The levels of a settings line may lie upside down; they are taken as they are.
  if (!found && !line) Fail("{}", finder.Failure().ToUtf8());
  if (!line) detector.SchrankenSetzen(finder.Levels().upper, finder.Levels().lower);
  return finder.Levels();
}

[[noreturn]] void FailWithoutPulses(const SpeedOptions& options, ProgressSource& source,
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
  ProgressSource source(*file);
  CDzPulsDetektor detector = ConfiguredDetector(options);
  const PulseLevels levels = FindLevels(options, source, detector);
  SpeedOutputs outputs(options, options.pulsesPerRev, file->SampleRate(), file->StartTime(),
                       file->Frames().value_or(0));
  source.Purpose("pulses");
  source.Rewind();
  CSwingSource scaled(source, 0, levels.scale.value_or(SwingScale()));
  CPulseFinder finder(levels.scale ? static_cast<CBlockSource&>(scaled) : source, 0, detector, options.block);
  CPulseJudge judge(levels, detector);
  CPulseTrain pulses = outputs.NewTrain();
  while (finder.Next(pulses)) {
    judge.Take(pulses);
    outputs.Take(pulses);
  }
  source.Check();
  if (!finder.Failure().IsEmpty()) Fail("{}", finder.Failure().ToUtf8());
  outputs.Finish();
  if (outputs.counts().Speed().count == 0) {
    FailWithoutPulses(options, source, detector, outputs.counts().Pulses());
  }
  SpeedReport report;
  report.warnings = file->Warnings();
  report.channel = file->ChannelName(0).ToUtf8();
  report.channelNumber = file->ChannelNumber(0);
  report.channels = file->RecordingChannels();
  report.duration = static_cast<double>(finder.Samples()) / file->SampleRate();
  for (const RotationWarning& each : judge.Finish()) {
    report.warnings.push_back({std::string(each.code), each.text});
  }
  PrintWarnings(report.warnings);
  report.thresholds = SpeedReport::Thresholds{detector.ObereSchranke(),
                                              detector.UntereSchranke(),
                                              levels.automaticUpper,
                                              levels.automaticLower,
                                              detector.SettingsStringBilden().ToUtf8(),
                                              levels.scale};
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
