#include "tools/input/WordSource.h"

#include "tools/Error.h"

namespace umlauf::tool {

WordSource::WordSource(const RecordingOptions& options) {
  if (options.raw != RawSamples::u32) FailUsage("a stream of words is read raw; give --raw u32");
  RecordingFailure failure;
  source_ = OpenWords(options.path, FormatOf(options), failure);
  if (!source_) FailWith(failure, options);
  const unsigned wanted = options.channel.value_or(1);
  if (wanted > channels()) {
    Fail("{} has no channel {}; give --channel 1{}", options.path.string(), wanted,
         channels() > 1 ? fmt::format(" to {}", channels()) : "");
  }
  channel_ = wanted - 1;
  channelName_ = fmt::format("channel {} of {}", wanted, channels());
}

std::span<const ULONG> WordSource::Read(std::size_t count, std::size_t keep) {
  const std::span<const ULONG> words = source_->Read(count, keep);
  if (words.empty() && source_->HasFailed()) Fail("{}", source_->Failure().ToUtf8());
  return words;
}

}  // namespace umlauf::tool
