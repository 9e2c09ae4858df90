#pragma once

#include <optional>
#include <string>
#include <utility>

#include "tools/Error.h"
#include "tools/output/Progress.h"
#include "umlauf/recording/BlockSource.h"

namespace umlauf::tool {

/// A recording as the library reads it for this program: with a progress bar for each pass.
class ProgressSource final : public CBlockSource {
 public:
  explicit ProgressSource(CBlockSource& source) : source_(source) {}

  /// What the passes from here on are for.
  void Purpose(std::string what) { what_ = std::move(what); }
  /// Throws ToolError when the last pass ended early.
  void Check() const {
    if (source_.HasFailed()) Fail("{}", source_.Failure().ToUtf8());
  }

  double SampleRate() const override { return source_.SampleRate(); }
  unsigned Channels() const override { return source_.Channels(); }
  std::optional<std::uint64_t> Frames() const override { return source_.Frames(); }
  double StartTime() const override { return source_.StartTime(); }
  CString ChannelName(unsigned c) const override { return source_.ChannelName(c); }
  CString Failure() const override { return source_.Failure(); }
  bool HasFailed() const override { return source_.HasFailed(); }
  SampleBlock Read(std::size_t count) override {
    if (!progress_) progress_.emplace(what_, source_.Frames().value_or(0));
    const SampleBlock block = source_.Read(count);
    progress_->Advance(block.count);
    return block;
  }
  bool Rewind() override {
    progress_.reset();
    return source_.Rewind();
  }
  bool Seek(std::uint64_t frame) override { return source_.Seek(frame); }

 private:
  CBlockSource& source_;
  std::string what_ = "pulses";
  std::optional<Progress> progress_;
};

}  // namespace umlauf::tool
