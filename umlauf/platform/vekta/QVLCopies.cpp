// Strided copies and the reversal.

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLCopies.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"
#include "umlauf/platform/vekta/internal/Strided-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

void CopyFloats(float* out, size_t outStride, const float* in, size_t inStride, size_t n) {
  CopyStrided(out, outStride, in, inStride, n);
}
void CopyWords(std::int32_t* out, size_t outStride, const std::int32_t* in, size_t inStride, size_t n) {
  CopyStrided(out, outStride, in, inStride, n);
}
void CopyShorts(std::int16_t* out, size_t outStride, const std::int16_t* in, size_t inStride, size_t n) {
  CopyStrided(out, outStride, in, inStride, n);
}

/// Swaps whole vectors from both ends. When they overlap in the middle, both write the same values there.
template <class D>
HWY_INLINE void ReverseElements(D d, float* x, size_t n) {
  const size_t N = hn::Lanes(d);
  while (n >= N) {
    const auto front = hn::LoadU(d, x), back = hn::LoadU(d, x + (n - N));
    hn::StoreU(hn::Reverse(d, back), d, x);
    hn::StoreU(hn::Reverse(d, front), d, x + (n - N));
    if (n < 2 * N) return;
    x += N;
    n -= 2 * N;
  }
  if constexpr (kCanHalve<D>) {
    if (n > 1) ReverseElements(Shorter<D>(), x, n);
  }
}

void ReverseFloats(float* x, size_t n) { ReverseElements(hn::ScalableTag<float>(), x, n); }

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(CopyFloats);
HWY_EXPORT(CopyWords);
HWY_EXPORT(CopyShorts);
HWY_EXPORT(ReverseFloats);

void Interleave(float* out, std::size_t outStride, const float* in, std::size_t inStride, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(CopyFloats)(out, outStride, in, inStride, n);
}
void Interleave(std::int32_t* out, std::size_t outStride, const std::int32_t* in, std::size_t inStride,
                std::size_t n) {
  HWY_DYNAMIC_DISPATCH(CopyWords)(out, outStride, in, inStride, n);
}
void Interleave(std::uint32_t* out, std::size_t outStride, const std::uint32_t* in, std::size_t inStride,
                std::size_t n) {
  Interleave(reinterpret_cast<std::int32_t*>(out), outStride, reinterpret_cast<const std::int32_t*>(in),
             inStride, n);
}
void Interleave(std::int16_t* out, std::size_t outStride, const std::int16_t* in, std::size_t inStride,
                std::size_t n) {
  HWY_DYNAMIC_DISPATCH(CopyShorts)(out, outStride, in, inStride, n);
}

void ReverseVector(float* x, std::size_t n) { HWY_DYNAMIC_DISPATCH(ReverseFloats)(x, n); }

}  // namespace QVL
#endif
