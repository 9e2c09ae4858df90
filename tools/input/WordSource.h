#pragma once

#include <memory>
#include <span>
#include <string>

#include "tools/input/RecordingInput.h"
#include "umlauf_io/WordSource.h"

namespace umlauf::tool {

/// The words of a digital stream as the command line asks for them. Throws ToolError.
class WordSource {
 public:
  /// `options` name a file of raw u32 words, its rate and channels; all else is refused.
  explicit WordSource(const RecordingOptions& options);

  double sampleRate() const { return source_->SampleRate(); }
  double startTime() const { return source_->StartTime(); }
  /// 0 when that shows only at the end.
  std::uint64_t frames() const { return source_->Frames().value_or(0); }
  unsigned channels() const { return source_->Channels(); }
  /// Index from 0 of the wanted channel.
  unsigned channel() const { return channel_; }
  const std::string& channelName() const { return channelName_; }
  const RecordingWarnings& warnings() const { return source_->Warnings(); }

  /// As CWordSource.
  std::span<const ULONG> Read(std::size_t count, std::size_t keep = 0);

 private:
  std::unique_ptr<CWordSource> source_;
  unsigned channel_ = 0;
  std::string channelName_;
};

}  // namespace umlauf::tool
