#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rate/internal/PlacedRun.h"
#include "umlauf/rate/internal/StreamKernel.h"
#include "umlauf/rate/internal/TapRun.h"

namespace umlauf::rate {

/// The frames that the next outputs of a kernel need, one channel behind the other, through which runs of
/// taps go.
class TapHistory {
 public:
  static constexpr std::uint64_t kRoom = 2048;

  TapHistory() = default;
  TapHistory(const RatioGrid& grid, unsigned channels, float gain)
      : channels_(channels), gain_(gain), grid_(grid) {}

  StreamKernel& Kernel() { return kernel_; }
  const StreamKernel& Kernel() const { return kernel_; }
  const RatioGrid& Grid() const { return grid_; }

  /// For the kernel that has been made; a start follows. False without memory.
  bool Allocate() {
    const vekta::TapRows rows = kernel_.Rows();
    cycle_ = rows.mix != vekta::TapMix::None ? 0 : CycleOf(grid_, kernel_.Period(), rows.taps);
    capacity_ = 2 * kRoom + 5 * rows.taps;  // moving the last taps to the front is rare
    placed_ = cycle_ == 0 && !(kernel_.Period() > 0 && rows.taps > kFewTaps);
    if (placed_ && !run_.Make(grid_, kernel_)) return false;
    return capacity_ <= UINT64_MAX / channels_ && history_.alloc(capacity_ * channels_ + vekta::kReadBehind);
  }

  /// Starts with an output in the first sample of the signal, and `zeros` frames of 0 from that sample on; in
  /// front of it there is 0 as well.
  void Start(const GridPosition& first, std::uint64_t zeros) {
    next_ = first;
    origin_ = kernel_.First();
    held_ = zeros + static_cast<std::uint64_t>(-origin_);
    for (unsigned c = 0; c < channels_; ++c) std::fill_n(Plane(c), held_, 0.0f);
  }

  /// Frames for which there is room, at most `wanted`, of which there is room for kRoom at least: drops those
  /// that no output needs any more when the history is nearly full.
  std::uint64_t MakeRoom(std::uint64_t wanted) {
    if (capacity_ - held_ < std::min(wanted, kRoom)) {
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
  /// Puts frames there, for which there is room.
  void Put(const float* in, std::uint64_t frames) {
    std::array<float*, kSplit> planes;
    const bool split = channels_ > 2 && channels_ <= kSplit;  // for two it is the slower way
    for (unsigned c = 0; c < channels_; ++c) {
      split ? void(planes[c] = End(c)) : QVL::Interleave(End(c), 1, in + c, channels_, frames);
    }
    if (split) QVL::Deinterleave(planes.data(), in, channels_, frames);
    Take(frames);
  }

  /// Writes all outputs whose samples are there, as frames; returns their number.
  std::uint64_t Run(float* out) {
    const TapRun run = Next();
    const vekta::TapPlanes planes{history_.data(), capacity_, channels_};
    cycle_ != 0 ? RunInTurn(out, channels_, run, planes) : RunEach(out, run, planes);
    return run.count;
  }

  /// Whether channels are computed one after the other, so that `RunPlanes` is the faster way.
  bool InTurn() const { return cycle_ != 0; }
  /// Computes the same outputs channel by channel, in a place of its caller that has room for those of one,
  /// and hands them on by take(channel, outputs, number). For those that are `InTurn`.
  template <class Take>
  std::uint64_t RunPlanes(float* place, Take take) {
    const TapRun run = Next();
    for (unsigned c = 0; c < channels_; ++c) {
      RunInTurn(place, 1, run, {Plane(c), capacity_, 1});
      take(c, place, run.count);
    }
    return run.count;
  }

 private:
  static constexpr unsigned kSplit = 16;       // channels that are split together
  static constexpr std::size_t kFewTaps = 32;  // up to which rows are not worth sharing

  /// The outputs whose samples are there; those behind them come next.
  TapRun Next() {
    const std::int64_t end = origin_ + static_cast<std::int64_t>(held_) - kernel_.Last();
    const GridPosition first = next_;
    const std::uint64_t count = grid_.Pass(next_, static_cast<std::uint64_t>(std::max<std::int64_t>(end, 0)));
    return {grid_, first, count, kernel_.Period()};
  }
  void RunInTurn(float* out, std::size_t stride, const TapRun& run, const vekta::TapPlanes& planes) const {
    RunCycle(out, stride, run, cycle_, planes, kernel_.WindowsFrom(origin_), kernel_.Rows(), gain_);
  }
  void RunEach(float* out, const TapRun& run, const vekta::TapPlanes& planes) const {
    if (placed_) return run_.Write(out, channels_, run, planes, origin_, kernel_, gain_);
    RunTaps(out, channels_, run, planes, kernel_.WindowsFrom(origin_), kernel_.Rows(), gain_);
  }
  float* Plane(unsigned channel) { return history_.data() + channel * capacity_; }

  unsigned channels_ = 1;
  float gain_ = 1.0f;
  RatioGrid grid_;
  GridPosition next_;  // of the next output
  StreamKernel kernel_;
  std::size_t cycle_ = 0;  // samples after which outputs have the same row again, 0 where that is not so
  bool placed_ = false;    // whether outputs go one after the other, by `run_`
  PlacedRun run_;
  CAlignedMem<float> history_;
  std::uint64_t capacity_ = 0, held_ = 0;
  std::int64_t origin_ = 0;  // place in the signal of the first frame in the history
};

}  // namespace umlauf::rate
