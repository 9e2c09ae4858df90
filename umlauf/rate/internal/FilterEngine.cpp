// The stream's filter and its straight lines: a history of frames, one channel behind the other, through
// which runs of taps go.

#include <algorithm>
#include <cstring>
#include <new>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rate/internal/StreamEngine.h"
#include "umlauf/rate/internal/StreamKernel.h"
#include "umlauf/rate/internal/TapRun.h"

namespace umlauf::rate {
namespace {

class FilterEngine : public StreamEngine {
 public:
  FilterEngine(const StreamFormat& format, const RatioGrid& grid, bool holdsLast)
      : channels_(format.channels), gain_(format.gain), grid_(grid), holdsLast_(holdsLast) {}

  bool MakeFilter(const CDownsamplingInfo& table, double ratio) {
    return kernel_.MakeFilter(table, ratio, grid_) && Allocate();
  }
  bool MakeLinear() { return kernel_.MakeLinear() && Allocate(); }

  std::uint64_t Process(float* out, const float* in, std::uint64_t nIn) override {
    std::uint64_t written = 0;
    while (nIn > 0) {
      const std::uint64_t count = MakeRoom(nIn);
      for (unsigned c = 0; c < channels_; ++c) {
        QVL::Interleave(Plane(c) + held_, 1, in + c, channels_, count);
      }
      held_ += count;
      in += count * channels_;
      nIn -= count;
      written += Run(out + written * channels_);
    }
    return written;
  }

  std::uint64_t Flush(float* out) override {
    if (origin_ + static_cast<std::int64_t>(held_) == 0) return 0;  // no signal
    std::uint64_t written = 0;
    for (std::uint64_t left = Delay(); left > 0;) {
      const std::uint64_t count = MakeRoom(left);
      for (unsigned c = 0; c < channels_; ++c) {
        float* end = Plane(c) + held_;
        std::fill_n(end, count, holdsLast_ ? end[-1] : 0.0f);
      }
      held_ += count;
      left -= count;
      written += Run(out + written * channels_);
    }
    return written;
  }

  void Restart() override {
    next_ = {};
    origin_ = kernel_.First();
    held_ = static_cast<std::uint64_t>(-origin_);
    for (unsigned c = 0; c < channels_; ++c) std::fill_n(Plane(c), held_, 0.0f);
  }

  std::uint64_t Delay() const override { return static_cast<std::uint64_t>(kernel_.Last()); }

 private:
  bool Allocate() {
    const std::uint64_t taps = kernel_.Rows().taps;
    capacity_ = 4096 + 5 * taps;  // moving the last taps to the front is rare
    if (capacity_ > UINT64_MAX / channels_ || !history_.alloc(capacity_ * channels_)) return false;
    Restart();
    return true;
  }

  float* Plane(unsigned channel) { return history_.data() + channel * capacity_; }

  /// Frames for which there is room, at most `wanted` and at least 1: drops those that no output needs any
  /// more when the history is full.
  std::uint64_t MakeRoom(std::uint64_t wanted) {
    if (held_ == capacity_) {
      const auto first = static_cast<std::int64_t>(next_.whole) + kernel_.First();
      const std::uint64_t dropped = std::min(held_, static_cast<std::uint64_t>(first - origin_));
      held_ -= dropped;
      origin_ += static_cast<std::int64_t>(dropped);
      for (unsigned c = 0; c < channels_; ++c) {
        std::memmove(Plane(c), Plane(c) + dropped, held_ * sizeof(float));
      }
    }
    return std::min(wanted, capacity_ - held_);
  }

  /// Writes all outputs whose samples are there.
  std::uint64_t Run(float* out) {
    const std::int64_t end = origin_ + static_cast<std::int64_t>(held_) - kernel_.Last();
    const GridPosition first = next_;
    const std::uint64_t count = grid_.Pass(next_, static_cast<std::uint64_t>(std::max<std::int64_t>(end, 0)));
    RunTaps(
        out, channels_, {grid_, first, count, kernel_.Period()}, {history_.data(), capacity_, channels_},
        [&](const GridPosition& position) { return kernel_.At(position, origin_); },
        [&](auto... run) {
          kernel_.Mixed() ? vekta::MixedDotProducts(run..., kernel_.Rows(), gain_)
                          : vekta::DotProducts(run..., kernel_.Rows(), gain_);
        });
    return count;
  }

  unsigned channels_;
  float gain_;
  RatioGrid grid_;
  GridPosition next_;  // of the next output
  bool holdsLast_;
  StreamKernel kernel_;
  CAlignedMem<float> history_;
  std::uint64_t capacity_ = 0, held_ = 0;
  std::int64_t origin_ = 0;  // place in the signal of the first frame in the history
};

}  // namespace

std::unique_ptr<StreamEngine> MakeFilterEngine(const StreamFormat& format, const CDownsamplingInfo& kernel) {
  const RatioGrid grid(format.ratio, StreamKernel::MaxDenominator(format.ratio));
  std::unique_ptr<FilterEngine> engine(new (std::nothrow) FilterEngine(format, grid, false));
  if (!engine || !engine->MakeFilter(kernel, format.ratio)) return nullptr;
  return engine;
}

std::unique_ptr<StreamEngine> MakeLinearEngine(const StreamFormat& format) {
  std::unique_ptr<FilterEngine> engine(new (std::nothrow) FilterEngine(format, {format.ratio, 0}, true));
  if (!engine || !engine->MakeLinear()) return nullptr;
  return engine;
}

}  // namespace umlauf::rate
