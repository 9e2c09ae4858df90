#include "tools/input/RecordingInput.h"

#include <algorithm>

#include "tools/Error.h"
#include "tools/output/Console.h"

namespace umlauf::tool {
namespace {

/// What can be done about a failure, where an option of the program does it.
std::string Hint(const RecordingFailure& failure, const RecordingOptions& options) {
  switch (failure.kind) {
    case RecordingFailure::Kind::unknownFormat:
      return fmt::format("; give --raw FORMAT {} HZ if it is raw samples", options.rateOption);
    case RecordingFailure::Kind::notEquidistant:
      return fmt::format("; give {} HZ if they are to be ignored", options.rateOption);
    case RecordingFailure::Kind::noSuchChannel:
      return options.column ? "; choose one with --column" : "; choose one with --channel";
    default:
      return "";
  }
}

/// The option that a kind of file has no use for.
std::string Misplaced(const RecordingOptions& options) {
  const std::string path = options.path.string();
  if (options.column) return fmt::format("--column is for CSV files; use --channel for {}", path);
  if (options.channel) return "--channel is for sound files and --raw; use --column for CSV files";
  return fmt::format("{} is for --raw and CSV files; {} tells its own", options.rateOption, path);
}

}  // namespace

void FailWith(const RecordingFailure& failure, const RecordingOptions& options) {
  if (failure.kind == RecordingFailure::Kind::wrongOption) FailUsage("{}", Misplaced(options));
  Fail("{}{}", failure.text.ToUtf8(), Hint(failure, options));
}

void CheckSection(const RecordingOptions& options) {
  if (options.from && options.to && !(*options.from < *options.to)) {
    FailUsage("--from {:g} is not before --to {:g}; exchange them", *options.from, *options.to);
  }
}

RecordingFormat FormatOf(const RecordingOptions& options) {
  if (options.channel && options.column) {
    FailUsage("--channel is for sound and raw files, --column for CSV files; give one of them");
  }
  if (options.raw && options.column) FailUsage("--column is for CSV files; use --channel with --raw");
  if (options.raw && !options.rate) {
    FailUsage("--raw needs the sample rate; give {} HZ", options.rateOption);
  }
  if (!options.raw && options.channels) {
    FailUsage("--channels describes raw samples; give --raw FORMAT with it");
  }
  RecordingFormat format;
  format.raw = options.raw;
  format.rawChannels = options.channels.value_or(1);
  format.rate = options.rate;
  format.firstChannelOnly = !options.allChannels;
  CheckSection(options);
  format.from = options.from;
  format.to = options.to;
  format.scale = options.scale;
  format.offset = options.offset;
  format.unit = CString::FromUtf8(options.unit);
  format.rewindable = options.rewindable;
  if (options.channel) format.channels = {*options.channel};
  if (options.column) format.columns = {*options.column};
  if (!options.channelList.empty()) format.channels = options.channelList;
  if (!options.columnList.empty()) format.columns = options.columnList;
  return format;
}

std::unique_ptr<CRecordingSource> OpenRecording(const RecordingOptions& options) {
  RecordingFormat format = FormatOf(options);
  RecordingFailure failure;
  auto source = ::OpenRecording(options.path, format, failure);
  if (!source) FailWith(failure, options);
  return source;
}

void Add(const std::vector<RotationWarning>& doubts, double startTime, RecordingWarnings& warnings) {
  for (const RotationWarning& each : doubts) {
    RecordingWarning& warning =
        warnings.emplace_back(RecordingWarning{std::string(each.code), each.text, {}});
    for (const auto& place : each.places)
      warning.places.emplace_back(startTime + place.from, startTime + place.to);
  }
}

void PrintWarnings(const RecordingWarnings& warnings) {
  for (const RecordingWarning& each : warnings) PrintNote("{}", each.text.ToUtf8());
}

SampleBlock Read(CBlockSource& source, std::size_t count) {
  const SampleBlock block = source.Read(count);
  if (block.count == 0 && source.HasFailed()) Fail("{}", source.Failure().ToUtf8());
  return block;
}

void Rewind(CBlockSource& source) {
  if (source.Rewind()) return;
  const CString failure = source.Failure();
  Fail("{}", failure.IsEmpty() ? "the recording cannot be read twice; put it into a file" : failure.ToUtf8());
}

const float* Contiguous(const SampleBlock& block, unsigned channels, std::vector<float>& buffer) {
  if (block.stride == channels) return block.samples;
  buffer.resize(block.count * channels);
  for (std::size_t i = 0; i < block.count; ++i) {
    std::copy_n(block.samples + i * block.stride, channels, buffer.data() + i * channels);
  }
  return buffer.data();
}

}  // namespace umlauf::tool
