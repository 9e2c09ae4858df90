// Dot products of four windows at a time with rows of taps, per target.

#if defined(UMLAUF_DOT_GROUPS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef UMLAUF_DOT_GROUPS_INL_H
#undef UMLAUF_DOT_GROUPS_INL_H
#else
#define UMLAUF_DOT_GROUPS_INL_H
#endif

#include <algorithm>
#include <array>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace umlauf::vekta {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Eight lanes at most: unaligned samples cross a cache line half as often as vectors of a whole line would.
using Floats = hn::CappedTag<float, 8>;
using FloatVector = hn::Vec<Floats>;

// Windows are computed in groups of four: that hides the latency of the sums, lets windows of one row share
// its loads, and makes the sums over the lanes cheap. A window's result does not depend on its group.

#if HWY_HAVE_SCALABLE || HWY_TARGET == HWY_SCALAR
HWY_INLINE void StoreSums(FloatVector a, FloatVector b, FloatVector c, FloatVector e, float* sums) {
  const Floats d;
  sums[0] = hn::GetLane(hn::SumOfLanes(d, a));
  sums[1] = hn::GetLane(hn::SumOfLanes(d, b));
  sums[2] = hn::GetLane(hn::SumOfLanes(d, c));
  sums[3] = hn::GetLane(hn::SumOfLanes(d, e));
}
#else
/// Adds the 128-bit blocks of a vector.
template <class D, class V>
HWY_INLINE void StoreBlockSum(D d, V v, float* sums) {
  if constexpr (hn::MaxLanes(D()) == 4) {
    hn::StoreU(v, d, sums);
  } else {
    const hn::Half<D> half;
    StoreBlockSum(half, hn::Add(hn::LowerHalf(half, v), hn::UpperHalf(half, v)), sums);
  }
}

/// The sums over the lanes of four vectors, by transposition within the 128-bit blocks.
HWY_INLINE void StoreSums(FloatVector a, FloatVector b, FloatVector c, FloatVector e, float* sums) {
  const Floats d;
  const hn::Repartition<double, Floats> pairs;
  const auto ab = hn::BitCast(pairs, hn::Add(hn::InterleaveLower(d, a, b), hn::InterleaveUpper(d, a, b)));
  const auto ce = hn::BitCast(pairs, hn::Add(hn::InterleaveLower(d, c, e), hn::InterleaveUpper(d, c, e)));
  StoreBlockSum(d,
                hn::Add(hn::BitCast(d, hn::InterleaveLower(pairs, ab, ce)),
                        hn::BitCast(d, hn::InterleaveUpper(pairs, ab, ce))),
                sums);
}
#endif

using Group = std::array<const float*, 4>;

// A lambda that is part of a loop and must not become a call, however often it stands there.
#undef UMLAUF_INLINED
#define UMLAUF_INLINED HWY_ATTR __attribute__((always_inline))

/// The first n of x, n less than a vector, and 0; nothing behind them is read.
HWY_INLINE FloatVector LoadFirst(const float* x, size_t n) {
  const Floats d;
#if HWY_HAVE_SCALABLE || (HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2)
  return hn::MaskedLoad(hn::FirstN(d, n), d, x);
#else
  HWY_ALIGN float lanes[hn::MaxLanes(d)] = {};
  std::copy_n(x, n, lanes);
  return hn::Load(d, lanes);
#endif
}

/// Sums of x[w][i] * rows[w][i], i < taps. Whole vectors of the rows are read, not of x.
template <bool kOneRow>
HWY_INLINE void DotGroup(const Group& x, const Group& rows, size_t taps, float* sums) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  auto a0 = hn::Zero(d), b0 = a0, c0 = a0, e0 = a0;
  auto a1 = a0, b1 = a0, c1 = a0, e1 = a0;
  const auto step = [&](size_t i, auto load, auto& a, auto& b, auto& c, auto& e) UMLAUF_INLINED {
    const auto row = hn::LoadU(d, rows[0] + i);
    a = hn::MulAdd(row, load(x[0] + i), a);
    b = hn::MulAdd(kOneRow ? row : hn::LoadU(d, rows[1] + i), load(x[1] + i), b);
    c = hn::MulAdd(kOneRow ? row : hn::LoadU(d, rows[2] + i), load(x[2] + i), c);
    e = hn::MulAdd(kOneRow ? row : hn::LoadU(d, rows[3] + i), load(x[3] + i), e);
  };
  const auto whole = [&](const float* at) HWY_ATTR { return hn::LoadU(d, at); };
  size_t i = 0;
  for (; i + 2 * N <= taps; i += 2 * N) {
    step(i, whole, a0, b0, c0, e0);
    step(i + N, whole, a1, b1, c1, e1);
  }
  if (i + N <= taps) {
    step(i, whole, a0, b0, c0, e0);
    i += N;
  }
  if (i < taps) {
    step(
        i, [&](const float* at) HWY_ATTR { return LoadFirst(at, taps - i); }, a1, b1, c1, e1);
  }
  StoreSums(hn::Add(a0, a1), hn::Add(b0, b1), hn::Add(c0, c1), hn::Add(e0, e1), sums);
}

/// The vector of taps at `row`, of rows `stride` apart.
template <TapMix kMix>
HWY_INLINE FloatVector MixedTaps(const float* row, size_t stride, FloatVector mix) {
  const Floats d;
  const auto first = hn::LoadU(d, row);
  if constexpr (kMix == TapMix::None) return first;
  const auto second = hn::LoadU(d, row + stride);
  return hn::MulAdd(second, mix, hn::Mul(first, hn::Sub(hn::Set(d, 1.0f), mix)));
}

/// As DotGroup, with taps that are mixed of rows `stride` apart.
template <bool kOneRow>
HWY_INLINE void DotGroupMixed(const Group& x, const Group& rows, const float* mix, size_t stride, size_t taps,
                              float* sums) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  auto a = hn::Zero(d), b = a, c = a, e = a;
  const auto mixA = hn::Set(d, mix[0]), mixB = hn::Set(d, mix[1]), mixC = hn::Set(d, mix[2]),
             mixE = hn::Set(d, mix[3]);
  const auto step = [&](size_t i, auto load) UMLAUF_INLINED {
    const auto add = [&](size_t w, const auto& m, auto& sum) UMLAUF_INLINED {
      const auto tap = MixedTaps<TapMix::Linear>(rows[kOneRow ? 0 : w] + i, stride, m);
      sum = hn::MulAdd(tap, load(x[w] + i), sum);
    };
    add(0, mixA, a);
    add(1, mixB, b);
    add(2, mixC, c);
    add(3, mixE, e);
  };
  size_t i = 0;
  for (; i + N <= taps; i += N) {
    step(i, [&](const float* at) HWY_ATTR { return hn::LoadU(d, at); });
  }
  if (i < taps) {
    step(i, [&](const float* at) HWY_ATTR { return LoadFirst(at, taps - i); });
  }
  StoreSums(a, b, c, e, sums);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace umlauf::vekta
HWY_AFTER_NAMESPACE();

#endif
