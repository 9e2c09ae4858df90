// What pulse detectors do for all samples or all edges of a chunk at once.

#include "umlauf/platform/vekta/internal/PulseKernels.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/internal/PulseKernels.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Strided-inl.h"

HWY_BEFORE_NAMESPACE();
namespace umlauf::vekta {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using QVL::HWY_NAMESPACE::CopyNear;
using QVL::HWY_NAMESPACE::Greater;
using QVL::HWY_NAMESPACE::Lesser;

// A word of threshold bits is a whole number of steps of four vectors.
using Floats = hn::CappedTag<float, 16>;

/// 64 mask bits in the making.
class MaskWord {
 public:
  explicit HWY_INLINE MaskWord(std::uint64_t* out) : out_(out) {}
  /// Lane k of the mask becomes bit `at` + k; all lanes of a word are put once, in order.
  HWY_INLINE void Put(Floats d, size_t at, hn::Mask<Floats> mask) {
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
    hn::StoreMaskBits(
        d, mask, reinterpret_cast<std::uint8_t*>(out_) + at / 8);  // is 16 bits here, and is stored as such
#else
    std::uint8_t bytes[2] = {};
    hn::StoreMaskBits(d, mask, bytes);
    const std::uint64_t bits = hn::MaxLanes(d) > 8 ? bytes[0] | unsigned{bytes[1]} << 8 : bytes[0];
    bits_ |= bits << at;
#endif
  }
  HWY_INLINE void Store() const {
#if !(HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86)
    *out_ = bits_;
#endif
  }

 private:
  std::uint64_t* out_;
  [[maybe_unused]] std::uint64_t bits_ = 0;
};

/// Copies 64 samples that lie kStride apart, or `stride` where kStride is 0. Whole vectors are read only
/// where a further sample follows them.
template <size_t kStride>
HWY_INLINE void CopyWord(float* out, const float* in, size_t stride, [[maybe_unused]] bool followed) {
#if HWY_TARGET != HWY_SCALAR
  if constexpr (kStride > 1) {
    const Floats d;
    const size_t N = hn::Lanes(d), end = followed ? 64 : 64 - N;
    for (size_t i = 0; i < end; i += N)
      hn::StoreU(QVL::HWY_NAMESPACE::LoadEvery<kStride>(d, in + i * kStride), d, out + i);
    for (size_t i = end; i < 64; ++i) out[i] = in[i * kStride];
    return;
  }
#endif
  CopyNear(out, 1, in, stride, 64);
}

/// The samples are copied to where they lie side by side, unless kStride is 1. That runs two words ahead, so
/// that what is copied has arrived when it is looked at, and memory delivers while the vectors are busy.
template <size_t kStride>
HWY_INLINE bool SurveyWords(const SampleBlock& block, const Levels& levels, std::uint64_t* above,
                            std::uint64_t* below, QVL::Moments& moments) {
  const Floats d;
  const size_t N = hn::Lanes(d), n = block.n;
  const auto vUpper = hn::Set(d, levels.upper), vLower = hn::Set(d, levels.lower);
  const auto vWanted = hn::Set(d, levels.wanted);
  const auto copy = [&](size_t i) HWY_ATTR {
    if (kStride == 1 || i >= n) return;
    CopyWord<kStride>(block.copy + i, block.x + i * block.stride, block.stride, block.followed || i + 64 < n);
  };
  const float* const x = kStride == 1 ? block.x : block.copy;
  auto min0 = hn::Set(d, block.x[0]), min1 = min0, max0 = min0, max1 = min0;
  auto sum0 = hn::Zero(d), sum1 = sum0, squares0 = sum0, squares1 = sum0;
  auto equal = hn::Lt(sum0, sum0);
  copy(0);
  copy(64);
  for (size_t i = 0; i < n; i += 64) {
    copy(i + 128);
    MaskWord aboveBits(above + i / 64), belowBits(below + i / 64);
    for (size_t j = 0; j < 64; j += 2 * N) {
      const auto v = hn::LoadU(d, x + i + j), w = hn::LoadU(d, x + i + j + N);
      min0 = Lesser(v, min0), max0 = Greater(v, max0);
      sum0 = hn::Add(sum0, v), squares0 = hn::MulAdd(v, v, squares0);
      min1 = Lesser(w, min1), max1 = Greater(w, max1);
      sum1 = hn::Add(sum1, w), squares1 = hn::MulAdd(w, w, squares1);
      equal = hn::Or(equal, hn::Or(hn::Eq(v, vWanted), hn::Eq(w, vWanted)));
      aboveBits.Put(d, j, hn::Gt(v, vUpper));
      aboveBits.Put(d, j + N, hn::Gt(w, vUpper));
      belowBits.Put(d, j, hn::Lt(v, vLower));
      belowBits.Put(d, j + N, hn::Lt(w, vLower));
    }
    aboveBits.Store();
    belowBits.Store();
  }
  moments.min = hn::GetLane(hn::MinOfLanes(d, Lesser(min0, min1)));
  moments.max = hn::GetLane(hn::MaxOfLanes(d, Greater(max0, max1)));
  moments.sum = hn::GetLane(hn::SumOfLanes(d, hn::Add(sum0, sum1)));
  moments.sumSquares = hn::GetLane(hn::SumOfLanes(d, hn::Add(squares0, squares1)));
  return !hn::AllFalse(d, equal);
}

bool Survey(const SampleBlock& block, const Levels& levels, std::uint64_t* above, std::uint64_t* below,
            QVL::Moments& moments) {
  switch (block.stride) {
    case 1:
      return SurveyWords<1>(block, levels, above, below, moments);
    case 2:
      return SurveyWords<2>(block, levels, above, below, moments);
    case 3:
      return SurveyWords<3>(block, levels, above, below, moments);
    case 4:
      return SurveyWords<4>(block, levels, above, below, moments);
    default:
      return SurveyWords<0>(block, levels, above, below, moments);
  }
}

/// The rising and falling edges among 64 samples, one bit a sample.
struct EdgeBits {
  std::uint64_t rising, falling;
};

/// From where the signal is above the upper threshold and where below the lower one, which are never both.
/// `high` is the state before the samples, 0 or 1, and becomes the state behind them.
///
/// A sum of two words carries in just this way: a bit generates a carry where the signal is above, absorbs it
/// where the signal is below, and passes it on in between.
HWY_INLINE EdgeBits EdgesOf(std::uint64_t above, std::uint64_t below, std::uint64_t& high) {
  const std::uint64_t holds = ~below;
  const std::uint64_t sum = above + holds + high;
  const std::uint64_t before = sum ^ above ^ holds;  // what is carried into each bit
  high = (above | (holds & ~sum)) >> 63;
  return {above & ~before, below & before};
}

/// The same where the thresholds are upside down: a sample between them changes the state, whichever it was.
HWY_INLINE EdgeBits EdgesOfBoth(std::uint64_t above, std::uint64_t below, std::uint64_t& high) {
  EdgeBits edges{};
  for (std::uint64_t bit = 1; bit != 0; bit <<= 1) {
    if (high == 0 && (above & bit) != 0) {
      edges.rising |= bit;
      high = 1;
    } else if (high != 0 && (below & bit) != 0) {
      edges.falling |= bit;
      high = 0;
    }
  }
  return edges;
}

/// Edges on their way: their places, and the samples in front of each and at it.
struct EdgeSamples {
  const float* x;
  std::uint16_t* places;
  float* pairs;
  size_t count;

  /// The edges at first + i for the bits i, one by one.
  HWY_INLINE void PutLastWord(size_t first, std::uint64_t bits) {
    for (; bits != 0; bits &= bits - 1, ++count) {
      const size_t place = first + static_cast<size_t>(std::countr_zero(bits));
      places[count] = static_cast<std::uint16_t>(place);
      std::memcpy(pairs + 2 * count, x + place - 1, 2 * sizeof(float));
    }
  }
  /// The same where there is a sample `first` + 64: four at a time, whether there are so many or not. How
  /// many there are cannot be foretold, and what is written in excess is written over. Their places go into
  /// one word, as stores are what bounds this.
  HWY_INLINE void PutWord(size_t first, std::uint64_t bits) {
#if HWY_TARGET == HWY_SCALAR
    PutLastWord(first, bits);
#else
    const hn::CappedTag<float, 4> four;
    const hn::Half<decltype(four)> two;
    const float* const before = x + first - 1;
    const size_t end = count + static_cast<size_t>(std::popcount(bits));
    const auto next = [](std::uint64_t& rest) {
      const auto i = static_cast<std::uint64_t>(std::countr_zero(rest));
      rest &= rest - 1;
      return i;
    };
    for (; bits != 0; count += 4) {
      const std::uint64_t i0 = next(bits), i1 = next(bits), i2 = next(bits), i3 = next(bits);
      const std::uint64_t all = (i0 | i1 << 16 | i2 << 32 | i3 << 48) + first * 0x0001000100010001u;
      std::memcpy(places + count, &all, sizeof all);
      const auto pair = [&](std::uint64_t i) HWY_ATTR { return hn::LoadU(two, before + i); };
      hn::StoreU(hn::Combine(four, pair(i1), pair(i0)), four, pairs + 2 * count);
      hn::StoreU(hn::Combine(four, pair(i3), pair(i2)), four, pairs + 2 * count + 4);
    }
    count = end;
#endif
  }
};

/// The places of the edges and their samples, in order. Bits behind the last sample change nothing, as
/// neither is set there.
template <bool kUpsideDown>
HWY_INLINE void FindEdges(size_t n, const std::uint64_t* above, const std::uint64_t* below,
                          const EdgeRule& rule, bool& highBefore, EdgeSamples& found) {
  const std::uint64_t rising = rule.rising ? ~std::uint64_t{0} : 0;
  const std::uint64_t falling = rule.falling ? ~std::uint64_t{0} : 0;
  const size_t words = (n + 63) / 64;
  std::uint64_t high = highBefore ? 1 : 0;
  EdgeSamples edges = found;  // a copy, which stays in registers
  for (size_t word = 0; word < words; ++word) {
    const EdgeBits both =
        kUpsideDown ? EdgesOfBoth(above[word], below[word], high) : EdgesOf(above[word], below[word], high);
    std::uint64_t wanted = (both.rising & rising) | (both.falling & falling);
    if (word == 0 && (wanted & 1) != 0) {  // there is no sample in front
      edges.places[0] = 0;
      edges.pairs[0] = rule.previous;
      edges.pairs[1] = edges.x[0];
      edges.count = 1;
      wanted &= ~std::uint64_t{1};
    }
    if (word + 1 < words) {
      edges.PutWord(word * 64, wanted);
    } else {
      edges.PutLastWord(word * 64, wanted);
    }
  }
  highBefore = high != 0;
  found = edges;
}

/// Even lanes and odd ones, of the vector whose first lane is element k.
HWY_INLINE hn::Vec<Floats> Alternating(Floats d, float even, float odd, [[maybe_unused]] size_t k) {
#if HWY_TARGET == HWY_SCALAR
  return hn::Set(d, k % 2 == 0 ? even : odd);
#else
  return hn::OddEven(hn::Set(d, odd), hn::Set(d, even));
#endif
}

/// How far behind the sample in front each edge crosses its level; `low` at first: it is a rising one.
HWY_INLINE void Fractions(const EdgeSamples& edges, const EdgeRule& rule, bool low, float* fractions) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  const bool rising = rule.falling ? rule.rising && low : true, alternating = rule.rising && rule.falling;
  const bool second = rising != alternating;
  const auto least = hn::Set(d, rule.flat);
  std::fill_n(edges.pairs + 2 * edges.count, 2 * N, 0.0f);
  for (size_t k = 0; k < edges.count; k += N) {
    hn::Vec<Floats> before, at;
    hn::LoadInterleaved2(d, edges.pairs + 2 * k, before, at);
    const auto level = Alternating(d, rising ? rule.upper : rule.lower, second ? rule.upper : rule.lower, k);
    const auto direction = Alternating(d, rising ? 1.0f : -1.0f, second ? 1.0f : -1.0f, k);
    const auto step = hn::Sub(at, before);
    const auto fraction = hn::Div(hn::Sub(level, before), step);
    const auto valid = hn::And(hn::Gt(hn::Mul(step, direction), least), hn::Eq(fraction, fraction));
    hn::StoreU(hn::IfThenElseZero(valid, fraction), d, fractions + k);
  }
}

size_t Edges(const float* x, size_t n, const std::uint64_t* above, const std::uint64_t* below,
             const EdgeRule& rule, bool& high, std::uint16_t* places, float* fractions) {
  float pairs[2 * (kPulseChunk + kPulseRoom)];
  EdgeSamples edges{x, places, pairs, 0};
  const bool low = !high;
  if (rule.upper < rule.lower) {
    FindEdges<true>(n, above, below, rule, high, edges);
  } else {
    FindEdges<false>(n, above, below, rule, high, edges);
  }
  Fractions(edges, rule, low, fractions);
  return edges.count;
}

bool Lengths(float* values, std::int64_t* ends, const std::uint16_t* places, const float* fractions, size_t n,
             float scale, float shortest) {
  const Floats d;
  const hn::RebindToSigned<Floats> ints;
  const hn::Rebind<std::uint16_t, Floats> shorts;
  const size_t N = hn::Lanes(d);
  const auto factor = hn::Set(d, scale), one = hn::Set(d, 1.0f);
  const auto whole = [&](size_t k) HWY_ATTR { return hn::PromoteTo(ints, hn::LoadU(shorts, places + k)); };
  for (size_t k = 1; k < n; k += N) {
    const auto samples = hn::Sub(whole(k), whole(k - 1));
    const auto carry = hn::Sub(one, hn::LoadU(d, fractions + k - 1));
    const auto before = hn::ConvertTo(d, hn::Sub(samples, hn::Set(ints, 1)));
    const auto length = hn::Add(hn::Add(before, carry), hn::LoadU(d, fractions + k));
    hn::StoreU(hn::Mul(length, factor), d, values + k);
    auto merged = hn::Lt(hn::Add(hn::ConvertTo(d, samples), carry), hn::Set(d, shortest));
    if (n - k < N) merged = hn::And(merged, hn::FirstN(d, n - k));
    if (!hn::AllFalse(d, merged)) return false;
  }
  const hn::CappedTag<std::int64_t, 8> wide;
  const hn::Rebind<std::uint16_t, decltype(wide)> few;
  const hn::Rebind<std::int32_t, decltype(wide)> less;
  for (size_t k = 0; k < n; k += hn::Lanes(wide)) {
    const auto end = hn::Add(hn::PromoteTo(less, hn::LoadU(few, places + k)), hn::Set(less, 1));
    hn::StoreU(hn::PromoteTo(wide, end), wide, ends + k);
  }
  return true;
}

void StoreRecords(std::uint64_t* records, const std::int64_t* ends, const float* values, size_t n,
                  std::uint64_t start, const std::uint64_t flags[2]) {
  size_t k = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::CappedTag<std::uint64_t, 4> d;
  const hn::Rebind<std::uint32_t, decltype(d)> words;
  const size_t N = hn::Lanes(d);
  const auto kinds = hn::OddEven(hn::Set(d, flags[1]), hn::Set(d, flags[0]));
  const auto base = hn::Set(d, start);
  for (; k + N <= n; k += N) {
    const auto begin = hn::LoadU(d, reinterpret_cast<const std::uint64_t*>(ends) + k);
    const auto end = hn::LoadU(d, reinterpret_cast<const std::uint64_t*>(ends) + k + 1);
    const auto bits = hn::LoadU(words, reinterpret_cast<const std::uint32_t*>(values) + k);
    hn::StoreInterleaved4(hn::Sub(end, begin), hn::PromoteTo(d, bits), hn::Add(base, begin), kinds, d,
                          records + 4 * k);
  }
#endif
  for (; k < n; ++k) {
    std::uint32_t bits;
    std::memcpy(&bits, values + k, sizeof bits);
    records[4 * k] = static_cast<std::uint64_t>(ends[k + 1] - ends[k]);
    records[4 * k + 1] = bits;
    records[4 * k + 2] = start + static_cast<std::uint64_t>(ends[k]);
    records[4 * k + 3] = flags[k % 2];
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace umlauf::vekta
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace umlauf::vekta {

HWY_EXPORT(Survey);
HWY_EXPORT(Edges);
HWY_EXPORT(Lengths);
HWY_EXPORT(StoreRecords);

bool SurveySamples(const SampleBlock& block, const Levels& levels, std::uint64_t* above, std::uint64_t* below,
                   QVL::Moments& moments) {
  return HWY_DYNAMIC_DISPATCH(Survey)(block, levels, above, below, moments);
}

std::size_t FindEdges(const float* x, std::size_t n, const std::uint64_t* above, const std::uint64_t* below,
                      const EdgeRule& rule, bool& high, std::uint16_t* places, float* fractions) {
  return HWY_DYNAMIC_DISPATCH(Edges)(x, n, above, below, rule, high, places, fractions);
}

bool PulseLengths(float* values, std::int64_t* ends, const std::uint16_t* places, const float* fractions,
                  std::size_t n, float scale, float shortest) {
  return HWY_DYNAMIC_DISPATCH(Lengths)(values, ends, places, fractions, n, scale, shortest);
}

void StorePulseRecords(void* records, const std::int64_t* ends, const float* values, std::size_t n,
                       std::uint64_t start, const std::uint64_t flags[2]) {
  HWY_DYNAMIC_DISPATCH(StoreRecords)(static_cast<std::uint64_t*>(records), ends, values, n, start, flags);
}

}  // namespace umlauf::vekta
#endif
