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

// Products and sums round separately, so that every processor gives the same.
template <class D>
struct Complex {
  hn::Vec<D> re, im;

  HWY_INLINE Complex(hn::Vec<D> real, hn::Vec<D> imaginary) : re(real), im(imaginary) {}
  HWY_INLINE Complex(D d, const float* from) { hn::LoadInterleaved2(d, from, re, im); }
  HWY_INLINE void Store(D d, float* to) const { hn::StoreInterleaved2(re, im, d, to); }
  HWY_INLINE Complex operator+(const Complex& b) const { return {hn::Add(re, b.re), hn::Add(im, b.im)}; }
  HWY_INLINE Complex operator-(const Complex& b) const { return {hn::Sub(re, b.re), hn::Sub(im, b.im)}; }
  HWY_INLINE Complex operator*(const Complex& b) const {
    return {hn::Sub(hn::Mul(re, b.re), hn::Mul(im, b.im)), hn::Add(hn::Mul(re, b.im), hn::Mul(im, b.re))};
  }
  HWY_INLINE Complex TimesMinusJ() const { return {im, hn::Neg(re)}; }
};

template <class D>
HWY_INLINE void CombineAt(D d, float* x, const float* twiddles, size_t n, size_t k) {
  using C = Complex<D>;
  const C a(d, x + 2 * k);
  const C b = C(d, x + 2 * (n + k)) * C(d, twiddles + 2 * k);
  const C c = C(d, x + 2 * (2 * n + k)) * C(d, twiddles + 2 * (n + k));
  const C e = C(d, x + 2 * (3 * n + k)) * C(d, twiddles + 2 * (2 * n + k));
  const C even = a + c, odd = a - c, sum = b + e, turned = (b - e).TimesMinusJ();
  (even + sum).Store(d, x + 2 * k);
  (odd + turned).Store(d, x + 2 * (n + k));
  (even - sum).Store(d, x + 2 * (2 * n + k));
  (odd - turned).Store(d, x + 2 * (3 * n + k));
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
  using C = Complex<D>;
  const size_t mirror = n - k - (hn::Lanes(d) - 1);
  const auto half = hn::Set(d, 0.5f);
  const C a(d, z + 2 * k), m(d, z + 2 * mirror);
  const C b(hn::Reverse(d, m.re), hn::Neg(hn::Reverse(d, m.im)));
  const C sum = a + b, turned = (a - b) * C(d, twiddles + 2 * k);
  const C up = sum + turned, down = sum - turned;
  C(hn::Mul(half, up.re), hn::Mul(half, up.im)).Store(d, out + 2 * k);
  C(hn::Reverse(d, hn::Mul(half, down.re)), hn::Reverse(d, hn::Neg(hn::Mul(half, down.im))))
      .Store(d, out + 2 * mirror);
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
