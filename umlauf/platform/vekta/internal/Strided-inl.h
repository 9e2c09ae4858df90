// Strided copies, compiled once for every instruction set; see Loops-inl.h.

#if defined(UMLAUF_QVL_STRIDED_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef UMLAUF_QVL_STRIDED_INL
#undef UMLAUF_QVL_STRIDED_INL
#else
#define UMLAUF_QVL_STRIDED_INL
#endif

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "hwy/cache_control.h"
#include "hwy/highway.h"
#include "umlauf/platform/vekta/internal/Loops-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR
/// A vector of in[0], in[kStride], in[2 kStride], ...; reads kStride whole vectors.
template <size_t kStride, class D, class T>
HWY_INLINE hn::Vec<D> LoadEvery(D d, const T* in) {
  if constexpr (kStride == 1) {
    return hn::LoadU(d, in);
  } else if constexpr (kStride == 3) {
    hn::Vec<D> wanted, second, third;
    hn::LoadInterleaved3(d, in, wanted, second, third);
    return wanted;
  } else {
    static_assert(kStride % 2 == 0);
    const auto lower = LoadEvery<kStride / 2>(d, in);
    const auto upper = LoadEvery<kStride / 2>(d, in + kStride / 2 * hn::Lanes(d));
    return hn::ConcatEven(d, upper, lower);
  }
}
#endif

/// out[i] = in[i * kStride]. A vector is loaded only while a further element follows it, so that what is read
/// with the last one of them lies in front of that element.
template <size_t kStride, class T>
HWY_INLINE void Gather(T* out, const T* in, size_t n) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<T> d;
  const size_t N = hn::Lanes(d);
  if (IsStreamed(n * (kStride + 1) * sizeof(T))) {
    for (const size_t aligned = UntilAligned(d, out); i < aligned; ++i) out[i] = in[i * kStride];
    for (; i + N < n; i += N) hn::Stream(LoadEvery<kStride>(d, in + i * kStride), d, out + i);
    hwy::FlushStream();
  }
  for (; i + N < n; i += N) hn::StoreU(LoadEvery<kStride>(d, in + i * kStride), d, out + i);
#endif
  for (; i < n; ++i) out[i] = in[i * kStride];
}

template <class T>
HWY_INLINE void CopyNear(T* out, size_t outStride, const T* in, size_t inStride, size_t n) {
  // While a further element follows, so that no pointer leaves the blocks.
  for (; n > 4; n -= 4, out += 4 * outStride, in += 4 * inStride) {
    const T a = in[0], b = in[inStride], c = in[2 * inStride], d = in[3 * inStride];
    out[0] = a;
    out[outStride] = b;
    out[2 * outStride] = c;
    out[3 * outStride] = d;
  }
  for (size_t i = 0; i < n; ++i) out[i * outStride] = in[i * inStride];
}

/// Elements that are copied between two rounds of prefetching.
constexpr size_t kRun = 16;

/// The walk of a strided copy through memory beyond the caches, whose lines come late by themselves: they are
/// fetched 2 kB ahead.
template <class T>
struct Walk {
  static constexpr size_t kLine = 64 / sizeof(T);
  explicit HWY_INLINE Walk(size_t step)
      : stride(step), ahead((32 * kLine / step / kRun + 1) * kRun), lineStep(std::max(step, kLine)) {}
  /// Fetches the run that lies ahead of element i of n, when there is one.
  HWY_INLINE void Fetch(const T* x, size_t i, size_t n) const {
    if (stride == 1 || n - i < ahead + kRun) return;
    const T* const run = x + (i + ahead) * stride;
    for (size_t at = 0; at < kRun * stride; at += lineStep) hwy::Prefetch(run + at);
  }
  size_t stride, ahead, lineStep;
};

/// Whether a strided copy passes over more than the caches nearby hold.
template <class T>
constexpr bool IsFar(size_t n, size_t outStride, size_t inStride) {
  constexpr size_t cached = size_t{4} << 20;  // bytes
  return n >= cached / sizeof(T) / (outStride + inStride);
}

template <class T>
HWY_INLINE void CopyElements(T* out, size_t outStride, const T* in, size_t inStride, size_t n) {
  size_t i = 0;
  if (IsFar<T>(n, outStride, inStride)) {
    const Walk<T> written(outStride), read(inStride);
    for (; i + kRun < n; i += kRun) {
      written.Fetch(out, i, n);
      read.Fetch(in, i, n);
      CopyNear(out + i * outStride, outStride, in + i * inStride, inStride, kRun);
    }
  }
  CopyNear(out + i * outStride, outStride, in + i * inStride, inStride, n - i);
}

template <class T>
HWY_INLINE void CopyStrided(T* out, size_t outStride, const T* in, size_t inStride, size_t n) {
  if (outStride != 1) return CopyElements(out, outStride, in, inStride, n);
  switch (inStride) {
    case 1:
      return Gather<1>(out, in, n);
    case 2:
      return Gather<2>(out, in, n);
    case 3:
      return Gather<3>(out, in, n);
    case 4:
      return Gather<4>(out, in, n);
    case 8:  // vectors of which an eighth is wanted only pay where whole lines have to come anyway
      return IsFar<T>(n, 1, 8) ? Gather<8>(out, in, n) : CopyNear(out, 1, in, 8, n);
    default:
      return CopyElements(out, outStride, in, inStride, n);
  }
}

/// Calls use(block, count) for successive contiguous pieces of a strided vector.
template <class Use>
HWY_INLINE void ForContiguous(const float* x, size_t n, size_t stride, Use use) {
  if (stride == 1) return use(x, n);
  std::array<float, 1024> block;
  for (size_t i = 0; i < n; i += block.size()) {
    const size_t count = std::min(n - i, block.size());
    CopyStrided(block.data(), 1, x + i * stride, stride, count);
    use(block.data(), count);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#endif
