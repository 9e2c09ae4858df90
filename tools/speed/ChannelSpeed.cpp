#include "tools/speed/ChannelSpeed.h"

#include "tools/Error.h"
#include "umlauf/rotation/RecordingStatistics.h"

namespace umlauf::tool {
namespace {

/// How the channel is called in the names of files.
std::string NameOfChannel(const SpeedOptions& options, const CRecordingSource& file, unsigned channel) {
  const ChannelChoice choice = ChosenChannels(options);
  if (channel < choice.columns.size()) return choice.columns[channel];
  return std::to_string(file.ChannelNumber(channel));
}

}  // namespace

ChannelSpeed::ChannelSpeed(const SpeedOptions& options, const CRecordingSource& file, unsigned channel,
                           std::size_t channels)
    : options_(OptionsFor(options, options.recording.path, NameOfChannel(options, file, channel))),
      file_(file),
      channel_(channel),
      channels_(channels),
      detector_(ConfiguredDetector(options)) {}

/// Those that were given, the others from the recording.
void ChannelSpeed::FindLevels(ProgressSource& source) {
  const bool line = !options_.settings.empty();
  const auto given = [line](std::optional<double> level, float ofLine) {
    if (line) return std::optional(ofLine);
    return level ? std::optional(static_cast<float>(*level)) : std::nullopt;
  };
  CLevelFinder finder(detector_);
  finder.Given(given(options_.upper, detector_.ObereSchranke()),
               given(options_.lower, detector_.UntereSchranke()));
  finder.BlockSize(options_.block);
  finder.Part(SpeedOutputs::CanBeginAgain(options_));
  source.Purpose("thresholds");
  const bool found = finder.Find(source, channel_);
  source.Check();
  // The levels of a settings line may lie upside down; they are taken as they are.
  if (!found && !line) Fail("{}", finder.Failure().ToUtf8());
  levels_ = finder.Levels();
}

void ChannelSpeed::Begin() {
  detector_.SchrankenSetzen(levels_.upper, levels_.lower);
  outputs_.reset();
  outputs_.emplace(options_, options_.countTeeth ? 1 : options_.pulsesPerRev, file_.SampleRate(),
                   file_.StartTime(), file_.Frames().value_or(0), channels_);
  tacho_.emplace(levels_, detector_);
  pulses_ = outputs_->NewTrain();
}

void ChannelSpeed::Take(const float* samples, std::size_t n, std::size_t stride) {
  if (!tacho_->Take(samples, n, stride, pulses_)) Fail("{}", tacho_->Failure().ToUtf8());
  outputs_->Take(pulses_);
}

bool ChannelSpeed::Finish() {
  if (!tacho_->Finish(pulses_)) Fail("{}", tacho_->Failure().ToUtf8());
  if (!tacho_->LevelsServed()) {
    levels_ = tacho_->Levels();
    return false;
  }
  outputs_->Take(pulses_);
  return true;
}

SpeedReport ChannelSpeed::Complete(ProgressSource& source) {
  outputs_->Finish();
  if (outputs_->counts().Speed().count == 0) FailWithoutPulses(source);
  SpeedReport report;
  report.warnings = file_.Warnings();
  report.channel = file_.ChannelName(channel_).ToUtf8();
  report.channelNumber = file_.ChannelNumber(channel_);
  report.channels = file_.RecordingChannels();
  report.duration = static_cast<double>(tacho_->Samples()) / file_.SampleRate();
  Add(tacho_->Warnings(), file_.StartTime(), report.warnings);
  report.thresholds = SpeedReport::Thresholds{levels_.upper,
                                              levels_.lower,
                                              levels_.automaticUpper,
                                              levels_.automaticLower,
                                              detector_.SettingsStringBilden().ToUtf8(),
                                              levels_.scale};
  outputs_->Write(report);
  return report;
}

void ChannelSpeed::FailWithoutPulses(ProgressSource& source) const {
  CRecordingStatistics statistics;
  const std::string name = options_.recording.path.string();
  const std::uint64_t edges = outputs_->counts().Pulses();
  source.Purpose("range");
  if (!source.Rewind()) {
    Fail(
        "no pulses found in {} (edges: {}) with the thresholds upper {:g}, lower {:g}; put it into a file "
        "and look at it with umlauf info",
        name, edges, levels_.upper, levels_.lower);
  }
  statistics.Add(source, channel_, options_.block);
  source.Check();
  if (statistics.Count() == 0) {
    const bool cut = options_.recording.from || options_.recording.to;
    Fail("no pulses found in {}: {}", name,
         cut ? "nothing of it lies from --from to --to; look at its length with umlauf info and choose others"
             : "it holds no samples; check the recording");
  }
  Fail(
      "no pulses found in {} (edges: {}): its samples range from {:g} to {:g}, the thresholds are "
      "upper {:g}, lower {:g}; set --upper and --lower within the swing of the pulses, and check --channel "
      "and --min-pulse",
      name, edges, statistics.Min(), statistics.Max(), levels_.upper, levels_.lower);
}

}  // namespace umlauf::tool
