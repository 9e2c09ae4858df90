#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tools/BlockSource.h"
#include "tools/output/Progress.h"
#include "umlauf/recording/BlockSource.h"

namespace umlauf::tool {

/// A recording of this program as the library reads it: its one channel, with a progress bar for each pass.
/// What went wrong is kept and thrown by `Check`.
class RecordingAdapter final : public CBlockSource {
 public:
  explicit RecordingAdapter(BlockSource& source) : source_(source) {}

  /// What the passes from here on are for.
  void Purpose(std::string what) { what_ = std::move(what); }
  /// Throws what ended the last pass early.
  void Check() const {
    if (error_) std::rethrow_exception(error_);
  }

  double SampleRate() const override { return source_.sampleRate(); }
  std::optional<std::uint64_t> Frames() const override { return source_.frames(); }
  double StartTime() const override { return source_.startTime(); }
  CString ChannelName(unsigned) const override { return CString::FromUtf8(source_.channelName()); }
  ::SampleBlock Read(std::size_t count) override {
    if (error_) return {};
    try {
      if (!progress_) progress_.emplace(what_, source_.frames());
      const SampleBlock block = source_.Read(count);
      progress_->Advance(block.count);
      return {block.samples, block.count, block.stride};
    } catch (...) {
      error_ = std::current_exception();
      return {};
    }
  }
  bool Rewind() override {
    progress_.reset();
    if (error_) return false;
    try {
      source_.Rewind();
      return true;
    } catch (...) {
      error_ = std::current_exception();
      return false;
    }
  }
  CString Failure() const override { return error_ ? CString(L"it cannot be read") : CString(); }

 private:
  BlockSource& source_;
  std::string what_ = "pulses";
  std::optional<Progress> progress_;
  std::exception_ptr error_;
};

}  // namespace umlauf::tool
