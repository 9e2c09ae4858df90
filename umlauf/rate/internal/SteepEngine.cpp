// The stream's steep filter, in steps that each do what is cheap at their rate:
//
//  1. Half-bands lower the rate by two as long as it is at least four times that of the outputs. Far above
//     the band that is kept, they need few taps.
//  2. A short low-pass, the bridge, brings it to exactly twice that of the outputs. It suppresses what would
//     come to lie in the band that is kept, and nothing else. A ratio that is a power of two does without it.
//  3. A long half-band makes the edge.
//
// All are centred on their outputs, so there is no delay between the signals.

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rate/internal/HalfBand.h"
#include "umlauf/rate/internal/StreamEngine.h"
#include "umlauf/rate/internal/TapHistory.h"

namespace umlauf::rate {
namespace {

constexpr std::uint64_t kMost = TapHistory::kRoom;  // frames that go through the steps at once
constexpr unsigned kMaxHalvings = 40;
constexpr std::uint32_t kAnyFraction = 1 << 22;
constexpr double kEdge = 0.45, kStop = 0.55;  // of what is kept; relative to the rate of the outputs
constexpr double kEdgeDecibels = 124.0;
constexpr double kHalvingDecibels = 127.0;  // there are several of them

class SteepEngine : public StreamEngine {
 public:
  explicit SteepEngine(const StreamFormat& format)
      : channels_(format.channels), ratio_(format.ratio), grid_(format.ratio, kAnyFraction) {}

  bool Make(float gain) {
    double rest = ratio_;
    std::uint64_t most = kMost;
    for (; rest >= 4.0; rest /= 2.0) {
      if (!halvings_[count_].Make(kHalvingDecibels, 0.5 - 2.0 * kStop / rest, 1.0f, channels_, most))
        return false;
      ++count_;
      most = most / 2 + kSlack;
    }
    hasBridge_ = rest != 2.0;
    if (hasBridge_) {
      bridge_ =
          TapHistory(grid_.Shortened(count_ + 1, StreamKernel::MaxShortDenominator(rest)), channels_, 1.0f);
      if (!bridge_.Kernel().MakeShort(rest, bridge_.Grid()) || !bridge_.Allocate()) return false;
      most = 2 * most + kSlack;
    }
    room_ = std::max(most, kMost) + vekta::kConvolved;
    work_.alloc(room_ * channels_);
    if (work_.empty() || !last_.Make(kEdgeDecibels, (kStop - kEdge) / 2.0, gain, channels_, most))
      return false;
    Restart();
    return true;
  }

  std::uint64_t Process(float* out, const float* in, std::uint64_t nIn) override {
    std::uint64_t written = 0;
    while (nIn > 0) {
      const std::uint64_t n = std::min(nIn, kMost);
      Take(in, n);
      frames_ += n;
      due_ += grid_.Pass(end_, frames_);
      vekta::FetchSamples(in + n * channels_, std::min(nIn - n, kMost) * channels_);
      written += Run(0, out + written * channels_, kMost);
      in += n * channels_;
      nIn -= n;
    }
    due_ -= written;
    return written;
  }

  /// Behind its last sample each step gets 0 until it gives nothing else, then the next one in its place.
  std::uint64_t Flush(float* out) override {
    std::uint64_t written = 0;
    for (unsigned step = 0; due_ > 0; step = std::min(step + 1, count_ + 1)) {
      constexpr std::array<float, kSlack> zeros{};
      for (unsigned c = 0; c < channels_; ++c) Append(step, c, zeros.data(), zeros.size());
      Advance(step, zeros.size());
      const std::uint64_t n = Run(step, out + written * channels_, due_);
      due_ -= n;
      written += n;
    }
    return written;
  }

  void Restart() override {
    std::int64_t reached = 0;  // first input of a step that the signal reaches; it starts there
    for (unsigned i = 0; i < count_; ++i) {
      const std::int64_t output = halvings_[i].FirstReached(reached);
      halvings_[i].Start(output, reached);
      reached = output;
    }
    if (hasBridge_) {
      const std::int64_t output = last_.First(0) - 1;
      std::uint64_t before = 0;
      const GridPosition first = bridge_.Grid().InFront(static_cast<std::uint64_t>(-output), before);
      bridge_.Start(first, before - static_cast<std::uint64_t>(-reached));
      reached = output;
    }
    last_.Start(0, reached);
    end_ = {};
    frames_ = due_ = 0;
  }

  std::uint64_t Delay() const override {
    double delay = 0.0, inputs = 1.0;
    for (unsigned i = 0; i < count_; ++i, inputs *= 2.0) {
      delay += static_cast<double>(halvings_[i].Last(0)) * inputs;
    }
    if (hasBridge_) delay += static_cast<double>(bridge_.Kernel().Last()) * inputs;
    return numeric::trunc_sat<std::uint64_t>(
        std::ceil(delay + static_cast<double>(last_.Last(0)) * ratio_ / 2.0));
  }

 private:
  /// More than any step needs behind its last sample.
  static constexpr std::uint64_t kSlack = 192;
  static constexpr unsigned kSplit = 16;

  // Steps count from the first half-band on; number count_ is the bridge, and what follows, the last one.

  bool IsBridge(unsigned step) const { return step == count_ && hasBridge_; }

  void Append(unsigned step, unsigned channel, const float* in, std::uint64_t n) {
    if (IsBridge(step)) {
      if (channel == 0) bridge_.MakeRoom(n);
      std::copy_n(in, n, bridge_.End(channel));
    } else {
      (step < count_ ? halvings_[step] : last_).Append(channel, in, 1, n);
    }
  }
  /// Gives frames to the first step.
  void Take(const float* in, std::uint64_t n) {
    if (IsBridge(0)) {
      bridge_.MakeRoom(n);
      return bridge_.Put(in, n);
    }
    HalfBand& first = count_ > 0 ? halvings_[0] : last_;
    first.AppendFrames(in, n);
    first.Advance(n);
  }
  void Advance(unsigned step, std::uint64_t n) {
    if (IsBridge(step)) {
      bridge_.Take(n);
    } else {
      (step < count_ ? halvings_[step] : last_).Advance(n);
    }
  }

  /// Computes what is ready from a step on; writes `most` frames at most and returns their number.
  std::uint64_t Run(unsigned step, float* out, std::uint64_t most) {
    for (; step < count_; ++step) {
      const std::uint64_t n = halvings_[step].Ready();
      for (unsigned c = 0; c < channels_; ++c) {
        halvings_[step].Compute(c, work_.data(), n);
        Append(step + 1, c, work_.data(), n);
      }
      halvings_[step].Drop(n);
      Advance(step + 1, n);
    }
    if (IsBridge(step)) last_.Advance(RunBridge());
    const std::uint64_t n = std::min(last_.Ready(), most);
    channels_ == 1 ? WriteOne(out, n) : WriteFrames(out, n);
    last_.Drop(n);
    return n;
  }

  /// Gives the outputs of the bridge that are ready to the last step, and returns their number.
  std::uint64_t RunBridge() {
    float* const place = work_.data();
    if (bridge_.InTurn())
      return bridge_.RunPlanes(place,
                               [&](unsigned c, float* in, std::uint64_t n) { last_.Append(c, in, 1, n); });
    const std::uint64_t n = bridge_.Run(place);
    last_.AppendFrames(place, n);
    return n;
  }

  /// Outputs of the last step for one channel: whole groups go to their place at once.
  void WriteOne(float* out, std::uint64_t n) {
    const std::uint64_t direct = n / vekta::kConvolved * vekta::kConvolved;
    if (direct > 0) last_.Compute(0, out, direct);
    if (direct == n) return;
    last_.Compute(0, work_.data(), n - direct, direct);
    std::copy_n(work_.data(), n - direct, out + direct);
  }
  void WriteFrames(float* out, std::uint64_t n) {
    const bool join = channels_ <= kSplit;
    std::array<const float*, kSplit> planes;
    for (unsigned c = 0; c < channels_ && n > 0; ++c) {
      float* const place = work_.data() + (join ? c * room_ : 0);
      last_.Compute(c, place, n);
      join ? void(planes[c] = place) : QVL::Interleave(out + c, channels_, place, 1, n);
    }
    if (join) QVL::Interleave(out, planes.data(), channels_, n);
  }

  unsigned channels_, count_ = 0;
  double ratio_;
  RatioGrid grid_;
  std::array<HalfBand, kMaxHalvings> halvings_;
  GridPosition end_;                    // of the next output that is not due
  std::uint64_t frames_ = 0, due_ = 0;  // that came in; that are due but not written
  bool hasBridge_ = false;
  TapHistory bridge_;
  HalfBand last_;
  CAlignedMem<float> work_;
  std::uint64_t room_ = 0;  // for the outputs of a step and channel
};

}  // namespace

std::unique_ptr<StreamEngine> MakeSteepEngine(const StreamFormat& format) {
  std::unique_ptr<SteepEngine> engine(new (std::nothrow) SteepEngine(format));
  if (!engine || !engine->Make(format.gain)) return nullptr;
  return engine;
}

}  // namespace umlauf::rate
