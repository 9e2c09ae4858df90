#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/rate/internal/StreamKernel.h"
#include "umlauf/rate/internal/TapRun.h"

namespace umlauf::rate {

/// The frames that the next outputs of a kernel need, one channel behind the other, through which runs of
/// taps go.
class TapHistory {
 public:
  TapHistory() = default;
  TapHistory(const RatioGrid& grid, unsigned channels, float gain)
      : channels_(channels), gain_(gain), grid_(grid) {}

  StreamKernel& Kernel() { return kernel_; }
  const StreamKernel& Kernel() const { return kernel_; }
  const RatioGrid& Grid() const { return grid_; }

  /// For the kernel that has been made; a start follows. False without memory.
  bool Allocate() {
    cycle_ = kernel_.Mixed() ? 0 : CycleOf(grid_, kernel_.Period(), kernel_.Rows().taps);
    capacity_ = 4096 + 5 * kernel_.Rows().taps;  // moving the last taps to the front is rare
    return capacity_ <= UINT64_MAX / channels_ && history_.alloc(capacity_ * channels_);
  }

  /// Starts with an output in the first sample of the signal, and `zeros` frames of 0 from that sample on; in
  /// front of it there is 0 as well.
  void Start(const GridPosition& first, std::uint64_t zeros) {
    next_ = first;
    origin_ = kernel_.First();
    held_ = zeros + static_cast<std::uint64_t>(-origin_);
    for (unsigned c = 0; c < channels_; ++c) std::fill_n(Plane(c), held_, 0.0f);
  }

  /// Frames for which there is room, at most `wanted`, of which there is room for 2048 at least: drops those
  /// that no output needs any more when the history is nearly full.
  std::uint64_t MakeRoom(std::uint64_t wanted) {
    if (capacity_ - held_ < std::min<std::uint64_t>(wanted, 2048)) {
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
  /// Where the next frames of a channel go; the last one lies in front.
  float* End(unsigned channel) { return Plane(channel) + held_; }

  /// Takes the frames that were put there.
  void Take(std::uint64_t frames) { held_ += frames; }

  /// Writes all outputs whose samples are there, as frames; returns their number.
  std::uint64_t Run(float* out) {
    const std::int64_t end = origin_ + static_cast<std::int64_t>(held_) - kernel_.Last();
    const GridPosition first = next_;
    const std::uint64_t count = grid_.Pass(next_, static_cast<std::uint64_t>(std::max<std::int64_t>(end, 0)));
    const TapRun run{grid_, first, count, kernel_.Period()};
    const vekta::TapPlanes planes{history_.data(), capacity_, channels_};
    const StreamKernel::Placer windowAt = kernel_.WindowsFrom(origin_);
    if (cycle_ != 0) {
      RunCycle(out, channels_, run, cycle_, planes, windowAt, kernel_.Rows(), gain_);
      return count;
    }
    RunTaps(out, channels_, run, planes, windowAt, [&](auto... args) {
      kernel_.Mixed() ? vekta::MixedDotProducts(args..., kernel_.Rows(), gain_)
                      : vekta::DotProducts(args..., kernel_.Rows(), gain_);
    });
    return count;
  }

 private:
  float* Plane(unsigned channel) { return history_.data() + channel * capacity_; }

  unsigned channels_ = 1;
  float gain_ = 1.0f;
  RatioGrid grid_;
  GridPosition next_;  // of the next output
  StreamKernel kernel_;
  std::size_t cycle_ = 0;  // samples after which outputs have the same row again, 0 where that is not so
  CAlignedMem<float> history_;
  std::uint64_t capacity_ = 0, held_ = 0;
  std::int64_t origin_ = 0;  // place in the signal of the first frame in the history
};

}  // namespace umlauf::rate
