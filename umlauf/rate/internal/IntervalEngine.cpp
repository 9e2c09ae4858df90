// The stream's reductions of output intervals.

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rate/internal/RatioGrid.h"
#include "umlauf/rate/internal/StreamEngine.h"

namespace umlauf::rate {
namespace {

using Reduction = CDownsamplingStream::Reduction;

/// Reduces an interval in pieces of at most kPiece whole samples, counted from its first one, each of them
/// when it is complete. So the order of all operations depends on the signal alone, not on its blocks. Single
/// samples that a border cuts stand between the pieces.
class IntervalEngine : public StreamEngine {
 public:
  IntervalEngine(const StreamFormat& format, Reduction reduction)
      : channels_(format.channels),
        gain_(format.gain),
        ratio_(format.ratio),
        grid_(format.ratio, kMaxDenominator),
        reduction_(reduction) {}

  bool Allocate() {
    if (!piece_.alloc(std::uint64_t{kPiece} * channels_) || !sum_.alloc(channels_) ||
        !min_.alloc(channels_) || !max_.alloc(channels_)) {
      return false;
    }
    Restart();
    return true;
  }

  std::uint64_t Process(float* out, const float* in, std::uint64_t nIn) override {
    std::uint64_t written = 0;
    const float* const end = in + nIn * channels_;
    while (in != end) {
      if (taken_ == end_.whole) {
        out = TakeCut(out, in, written);
        in += channels_;
        continue;
      }
      const std::uint64_t left = static_cast<std::uint64_t>(end - in) / channels_;
      const std::uint64_t wanted = std::min<std::uint64_t>(kPiece, end_.whole - taken_);
      const std::uint64_t count = std::min(left, wanted - held_);
      if (count == wanted) {
        Take(in, wanted);
      } else {
        std::copy_n(in, count * channels_, piece_.data() + held_ * channels_);
        held_ += count;
        if (held_ == wanted) Take(piece_.data(), std::exchange(held_, 0));
      }
      in += count * channels_;
      if (taken_ == end_.whole && end_.part == 0) out = Emit(out, ratio_, written);
    }
    return written;
  }

  std::uint64_t Flush(float* out) override {
    if (held_ > 0) Take(piece_.data(), held_);
    std::uint64_t written = 0;
    const double covered = static_cast<double>(taken_ - begin_.whole) - grid_.Fraction(begin_);
    if (taken_ > begin_.whole) Emit(out, covered, written);
    return written;
  }

  void Restart() override {
    begin_ = {};
    end_ = grid_.Step();
    taken_ = held_ = 0;
    Clear();
  }

  std::uint64_t Delay() const override { return grid_.Step().whole + (grid_.Step().part != 0 ? 1 : 0); }

 private:
  static constexpr std::uint32_t kPiece = 1024;
  static constexpr std::uint32_t kMaxDenominator = 1 << 22;  // of borders that fall on whole samples again

  static constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  static constexpr float kInfinity = std::numeric_limits<float>::infinity();

  bool Sums() const { return reduction_ == Reduction::Mean || reduction_ == Reduction::Sum; }

  void Take(const float* frames, std::uint64_t n) {
    taken_ += n;
    if (!Sums()) return TakeRange(frames, n);
    for (unsigned c = 0; c < channels_; ++c) {
      sum_[c] += static_cast<double>(QVL::VectorSum(frames + c, n, channels_));
    }
  }
  void TakeRange(const float* frames, std::uint64_t n) {
    QVL::ExtendFrameMinMax(frames, n, channels_, min_.data(), max_.data());
  }
  void Clear() {
    std::fill(sum_.begin(), sum_.end(), 0.0);
    std::fill(min_.begin(), min_.end(), kInfinity);
    std::fill(max_.begin(), max_.end(), -kInfinity);
  }

  /// Takes the frame that the end of the interval cuts, for this interval and the next.
  float* TakeCut(float* out, const float* frame, std::uint64_t& written) {
    const double share = grid_.Fraction(end_);
    const auto takeShare = [&](double part) {
      if (!Sums()) return TakeRange(frame, 1);
      for (unsigned c = 0; c < channels_; ++c) sum_[c] += part * static_cast<double>(frame[c]);
    };
    takeShare(share);
    out = Emit(out, ratio_, written);
    takeShare(1.0 - share);
    ++taken_;
    return out;
  }

  /// Writes the interval's results, whose samples cover `length`, and goes to the next interval.
  float* Emit(float* out, double length, std::uint64_t& written) {
    const auto frame = [&](auto result) {
      for (unsigned c = 0; c < channels_; ++c) *out++ = static_cast<float>(result(c)) * gain_;
      ++written;
    };
    const auto nothing = [&](unsigned c) { return !(min_[c] <= max_[c]); };  // but NaN
    switch (reduction_) {
      case Reduction::Mean:
        frame([&](unsigned c) { return sum_[c] / length; });
        break;
      case Reduction::Sum:
        frame([&](unsigned c) { return sum_[c]; });
        break;
      case Reduction::MinMax:
        frame([&](unsigned c) { return nothing(c) ? kNaN : min_[c]; });
        [[fallthrough]];
      default:
        frame([&](unsigned c) { return nothing(c) ? kNaN : max_[c]; });
    }
    Clear();
    begin_ = end_;
    grid_.Advance(end_);
    return out;
  }

  unsigned channels_;
  float gain_;
  double ratio_;
  RatioGrid grid_;
  GridPosition begin_, end_;  // the current interval
  Reduction reduction_;
  std::uint64_t taken_ = 0;  // samples of the signal that are reduced
  std::uint64_t held_ = 0;   // samples behind them in the piece
  CAlignedMem<float> piece_;
  CAlignedMem<double> sum_;       // what the interval has come to, per channel
  CAlignedMem<float> min_, max_;  // likewise
};

}  // namespace

std::unique_ptr<StreamEngine> MakeIntervalEngine(const StreamFormat& format, Reduction reduction) {
  std::unique_ptr<IntervalEngine> engine(new (std::nothrow) IntervalEngine(format, reduction));
  if (!engine || !engine->Allocate()) return nullptr;
  return engine;
}

}  // namespace umlauf::rate
