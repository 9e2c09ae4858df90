// Steps of a Fourier transform over complex numbers that lie interleaved, real part first.

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLTransforms.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

using Floats = hn::ScalableTag<float>;
using Lane = hn::CappedTag<float, 1>;

// Products and sums round separately, so that every processor gives the same. Real and imaginary parts are
// vectors of their own throughout: those of scalable length cannot be members of a class.

/// re, im = the complex number at `from`, times re, im.
template <class D, class V>
HWY_INLINE void MultiplyBy(D d, const float* from, V& re, V& im) {
  V ar, ai;
  hn::LoadInterleaved2(d, from, ar, ai);
  const V product = hn::Sub(hn::Mul(re, ar), hn::Mul(im, ai));
  im = hn::Add(hn::Mul(re, ai), hn::Mul(im, ar));
  re = product;
}

template <class D>
HWY_INLINE void CombineAt(D d, float* x, const float* twiddles, size_t n, size_t k) {
  float *const x0 = x + 2 * k, *const x1 = x0 + 2 * n, *const x2 = x1 + 2 * n, *const x3 = x2 + 2 * n;
  hn::Vec<D> ar, ai, br, bi, cr, ci, er, ei;
  hn::LoadInterleaved2(d, x0, ar, ai);
  hn::LoadInterleaved2(d, x1, br, bi);
  hn::LoadInterleaved2(d, x2, cr, ci);
  hn::LoadInterleaved2(d, x3, er, ei);
  MultiplyBy(d, twiddles + 2 * k, br, bi);
  MultiplyBy(d, twiddles + 2 * (n + k), cr, ci);
  MultiplyBy(d, twiddles + 2 * (2 * n + k), er, ei);
  const auto evenRe = hn::Add(ar, cr), evenIm = hn::Add(ai, ci), oddRe = hn::Sub(ar, cr),
             oddIm = hn::Sub(ai, ci);
  const auto sumRe = hn::Add(br, er), sumIm = hn::Add(bi, ei);
  const auto turnedRe = hn::Sub(bi, ei), turnedIm = hn::Neg(hn::Sub(br, er));  // the difference times -j
  hn::StoreInterleaved2(hn::Add(evenRe, sumRe), hn::Add(evenIm, sumIm), d, x0);
  hn::StoreInterleaved2(hn::Add(oddRe, turnedRe), hn::Add(oddIm, turnedIm), d, x1);
  hn::StoreInterleaved2(hn::Sub(evenRe, sumRe), hn::Sub(evenIm, sumIm), d, x2);
  hn::StoreInterleaved2(hn::Sub(oddRe, turnedRe), hn::Sub(oddIm, turnedIm), d, x3);
}

void Combine(float* x, const float* twiddles, size_t n) {
  const Floats d;
  size_t k = 0;
  for (; k + hn::Lanes(d) <= n; k += hn::Lanes(d)) CombineAt(d, x, twiddles, n, k);
  for (; k < n; ++k) CombineAt(Lane(), x, twiddles, n, k);
}

/// The bins from k on and their mirror images.
template <class D>
HWY_INLINE void SplitAt(D d, float* out, const float* z, const float* twiddles, size_t n, size_t k) {
  const size_t mirror = n - k - (hn::Lanes(d) - 1);
  const auto half = hn::Set(d, 0.5f);
  hn::Vec<D> ar, ai, br, bi;
  hn::LoadInterleaved2(d, z + 2 * k, ar, ai);
  hn::LoadInterleaved2(d, z + 2 * mirror, br, bi);
  br = hn::Reverse(d, br);
  bi = hn::Neg(hn::Reverse(d, bi));
  const auto sumRe = hn::Add(ar, br), sumIm = hn::Add(ai, bi);
  auto turnedRe = hn::Sub(ar, br), turnedIm = hn::Sub(ai, bi);
  MultiplyBy(d, twiddles + 2 * k, turnedRe, turnedIm);
  const auto downRe = hn::Sub(sumRe, turnedRe), downIm = hn::Sub(sumIm, turnedIm);
  hn::StoreInterleaved2(hn::Mul(half, hn::Add(sumRe, turnedRe)), hn::Mul(half, hn::Add(sumIm, turnedIm)), d,
                        out + 2 * k);
  hn::StoreInterleaved2(hn::Reverse(d, hn::Mul(half, downRe)), hn::Reverse(d, hn::Neg(hn::Mul(half, downIm))),
                        d, out + 2 * mirror);
}

void Split(float* out, const float* z, const float* twiddles, size_t n) {
  const Floats d;
  out[0] = z[0] + z[1];
  out[2 * n] = z[0] - z[1];
  out[1] = out[2 * n + 1] = 0.0f;
  const size_t end = (n + 1) / 2;
  size_t k = 1;
  for (; k + hn::Lanes(d) <= end; k += hn::Lanes(d)) SplitAt(d, out, z, twiddles, n, k);
  for (; k < end; ++k) SplitAt(Lane(), out, z, twiddles, n, k);
  if (n % 2 == 0) {
    out[n] = z[n];
    out[n + 1] = -z[n + 1];
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(Combine);
HWY_EXPORT(Split);

void CombineTransforms(float* x, const float* twiddles, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Combine)(x, twiddles, n);
}
void SplitTransform(float* out, const float* z, const float* twiddles, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Split)(out, z, twiddles, n);
}

}  // namespace QVL
#endif
