// Ranges and sums.

#include <algorithm>
#include <cmath>

#include "umlauf/platform/vekta/Decibels.h"
#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLReductions.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"
#include "umlauf/platform/vekta/internal/Strided-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

using Floats = hn::ScalableTag<float>;

/// Lowers min and raises max by n contiguous elements. The lanes start at min and max, so the rule for NaN is
/// that of the scalar loop; lanes that meet an element twice do no harm.
template <class D>
HWY_INLINE void ExtendRange(D d, const float* x, size_t n, float& min, float& max) {
  const size_t N = hn::Lanes(d);
  if (n < N) {
    if constexpr (kCanHalve<D>) {
      if (n > 0) ExtendRange(Shorter<D>(), x, n, min, max);
    }
    return;
  }
  auto min0 = hn::Set(d, min), min1 = min0, min2 = min0, min3 = min0;
  auto max0 = hn::Set(d, max), max1 = max0, max2 = max0, max3 = max0;
  const auto extend = [&](const float* at, auto& lo, auto& hi) HWY_ATTR {
    const auto v = hn::LoadU(d, at);
    lo = Lesser(v, lo);
    hi = Greater(v, hi);
  };
  size_t i = 0;
  while (n - i >= 4 * N) {
    const Part part = NextPart(i, n, N);
    for (size_t j = i; j < part.end; j += part.step) {
      extend(x + j, min0, max0);
      extend(x + j + part.gap, min1, max1);
      extend(x + j + 2 * part.gap, min2, max2);
      extend(x + j + 3 * part.gap, min3, max3);
    }
    i = part.next;
  }
  for (; i + N <= n; i += N) extend(x + i, min0, max0);
  extend(x + (n - N), min1, max1);
  min = hn::GetLane(hn::MinOfLanes(d, Lesser(Lesser(min0, min1), Lesser(min2, min3))));
  max = hn::GetLane(hn::MaxOfLanes(d, Greater(Greater(max0, max1), Greater(max2, max3))));
}

void Range(const float* x, size_t n, size_t stride, float& min, float& max) {
  ForContiguous(x, n, stride, [&](const float* block, size_t count) HWY_ATTR {
    ExtendRange(Floats(), block, count, min, max);
  });
}

/// Blocks are summed in single precision and their sums in double precision: over millions of elements one
/// float would lose what the later blocks add.
template <class Step>
HWY_INLINE float SumStrided(const float* x, size_t n, size_t stride, Step step) {
  constexpr size_t blockLength = 65536;  // what one part of a walk covers
  double sum = 0.0;
  const auto add = [&](const float* block, size_t count) HWY_ATTR {
    for (size_t i = 0; i < count; i += blockLength) {
      sum += static_cast<double>(Accumulate(Floats(), step, std::min(count - i, blockLength), block + i));
    }
  };
  ForContiguous(x, n, stride, add);
  return static_cast<float>(sum);
}

float Sum(const float* x, size_t n, size_t stride) {
  return SumStrided(x, n, stride, [](auto, auto sum, auto v) HWY_ATTR { return hn::Add(sum, v); });
}

float SumSquares(const float* x, size_t n, size_t stride) {
  return SumStrided(x, n, stride, [](auto, auto sum, auto v) HWY_ATTR { return hn::MulAdd(v, v, sum); });
}

float SumMagnitudes(const float* x, size_t n, size_t stride) {
  return SumStrided(x, n, stride, [](auto, auto sum, auto v) HWY_ATTR { return hn::Add(sum, hn::Abs(v)); });
}

float Dot(const float* a, const float* b, size_t n) {
  const auto step = [](auto, auto sum, auto va, auto vb) HWY_ATTR { return hn::MulAdd(va, vb, sum); };
  return Accumulate(Floats(), step, n, a, b);
}

/// The four moments of n contiguous elements; min and max start at the values handed in.
template <class D>
HWY_INLINE void ExtendMoments(D d, const float* x, size_t n, Moments& moments) {
  const size_t N = hn::Lanes(d);
  if (n < N) {
    if constexpr (kCanHalve<D>) {
      if (n > 0) ExtendMoments(Shorter<D>(), x, n, moments);
    }
    return;
  }
  auto min0 = hn::Set(d, moments.min), min1 = min0;
  auto max0 = hn::Set(d, moments.max), max1 = max0;
  auto total = hn::Zero(d), totalSquares = total;
  const auto extend = [&](auto v, auto w, auto& lo, auto& hi, auto& sum, auto& squares) HWY_ATTR {
    lo = Lesser(v, lo);
    hi = Greater(v, hi);
    sum = hn::Add(sum, w);
    squares = hn::MulAdd(w, w, squares);
  };
  size_t i = 0;
  while (n - i >= 4 * N) {
    auto sum0 = hn::Zero(d), sum1 = sum0, squares0 = sum0, squares1 = sum0;
    const Part part = NextPart(i, n, N);
    for (size_t j = i; j < part.end; j += part.step) {
      const auto v0 = hn::LoadU(d, x + j), v1 = hn::LoadU(d, x + j + part.gap);
      const auto v2 = hn::LoadU(d, x + j + 2 * part.gap), v3 = hn::LoadU(d, x + j + 3 * part.gap);
      extend(v0, v0, min0, max0, sum0, squares0);
      extend(v1, v1, min1, max1, sum1, squares1);
      extend(v2, v2, min0, max0, sum0, squares0);
      extend(v3, v3, min1, max1, sum1, squares1);
    }
    i = part.next;
    total = hn::Add(total, hn::Add(sum0, sum1));
    totalSquares = hn::Add(totalSquares, hn::Add(squares0, squares1));
  }
  for (; i + N <= n; i += N) {
    const auto v = hn::LoadU(d, x + i);
    extend(v, v, min0, max0, total, totalSquares);
  }
  if (i < n) {
    const auto v = hn::LoadU(d, x + (n - N));
    extend(v, hn::IfThenZeroElse(hn::FirstN(d, N - (n - i)), v), min1, max1, total, totalSquares);
  }
  moments.min = hn::GetLane(hn::MinOfLanes(d, Lesser(min0, min1)));
  moments.max = hn::GetLane(hn::MaxOfLanes(d, Greater(max0, max1)));
  moments.sum = hn::GetLane(hn::SumOfLanes(d, total));
  moments.sumSquares = hn::GetLane(hn::SumOfLanes(d, totalSquares));
}

Moments MomentsOf(const float* x, size_t n) {
  Moments moments{x[0], x[0], 0.0f, 0.0f};
  ExtendMoments(Floats(), x, n, moments);
  return moments;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(Range);
HWY_EXPORT(Sum);
HWY_EXPORT(SumSquares);
HWY_EXPORT(SumMagnitudes);
HWY_EXPORT(Dot);
HWY_EXPORT(MomentsOf);

namespace {
float PerElement(float sum, std::size_t n) { return n == 0 ? 0.0f : sum / static_cast<float>(n); }
}  // namespace

void VectorMinMax(const float* x, std::size_t n, std::size_t stride, float& min, float& max) {
  if (n == 0) return;
  float low = x[0], high = x[0];
  HWY_DYNAMIC_DISPATCH(Range)(x, n, stride, low, high);
  min = low;
  max = high;
}

void VectorMinMaxIndex(const float* x, std::size_t n, std::size_t& minIndex, std::size_t& maxIndex) {
  minIndex = maxIndex = 0;
  if (n == 0 || x[0] != x[0]) return;
  // The range is formed by vector; only the blocks that extended it last are searched for the places.
  constexpr std::size_t blockLength = 1024;
  float min = x[0], max = x[0];
  for (std::size_t begin = 0; begin < n; begin += blockLength) {
    const float oldMin = min, oldMax = max;
    HWY_DYNAMIC_DISPATCH(Range)(x + begin, std::min(n - begin, blockLength), 1, min, max);
    if (min < oldMin) minIndex = begin;
    if (max > oldMax) maxIndex = begin;
  }
  while (x[minIndex] != min) ++minIndex;
  while (x[maxIndex] != max) ++maxIndex;
}

float VectorMaxMagnitude(const float* x, std::size_t n, std::size_t stride) {
  // The greatest magnitude is at one end of the range, and a range that starts at 0 passes over every NaN.
  float min = 0.0f, max = 0.0f;
  HWY_DYNAMIC_DISPATCH(Range)(x, n, stride, min, max);
  return std::max(-min, max);
}

float VectorSum(const float* x, std::size_t n, std::size_t stride) {
  return HWY_DYNAMIC_DISPATCH(Sum)(x, n, stride);
}
float VectorSumSquares(const float* x, std::size_t n, std::size_t stride) {
  return HWY_DYNAMIC_DISPATCH(SumSquares)(x, n, stride);
}
float VectorSumMagnitudes(const float* x, std::size_t n, std::size_t stride) {
  return HWY_DYNAMIC_DISPATCH(SumMagnitudes)(x, n, stride);
}
float VectorMean(const float* x, std::size_t n, std::size_t stride) {
  return PerElement(VectorSum(x, n, stride), n);
}
float VectorMeanSquare(const float* x, std::size_t n, std::size_t stride) {
  return PerElement(VectorSumSquares(x, n, stride), n);
}
float VectorMeanMagnitude(const float* x, std::size_t n, std::size_t stride) {
  return PerElement(VectorSumMagnitudes(x, n, stride), n);
}
float DotProduct(const float* a, const float* b, std::size_t n) { return HWY_DYNAMIC_DISPATCH(Dot)(a, b, n); }
Moments VectorMoments(const float* x, std::size_t n) { return HWY_DYNAMIC_DISPATCH(MomentsOf)(x, n); }

float VectorLogSum(const float* x, std::size_t n, std::size_t stride) {
  if (n == 0) return 0.0f;
  float min = 0.0f, reference = 0.0f;
  VectorMinMax(x, n, stride, min, reference);
  if (std::isinf(reference)) return reference;  // a difference to it has no value
  double power = 0.0;                           // relative to the reference
  for (std::size_t i = 0; i < n; ++i) {
    power +=
        std::exp(numeric::kLn10By10 * (static_cast<double>(x[i * stride]) - static_cast<double>(reference)));
  }
  return static_cast<float>(static_cast<double>(reference) + 10.0 * std::log10(power));
}

}  // namespace QVL
#endif
