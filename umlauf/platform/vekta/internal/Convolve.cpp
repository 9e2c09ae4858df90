// Filters over samples that lie side by side, and over those that come to lie so when every n-th is taken.

#include <algorithm>
#include <array>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/internal/FilterKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/internal/Convolve.cpp"
#include "hwy/foreach_target.h"
// Follows the target.
#include "hwy/cache_control.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace umlauf::vekta {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Samples = hn::CappedTag<float, 8>;

/// Products after which a sum is added to a longer one, and number of those after which that is added to the
/// total, so that sums of many products lose few digits.
constexpr size_t kShortSum = 16, kLongSum = 8;

/// Whether there are registers for samples beside the sums.
constexpr bool kSlides = HWY_ARCH_ARM_A64 || (HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3);

/// Eight vectors of outputs side by side. Of the taps those go together that lie a vector apart: the samples
/// that one of them meets with an output vector the next one meets with the vector before, so each step loads
/// one vector and one tap for eight products, which is what the multipliers take. With few registers samples
/// are loaded for each product; the sums are the same.
HWY_INLINE void ConvolveEight(float* out, size_t at, const FilterSpan* spans, size_t spanCount, float scale) {
  const Samples d;
  const size_t N = hn::Lanes(d);
  auto t0 = hn::Zero(d), t1 = t0, t2 = t0, t3 = t0, t4 = t0, t5 = t0, t6 = t0, t7 = t0;
  auto s0 = t0, s1 = t0, s2 = t0, s3 = t0, s4 = t0, s5 = t0, s6 = t0, s7 = t0;
  auto u0 = t0, u1 = t0, u2 = t0, u3 = t0, u4 = t0, u5 = t0, u6 = t0, u7 = t0;
  size_t products = 0, kept = 0;
  const auto carry = [&]() HWY_ATTR {
    t0 = hn::Add(t0, u0), t1 = hn::Add(t1, u1), t2 = hn::Add(t2, u2), t3 = hn::Add(t3, u3);
    t4 = hn::Add(t4, u4), t5 = hn::Add(t5, u5), t6 = hn::Add(t6, u6), t7 = hn::Add(t7, u7);
    u0 = u1 = u2 = u3 = u4 = u5 = u6 = u7 = hn::Zero(d);
    kept = 0;
  };
  const auto keep = [&]() HWY_ATTR {
    u0 = hn::Add(u0, s0), u1 = hn::Add(u1, s1), u2 = hn::Add(u2, s2), u3 = hn::Add(u3, s3);
    u4 = hn::Add(u4, s4), u5 = hn::Add(u5, s5), u6 = hn::Add(u6, s6), u7 = hn::Add(u7, s7);
    s0 = s1 = s2 = s3 = s4 = s5 = s6 = s7 = hn::Zero(d);
    products = 0;
    if (++kept == kLongSum) carry();
  };
  for (const FilterSpan* span = spans; span != spans + spanCount; ++span) {
    const size_t count = span->count;
    for (size_t first = 0; first < std::min(N, count); ++first) {
      const float* x = span->x + at + first;
      if constexpr (kSlides) {
        auto x0 = hn::LoadU(d, x), x1 = hn::LoadU(d, x + N), x2 = hn::LoadU(d, x + 2 * N);
        auto x3 = hn::LoadU(d, x + 3 * N), x4 = hn::LoadU(d, x + 4 * N), x5 = hn::LoadU(d, x + 5 * N);
        auto x6 = hn::LoadU(d, x + 6 * N);
        for (size_t i = first; i < count; i += N, x += N) {
          const auto x7 = hn::LoadU(d, x + 7 * N), tap = hn::Set(d, span->taps[i]);
          s0 = hn::MulAdd(tap, x0, s0), s1 = hn::MulAdd(tap, x1, s1);
          s2 = hn::MulAdd(tap, x2, s2), s3 = hn::MulAdd(tap, x3, s3);
          s4 = hn::MulAdd(tap, x4, s4), s5 = hn::MulAdd(tap, x5, s5);
          s6 = hn::MulAdd(tap, x6, s6), s7 = hn::MulAdd(tap, x7, s7);
          x0 = x1, x1 = x2, x2 = x3, x3 = x4, x4 = x5, x5 = x6, x6 = x7;
        }
      } else {
        for (size_t i = first; i < count; i += N, x += N) {
          const auto tap = hn::Set(d, span->taps[i]);
          const auto add = [&](size_t v, auto& s)
                               HWY_ATTR { s = hn::MulAdd(tap, hn::LoadU(d, x + v * N), s); };
          add(0, s0), add(1, s1), add(2, s2), add(3, s3), add(4, s4), add(5, s5), add(6, s6), add(7, s7);
        }
      }
      products += (count - first + N - 1) / N;
      if (products >= kShortSum) keep();
    }
  }
  keep();
  carry();
  const auto factor = hn::Set(d, scale);
  const auto store = [&](size_t i, auto t) HWY_ATTR { hn::StoreU(hn::Mul(t, factor), d, out + i * N); };
  store(0, t0), store(1, t1), store(2, t2), store(3, t3), store(4, t4), store(5, t5), store(6, t6),
      store(7, t7);
}

void ConvolveBlocks(float* out, size_t n, const FilterSpan* spans, size_t spanCount, float scale) {
  const size_t together = 8 * hn::Lanes(Samples());
  static_assert(kConvolved % (8 * hn::MaxLanes(Samples())) == 0);
  for (size_t i = 0; i < (n + kConvolved - 1) / kConvolved * kConvolved; i += together) {
    ConvolveEight(out + i, i, spans, spanCount, scale);
  }
}

/// One output of a row over samples as they lie, with the sums of `ConvolveEight` for taps `distance` apart.
float OneProduct(const float* x, const float* row, size_t taps, size_t distance, float scale) {
  const hn::CappedTag<float, 1> d;
  const size_t N = hn::Lanes(Samples());
  auto total = hn::Zero(d), longSum = total, sum = total;
  size_t products = 0, kept = 0;
  const auto carry = [&]() HWY_ATTR {
    total = hn::Add(total, longSum);
    longSum = hn::Zero(d);
    kept = 0;
  };
  const auto keep = [&]() HWY_ATTR {
    longSum = hn::Add(longSum, sum);
    sum = hn::Zero(d);
    products = 0;
    if (++kept == kLongSum) carry();
  };
  for (size_t start = 0; start < std::min(distance, taps); ++start) {
    const size_t count = (taps - start + distance - 1) / distance;
    for (size_t first = 0; first < std::min(N, count); ++first) {
      for (size_t i = first; i < count; i += N) {
        const size_t at = start + i * distance;
        sum = hn::MulAdd(hn::Set(d, row[at]), hn::Set(d, x[at]), sum);
      }
      products += (count - first + N - 1) / N;
      if (products >= kShortSum) keep();
    }
  }
  keep();
  carry();
  return hn::GetLane(hn::Mul(total, hn::Set(d, scale)));
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace umlauf::vekta
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace umlauf::vekta {

HWY_EXPORT(ConvolveBlocks);
HWY_EXPORT(OneProduct);

void Convolve(float* out, std::size_t n, const FilterSpan* spans, std::size_t spanCount, float scale) {
  HWY_DYNAMIC_DISPATCH(ConvolveBlocks)(out, n, spans, spanCount, scale);
}

namespace {

/// Every distance-th sample side by side: sample i comes to lie in plane i % distance, at i / distance.
class SplitSamples {
 public:
  explicit SplitSamples(std::size_t distance) : distance_(distance), room_(kStored / distance) {}

  /// Samples of one plane that there is room for, with those that a convolution may read beyond.
  std::size_t Room() const { return room_; }
  void Split(const float* x, std::size_t n) {
    std::array<float*, kLongestDistance> planes;
    for (std::size_t p = 0; p < distance_; ++p) planes[p] = store_.data() + p * room_;
    const std::size_t frames = n / distance_;
    QVL::Deinterleave(planes.data(), x, distance_, frames);
    for (std::size_t p = 0; p < distance_; ++p) {
      const std::size_t more = p < n % distance_ ? 1 : 0;
      if (more != 0) planes[p][frames] = x[frames * distance_ + p];
      std::fill_n(planes[p] + frames + more, kConvolved + 1, 0.0f);
    }
  }
  const float* From(std::size_t i) const { return store_.data() + i % distance_ * room_ + i / distance_; }

 private:
  static constexpr std::size_t kStored = 8192;

  std::size_t distance_, room_;
  alignas(64) std::array<float, kStored> store_;
};

/// A row whose taps of one plane lie side by side, over split samples.
class SplitRow {
 public:
  SplitRow(const float* row, std::size_t taps, std::size_t distance) : spanCount_(std::min(taps, distance)) {
    float* to = taps_.data();
    for (std::size_t start = 0; start < spanCount_; ++start) {
      spans_[start] = {nullptr, to, (taps - start + distance - 1) / distance};
      for (std::size_t i = start; i < taps; i += distance) *to++ = row[i];
    }
  }
  /// Outputs from sample `first` on, one behind the other.
  void Outputs(float* out, std::size_t n, const SplitSamples& samples, std::size_t first, float scale) {
    for (std::size_t start = 0; start < spanCount_; ++start) spans_[start].x = samples.From(first + start);
    Convolve(out, n, spans_.data(), spanCount_, scale);
  }

 private:
  std::size_t spanCount_;
  std::array<FilterSpan, kLongestDistance> spans_;
  std::array<float, kMostCycledTaps> taps_;
};

/// The outputs of some turns of a cycle in one plane, in order.
class CycleRun {
 public:
  CycleRun(const TapCycle& cycle, const TapRows& rows, float scale)
      : cycle_(cycle), rows_(rows), scale_(scale), split_(cycle.distance) {
    const std::size_t room = std::min(split_.Room() - Reach(), kResults / cycle.period);
    most_ = room / kConvolved * kConvolved;
    for (std::size_t b = 0; b < cycle.period; ++b) results_[b] = store_.data() + b * most_;
  }

  /// Turns that can go together.
  std::size_t Most() const { return most_; }
  /// n outputs; x is the first sample of the first one.
  void Outputs(float* out, std::size_t n, const float* x) {
    const std::size_t turns = (n + cycle_.period - 1) / cycle_.period, whole = n / cycle_.period;
    if (turns < kFew) {
      for (std::size_t i = 0; i < n; ++i) {
        const std::size_t b = i % cycle_.period, at = Offset(b) + i / cycle_.period * cycle_.distance;
        out[i] = HWY_DYNAMIC_DISPATCH(OneProduct)(x + at, Row(b), rows_.taps, cycle_.distance, scale_);
      }
      return;
    }
    const auto turnsOf = [&](std::size_t b) { return whole + (b < n - whole * cycle_.period ? 1 : 0); };
    std::size_t used = 0;
    for (std::size_t b = 0; b < cycle_.period; ++b) {
      used = std::max(used, Offset(b) + (turnsOf(b) - 1) * cycle_.distance + rows_.taps);
    }
    split_.Split(x, used);
    FetchSamples(x + used, used);  // what mostly comes next
    for (std::size_t b = 0; b < cycle_.period; ++b) {
      SplitRow row(Row(b), rows_.taps, cycle_.distance);
      row.Outputs(results_[b], turnsOf(b), split_, Offset(b), scale_);
    }
    QVL::Interleave(out, results_.data(), cycle_.period, whole);
    for (std::size_t i = whole * cycle_.period; i < n; ++i) out[i] = results_[i % cycle_.period][whole];
  }

 private:
  static constexpr std::size_t kFew = 12;  // turns that are not worth the splitting
  static constexpr std::size_t kResults = 2048;

  std::size_t Offset(std::size_t b) const {
    return static_cast<std::size_t>(cycle_.windows[b].in - cycle_.windows[0].in);
  }
  const float* Row(std::size_t b) const { return rows_.data + cycle_.windows[b].row * rows_.stride; }
  /// Samples of a plane beyond one for each turn.
  std::size_t Reach() const {
    return (Offset(cycle_.period - 1) + rows_.taps) / cycle_.distance + 2 + kConvolved;
  }

  const TapCycle& cycle_;
  const TapRows& rows_;
  float scale_;
  SplitSamples split_;
  std::size_t most_;
  std::array<float*, kLongestCycle> results_;
  alignas(64) std::array<float, kResults> store_;
};

}  // namespace

void CycledDotProducts(float* out, std::size_t outStride, const TapCycle& cycle, std::size_t n,
                       const TapPlanes& planes, const TapRows& rows, float scale) {
  if (n == 0) return;
  CycleRun run(cycle, rows, scale);
  std::array<float, 2048> results;
  const std::size_t most = run.Most() * cycle.period;
  for (std::size_t done = 0; done < n; done += most) {
    const std::size_t outputs = std::min(most, n - done);
    const auto first =
        static_cast<std::ptrdiff_t>(done / cycle.period * cycle.distance) + cycle.windows[0].in;
    for (unsigned c = 0; c < planes.channels; ++c) {
      const float* const x = planes.x + c * planes.stride + first;
      float* const to = out + done * outStride + c;
      run.Outputs(outStride == 1 ? to : results.data(), outputs, x);
      if (outStride != 1) QVL::Interleave(to, outStride, results.data(), 1, outputs);
    }
  }
}

void FetchSamples(const float* x, std::size_t n) {
  constexpr std::size_t line = 16, most = 8192;
  for (std::size_t i = 0; i < std::min(n, most); i += line) hwy::Prefetch(x + i);
}

}  // namespace umlauf::vekta
#endif
