#pragma once

#include <span>
#include <vector>

#include "tools/BlockSource.h"
#include "tools/RawFile.h"
#include "umlauf/platform/framework/Types.h"

namespace umlauf::tool {

/// The 32-bit words of a digital stream, block by block, bit for bit (as floating-point samples they would
/// lose bits). Frames of interleaved channels. Throws ToolError.
class WordSource {
 public:
  /// `options` name a file of raw u32 words, its rate and channels; all else is refused.
  explicit WordSource(const RecordingOptions& options);

  double sampleRate() const { return sampleRate_; }
  std::uint64_t frames() const { return file_.frames(); }
  unsigned channels() const { return channels_; }
  /// Index from 0 of the wanted channel.
  unsigned channel() const { return channel_; }
  const std::string& channelName() const { return channelName_; }

  /// The next up to `count` frames, preceded by the last `keep` frames of the block before (fewer when it
  /// had fewer). Without a new frame it is empty: the stream has ended. Valid until the next read.
  std::span<const ULONG> Read(std::size_t count, std::size_t keep = 0);

 private:
  RawFile file_;
  double sampleRate_;
  unsigned channels_;
  unsigned channel_;
  std::string channelName_;
  std::vector<ULONG> words_;
};

}  // namespace umlauf::tool
