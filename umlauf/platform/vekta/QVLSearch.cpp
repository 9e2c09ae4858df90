// Searches.

#include <cstring>

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLSearch.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

using Floats = hn::ScalableTag<float>;

/// Bit i of the result is lane i of the mask.
template <class D, class M>
HWY_INLINE std::uint64_t MaskBits(D d, M mask) {
  alignas(8) std::uint8_t bytes[8] = {};
  hn::StoreMaskBits(d, mask, bytes);
  std::uint64_t bits;
  std::memcpy(&bits, bytes, sizeof bits);
  return bits;
}

/// The threshold bits of one vector.
template <class D>
HWY_INLINE void Compare(D d, const float* x, float upper, float lower, std::uint64_t& above,
                        std::uint64_t& below) {
  const auto v = hn::LoadU(d, x);
  above = MaskBits(d, hn::Gt(v, hn::Set(d, upper)));
  below = MaskBits(d, hn::Lt(v, hn::Set(d, lower)));
}

/// The threshold bits of count < 64 samples at the end of a block; `before` further samples lie in front.
template <class D>
HWY_INLINE void CompareRest(D d, const float* x, size_t before, size_t count, float upper, float lower,
                            std::uint64_t& above, std::uint64_t& below) {
  const size_t N = hn::Lanes(d);
  if (before + count < N) {
    if constexpr (kCanHalve<D>) CompareRest(Shorter<D>(), x, before, count, upper, lower, above, below);
    return;
  }
  std::uint64_t a = 0, b = 0;
  size_t i = 0;
  for (; i + N <= count; i += N) {
    Compare(d, x + i, upper, lower, a, b);
    above |= a << i;
    below |= b << i;
  }
  if (i < count) {  // a vector that ends with the last sample; the bits of the samples in front drop out
    const size_t overlap = N - (count - i);
    Compare(d, x + i - overlap, upper, lower, a, b);
    above |= (a >> overlap) << i;
    below |= (b >> overlap) << i;
  }
}

/// The threshold bits of 64 samples.
template <class D>
HWY_INLINE void CompareWord(D d, const float* x, float upper, float lower, std::uint64_t* above,
                            std::uint64_t* below) {
  const size_t N = hn::Lanes(d);
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
  // A mask is 16 bits here and is stored as such: no detour over the integer registers.
  for (size_t lane = 0; lane < 64; lane += N) {
    const auto v = hn::LoadU(d, x + lane);
    hn::StoreMaskBits(d, hn::Gt(v, hn::Set(d, upper)), reinterpret_cast<std::uint8_t*>(above) + lane / 8);
    hn::StoreMaskBits(d, hn::Lt(v, hn::Set(d, lower)), reinterpret_cast<std::uint8_t*>(below) + lane / 8);
  }
#else
  std::uint64_t allAbove = 0, allBelow = 0, a = 0, b = 0;
  for (size_t lane = 0; lane < 64; lane += N) {
    Compare(d, x + lane, upper, lower, a, b);
    allAbove |= a << lane;
    allBelow |= b << lane;
  }
  *above = allAbove;
  *below = allBelow;
#endif
}

void Thresholds(const float* x, size_t n, float upper, float lower, std::uint64_t* above,
                std::uint64_t* below) {
  const Floats d;
  size_t i = 0;
  for (; i + 64 <= n; i += 64) CompareWord(d, x + i, upper, lower, above + i / 64, below + i / 64);
  if (i == n) return;
  std::uint64_t restAbove = 0, restBelow = 0;
  CompareRest(d, x + i, i, n - i, upper, lower, restAbove, restBelow);
  above[i / 64] = restAbove;
  below[i / 64] = restBelow;
}

template <class D>
HWY_INLINE size_t CountElements(D d, const float* x, size_t n, float value) {
  const size_t N = hn::Lanes(d);
  if (n < N) {
    if constexpr (kCanHalve<D>) {
      if (n > 0) return CountElements(Shorter<D>(), x, n, value);
    }
    return 0;
  }
  const auto wanted = hn::Set(d, value);
  const auto equal = [&](size_t at)
                         HWY_ATTR { return hn::CountTrue(d, hn::Eq(hn::LoadU(d, x + at), wanted)); };
  size_t count0 = 0, count1 = 0, count2 = 0, count3 = 0, i = 0;
  while (n - i >= 4 * N) {
    const Part part = NextPart(i, n, N);
    for (size_t j = i; j < part.end; j += part.step) {
      count0 += equal(j);
      count1 += equal(j + part.gap);
      count2 += equal(j + 2 * part.gap);
      count3 += equal(j + 3 * part.gap);
    }
    i = part.next;
  }
  for (; i + N <= n; i += N) count0 += equal(i);
  if (i < n) {
    const auto counted = hn::FirstN(d, N - (n - i));
    count1 += hn::CountTrue(d, hn::AndNot(counted, hn::Eq(hn::LoadU(d, x + (n - N)), wanted)));
  }
  return count0 + count1 + count2 + count3;
}

size_t Count(const float* x, size_t n, float value) { return CountElements(Floats(), x, n, value); }

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(Thresholds);
HWY_EXPORT(Count);

void ThresholdMasks(const float* x, std::size_t n, float upper, float lower, std::uint64_t* above,
                    std::uint64_t* below) {
  HWY_DYNAMIC_DISPATCH(Thresholds)(x, n, upper, lower, above, below);
}

std::size_t CountEqual(const float* x, std::size_t n, float value) {
  return HWY_DYNAMIC_DISPATCH(Count)(x, n, value);
}

}  // namespace QVL
#endif
