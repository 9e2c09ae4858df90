// Runs of dot products for polyphase filters.

#include "umlauf/platform/vekta/internal/FilterKernels.h"

#include <algorithm>
#include <array>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/internal/FilterKernels.cpp"
#include "hwy/foreach_target.h"
// Follows the target.
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

/// As DotGroup, with rows each of which is mixed with the one that follows it by `stride`.
template <bool kOneRow>
HWY_INLINE void DotGroupMixed(const Group& x, const Group& rows, const float* mix, size_t stride, size_t taps,
                              float* sums) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  auto a = hn::Zero(d), b = a, c = a, e = a;
  const auto one = hn::Set(d, 1.0f);
  const auto nextA = hn::Set(d, mix[0]), nextB = hn::Set(d, mix[1]), nextC = hn::Set(d, mix[2]),
             nextE = hn::Set(d, mix[3]);
  const auto rowA = hn::Sub(one, nextA), rowB = hn::Sub(one, nextB), rowC = hn::Sub(one, nextC),
             rowE = hn::Sub(one, nextE);
  const auto step = [&](size_t i, auto load) UMLAUF_INLINED {
    const auto add = [&](size_t w, const auto& ofRow, const auto& ofNext, auto& sum) UMLAUF_INLINED {
      const float* const row = rows[kOneRow ? 0 : w] + i;
      const auto tap = hn::MulAdd(hn::LoadU(d, row + stride), ofNext, hn::Mul(hn::LoadU(d, row), ofRow));
      sum = hn::MulAdd(tap, load(x[w] + i), sum);
    };
    add(0, rowA, nextA, a);
    add(1, rowB, nextB, b);
    add(2, rowC, nextC, c);
    add(3, rowE, nextE, e);
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

/// Four results: products of windows and rows, mixed where rows are mixed, times scale.
template <bool kMixed>
HWY_INLINE void DotFour(const Group& x, const Group& row, const float* mix, const TapRows& rows, float scale,
                        float* out, size_t stride) {
  const bool oneRow = row[0] == row[1] && row[0] == row[2] && row[0] == row[3];
  const hn::CappedTag<float, 4> d;
  HWY_ALIGN float sums[4];
  if constexpr (kMixed) {
    oneRow ? DotGroupMixed<true>(x, row, mix, rows.stride, rows.taps, sums)
           : DotGroupMixed<false>(x, row, mix, rows.stride, rows.taps, sums);
  } else {
    oneRow ? DotGroup<true>(x, row, rows.taps, sums) : DotGroup<false>(x, row, rows.taps, sums);
  }
  for (size_t i = 0; i < 4; i += hn::Lanes(d)) {
    const auto results = hn::Mul(hn::Load(d, sums + i), hn::Set(d, scale));
    stride == 1 ? hn::StoreU(results, d, out + i) : hn::Store(results, d, sums + i);
  }
  if (stride == 1) return;
  // Volatile, or the compiler makes one scatter instruction of them, which is several times slower.
  for (size_t w = 0; w < 4; ++w) *static_cast<volatile float*>(out + w * stride) = sums[w];
}

/// Writes the results, in the order of the windows and of the planes in each of them, `stride` floats apart.
template <bool kMixed>
HWY_NOINLINE void DotWindows(float* out, size_t stride, const TapWindow* windows, size_t n,
                             const TapPlanes& planes, const TapRows& rows, float scale) {
  Group x, row;
  HWY_ALIGN float mix[4] = {};
  const size_t results = n * planes.channels;
  size_t done = 0, channel = 0;
  const auto take = [&](size_t w) HWY_ATTR {
    x[w] = planes.x + windows->in + channel * planes.stride;
    row[w] = rows.data + windows->row * rows.stride;
    if constexpr (kMixed) mix[w] = windows->mix;
    if (++channel == planes.channels) {
      channel = 0;
      ++windows;
    }
  };
  for (; done + 4 <= results; done += 4) {
    for (size_t w = 0; w < 4; ++w) take(w);
    DotFour<kMixed>(x, row, mix, rows, scale, out + done * stride, stride);
  }
  if (done == results) return;
  // The rest is filled up with its first window.
  const size_t rest = results - done;
  for (size_t w = 0; w < rest; ++w) take(w);
  for (size_t w = rest; w < 4; ++w) {
    x[w] = x[0];
    row[w] = row[0];
  }
  float last[4];
  DotFour<kMixed>(x, row, mix, rows, scale, last, 1);
  for (size_t w = 0; w < rest; ++w) out[(done + w) * stride] = last[w];
}

/// The same for one plane, without what is needed to go through several.
template <bool kMixed>
HWY_INLINE void DotPlane(float* out, size_t stride, const TapWindow* windows, size_t n,
                         const TapPlanes& planes, const TapRows& table, float scale) {
  const TapRows rows = table;
  const float* const samples = planes.x;
  for (; n >= 4; n -= 4, windows += 4, out += 4 * stride) {
    const auto x = [&](size_t w) { return samples + windows[w].in; };
    const auto row = [&](size_t w) { return rows.data + windows[w].row * rows.stride; };
    const float mix[4] = {windows[0].mix, windows[1].mix, windows[2].mix, windows[3].mix};
    DotFour<kMixed>({x(0), x(1), x(2), x(3)}, {row(0), row(1), row(2), row(3)}, mix, rows, scale, out,
                    stride);
  }
  DotWindows<kMixed>(out, stride, windows, n, planes, rows, scale);
}

template <bool kMixed>
HWY_INLINE void DotAll(float* out, size_t stride, const TapWindow* windows, size_t n, const TapPlanes& planes,
                       const TapRows& rows, float scale) {
  planes.channels == 1 ? DotPlane<kMixed>(out, stride, windows, n, planes, rows, scale)
                       : DotWindows<kMixed>(out, stride, windows, n, planes, rows, scale);
}

void DotPlain(float* out, size_t stride, const TapWindow* windows, size_t n, const TapPlanes& planes,
              const TapRows& rows, float scale) {
  DotAll<false>(out, stride, windows, n, planes, rows, scale);
}
void DotMixed(float* out, size_t stride, const TapWindow* windows, size_t n, const TapPlanes& planes,
              const TapRows& rows, float scale) {
  DotAll<true>(out, stride, windows, n, planes, rows, scale);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace umlauf::vekta
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace umlauf::vekta {

HWY_EXPORT(DotPlain);
HWY_EXPORT(DotMixed);

namespace {

/// Runs a kernel over up to four planes at a time, whose loads of a row are then shared.
template <class Kernel>
void DotFrames(float* out, std::size_t outStride, const TapWindow* windows, std::size_t n,
               const TapPlanes& planes, Kernel kernel) {
  constexpr unsigned together = 4;
  std::array<float, 256> results;
  for (unsigned first = 0; first < planes.channels; first += together) {
    const unsigned count = std::min(together, planes.channels - first);
    const TapPlanes some{planes.x + first * planes.stride, planes.stride, count};
    if (count == outStride || planes.channels == 1) {
      kernel(out, planes.channels == 1 ? outStride : 1, windows, n, some);
      continue;
    }
    const std::size_t block = results.size() / together;
    for (std::size_t i = 0; i < n; i += block) {
      const std::size_t frames = std::min(block, n - i);
      kernel(results.data(), std::size_t{1}, windows + i, frames, some);
      float* to = out + i * outStride + first;
      const float* from = results.data();
      for (std::size_t j = 0; j < frames; ++j, to += outStride) {
        for (unsigned c = 0; c < count; ++c) to[c] = *from++;
      }
    }
  }
}

}  // namespace

void DotProducts(float* out, std::size_t outStride, const TapWindow* windows, std::size_t n,
                 const TapPlanes& planes, const TapRows& rows, float scale) {
  const auto kernel = HWY_DYNAMIC_DISPATCH(DotPlain);
  DotFrames(out, outStride, windows, n, planes, [&](auto... run) { kernel(run..., rows, scale); });
}
void MixedDotProducts(float* out, std::size_t outStride, const TapWindow* windows, std::size_t n,
                      const TapPlanes& planes, const TapRows& rows, float scale) {
  const auto kernel = HWY_DYNAMIC_DISPATCH(DotMixed);
  DotFrames(out, outStride, windows, n, planes, [&](auto... run) { kernel(run..., rows, scale); });
}

}  // namespace umlauf::vekta
#endif
