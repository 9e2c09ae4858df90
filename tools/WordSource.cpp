#include "tools/WordSource.h"

#include <algorithm>

#include "tools/Error.h"

namespace umlauf::tool {
namespace {

const RecordingOptions& Checked(const RecordingOptions& options) {
  CheckRecordingExists(options.path);
  if (options.raw != RawFormat::u32) FailUsage("a stream of words is read raw; give --raw u32");
  if (!options.rate) FailUsage("--raw needs the sample rate; give {} HZ", options.rateOption);
  if (options.column) FailUsage("--column is for CSV files; use --channel with --raw");
  return options;
}

}  // namespace

WordSource::WordSource(const RecordingOptions& options)
    : file_(Checked(options).path, sizeof(ULONG) * options.channels.value_or(1)),
      sampleRate_(*options.rate),
      channels_(options.channels.value_or(1)),
      channel_(ChannelIndex(options, channels_)),
      channelName_(fmt::format("channel {} of {}", channel_ + 1, channels_)) {}

std::span<const ULONG> WordSource::Read(std::size_t count, std::size_t keep) {
  const std::size_t kept = std::min(keep * channels_, words_.size());
  words_.erase(words_.begin(), words_.end() - static_cast<std::ptrdiff_t>(kept));
  words_.resize(kept + count * channels_);
  const std::size_t n = file_.Read(words_.data() + kept, count);
  words_.resize(n > 0 ? kept + n * channels_ : 0);
  return words_;
}

}  // namespace umlauf::tool
