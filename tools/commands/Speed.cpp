#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/output/Console.h"
#include "tools/speed/ChannelSpeed.h"
#include "tools/speed/EdgeListSpeed.h"
#include "tools/speed/SpeedResults.h"
#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::tool {
namespace {

/// One channel of several, which may fail without the others.
struct Job {
  std::unique_ptr<ChannelSpeed> speed;
  std::optional<ToolError> failure;

  template <class Work>
  void Try(bool alone, Work work) {
    if (failure) return;
    if (alone) return work();
    try {
      work();
    } catch (const ToolError& error) {
      if (error.code() == ToolError::usage) throw;
      failure = error;
    }
  }
};

/// Reads the recording once for all of these.
void ReadOnce(ProgressSource& source, std::vector<Job*>& jobs, std::size_t blockSize, bool alone) {
  const unsigned channels = source.Channels();
  std::vector<std::vector<float>> planes(channels > 1 ? channels : 0);
  std::vector<float*> columns;
  // What is split stays in the processor's cache.
  if (channels > 1) blockSize = std::clamp<std::size_t>(131072 / channels, 1024, blockSize);
  for (std::vector<float>& each : planes) columns.emplace_back((each.resize(blockSize), each.data()));
  for (Job* job : jobs) job->Try(alone, [&] { job->speed->Begin(); });
  source.Purpose("pulses");
  source.Rewind();
  for (SampleBlock block = source.Read(blockSize); block.count > 0; block = source.Read(blockSize)) {
    const bool split = channels > 1 && block.stride == channels;
    if (split) QVL::Deinterleave(columns.data(), block.samples, channels, block.count);
    for (Job* job : jobs) {
      const unsigned c = job->speed->channel();
      job->Try(alone, [&] {
        split ? job->speed->Take(columns[c], block.count, 1)
              : job->speed->Take(block.samples + c, block.count, block.stride);
      });
    }
  }
  source.Check();
}

void FindSpeeds(ProgressSource& source, std::vector<Job>& jobs, std::size_t blockSize, bool alone) {
  std::vector<Job*> open;
  for (Job& job : jobs) {
    job.Try(alone, [&] { job.speed->FindLevels(source); });
    if (!job.failure) open.push_back(&job);
  }
  while (!open.empty()) {
    ReadOnce(source, open, blockSize, alone);
    std::erase_if(open, [&](Job* job) {
      bool done = true;
      job->Try(alone, [&] { done = job->speed->Finish(); });
      return done;
    });
  }
}

/// All wanted channels of one recording.
void RunRecording(const SpeedOptions& options, bool alone, SpeedResults& results) {
  if (const auto list = ListKind(options)) return RunEdgeList(options, *list, alone, results);
  const std::unique_ptr<CRecordingSource> file = OpenRecording(options.recording);
  ProgressSource source(*file);
  std::vector<Job> jobs;
  for (unsigned c = 0; c < file->Channels(); ++c) {
    jobs.emplace_back().speed = std::make_unique<ChannelSpeed>(options, *file, c, file->Channels());
  }
  FindSpeeds(source, jobs, options.block, alone);
  for (Job& job : jobs) {
    const unsigned number = file->ChannelNumber(job.speed->channel());
    const std::string about =
        alone ? "" : fmt::format("{}, channel {}: ", options.recording.path.string(), number);
    job.Try(alone, [&] {
      const SpeedReport report = job.speed->Complete(source);
      for (const RecordingWarning& each : report.warnings) PrintNote("{}{}", about, each.text.ToUtf8());
      alone ? job.speed->Print(report) : results.Add(report);
      job.speed->CheckTolerance();
    });
    if (!job.failure) continue;
    PrintNote("{}{}", about, job.failure->what());
    results.AddFailure(options.recording.path.string(), number, job.failure->what());
  }
}

void RunSpeed(SpeedOptions options) {
  CheckSpeedOptions(options);
  const ChannelChoice choice = ChosenChannels(options);
  options.recording.allChannels = choice.all;
  options.recording.channelList = choice.channels;
  options.recording.columnList = choice.columns;
  if (!choice.channels.empty()) options.recording.channel = choice.channels.front();
  if (!choice.columns.empty()) options.recording.column = choice.columns.front();
  const bool alone = options.paths.size() == 1 && choice.atLeast() == 1;
  // Levels are found in a pass of their own; without it a pipe is read as it comes.
  options.recording.rewindable = options.settings.empty() && !(options.upper && options.lower);
  SpeedResults results(options.json);
  for (const FilePath& path : options.paths) {
    options.recording.path = path;
    if (alone) {
      RunRecording(options, true, results);
      continue;
    }
    try {
      RunRecording(options, false, results);
    } catch (const ToolError& error) {
      if (error.code() == ToolError::usage) throw;
      PrintNote("{}", error.what());
      results.AddFailure(path.string(), 0, error.what());
    }
  }
  if (alone) return;
  results.Print();
  if (results.Failures() > 0) Fail("{} of {} results failed", results.Failures(), results.Count());
}

}  // namespace

void AddSpeedCommand(CLI::App& app) {
  auto options = std::make_shared<SpeedOptions>();
  CLI::App* command = app.add_subcommand("speed", "Speed of rotation from a tacho recording");
  DeclareSpeedOptions(*command, *options);
  command->callback([options] { RunSpeed(*options); });
}

}  // namespace umlauf::tool
