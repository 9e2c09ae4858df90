// Functions over complex numbers that lie interleaved, real part first.

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLSpectra.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

using Floats = hn::ScalableTag<float>;
using Lane = hn::CappedTag<float, 1>;

// Products and sums round separately, as in a scalar loop.
template <class V>
HWY_INLINE V Power(V re, V im) {
  return hn::Add(hn::Mul(re, re), hn::Mul(im, im));
}

/// body(d, k) for whole vectors from k on, then for single numbers: the last vector must not overlap the one
/// before where results add up.
template <class Body>
HWY_INLINE void ForVectors(size_t n, Body body) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  size_t k = 0;
  for (; k + N <= n; k += N) body(d, k);
  for (; k < n; ++k) body(Lane(), k);
}

void Powers(float* out, const float* x, size_t n, float scale) {
  ForVectors(n, [=](auto d, size_t k) HWY_ATTR {
    hn::Vec<decltype(d)> re, im;
    hn::LoadInterleaved2(d, x + 2 * k, re, im);
    hn::StoreU(hn::Mul(Power(re, im), hn::Set(d, scale)), d, out + k);
  });
}

void SumPowers(float* sum, const float* x, size_t n) {
  ForVectors(n, [=](auto d, size_t k) HWY_ATTR {
    hn::Vec<decltype(d)> re, im;
    hn::LoadInterleaved2(d, x + 2 * k, re, im);
    hn::StoreU(hn::Add(hn::LoadU(d, sum + k), Power(re, im)), d, sum + k);
  });
}

void SumCrossPowers(float* sum, const float* a, const float* b, size_t n) {
  ForVectors(n, [=](auto d, size_t k) HWY_ATTR {
    hn::Vec<decltype(d)> ar, ai, br, bi, re, im;
    hn::LoadInterleaved2(d, a + 2 * k, ar, ai);
    hn::LoadInterleaved2(d, b + 2 * k, br, bi);
    hn::LoadInterleaved2(d, sum + 2 * k, re, im);
    re = hn::Add(re, hn::Add(hn::Mul(ar, br), hn::Mul(ai, bi)));
    im = hn::Add(im, hn::Sub(hn::Mul(ar, bi), hn::Mul(ai, br)));
    hn::StoreInterleaved2(re, im, d, sum + 2 * k);
  });
}

void Products(float* out, const float* a, const float* b, size_t n) {
  ForVectors(n, [=](auto d, size_t k) HWY_ATTR {
    hn::Vec<decltype(d)> ar, ai, br, bi;
    hn::LoadInterleaved2(d, a + 2 * k, ar, ai);
    hn::LoadInterleaved2(d, b + 2 * k, br, bi);
    hn::StoreInterleaved2(hn::Sub(hn::Mul(ar, br), hn::Mul(ai, bi)),
                          hn::Add(hn::Mul(ar, bi), hn::Mul(ai, br)), d, out + 2 * k);
  });
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(Powers);
HWY_EXPORT(SumPowers);
HWY_EXPORT(SumCrossPowers);
HWY_EXPORT(Products);

void ComplexPowers(float* out, const float* x, std::size_t n, float scale) {
  HWY_DYNAMIC_DISPATCH(Powers)(out, x, n, scale);
}
void AddComplexPowers(float* sum, const float* x, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(SumPowers)(sum, x, n);
}
void AddCrossPowers(float* sum, const float* a, const float* b, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(SumCrossPowers)(sum, a, b, n);
}
void MulComplex(float* out, const float* a, const float* b, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Products)(out, a, b, n);
}

}  // namespace QVL
#endif
