// The loops that the kernels share, compiled once for every instruction set (no include guard but a toggle:
// see hwy/foreach_target.h). Nothing here reads or writes behind the n-th element: a rest that does not fill
// a vector is covered by one more vector that overlaps the one before, and inputs shorter than a vector go
// through vectors of half the length, down to a single lane.

#if defined(UMLAUF_QVL_LOOPS_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef UMLAUF_QVL_LOOPS_INL
#undef UMLAUF_QVL_LOOPS_INL
#else
#define UMLAUF_QVL_LOOPS_INL
#endif

#include <cstddef>

#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using std::size_t;

template <class D>
constexpr bool kCanHalve = hn::MaxLanes(D()) > 1;

/// a where it is strictly less than b, else b; thus b where one of them is NaN.
template <class V>
HWY_INLINE V Lesser(V a, V b) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR
  return hn::Min(a, b);  // this instruction has this very rule
#else
  return hn::IfThenElse(hn::Lt(a, b), a, b);
#endif
}

/// a where it is strictly greater than b, else b.
template <class V>
HWY_INLINE V Greater(V a, V b) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR
  return hn::Max(a, b);
#else
  return hn::IfThenElse(hn::Gt(a, b), a, b);
#endif
}

/// out[i] = op(d, in[i]...). The outputs may be the inputs: the overlapping last vector is computed before
/// the loop overwrites what it reads.
template <class D, class Op, class Out, class... In>
HWY_INLINE void Map(D d, Op op, size_t n, Out* out, const In*... in) {
  const size_t N = hn::Lanes(d);
  if (n < N) {
    if constexpr (kCanHalve<D>) {
      if (n > 0) Map(hn::Half<D>(), op, n, out, in...);
    }
    return;
  }
  const hn::Rebind<Out, D> dOut;
  const auto last = op(d, hn::LoadU(hn::Rebind<In, D>(), in + (n - N))...);
  for (size_t i = 0; i + N < n; i += N) {
    hn::StoreU(op(d, hn::LoadU(hn::Rebind<In, D>(), in + i)...), dOut, out + i);
  }
  hn::StoreU(last, dOut, out + (n - N));
}

/// Sum over what step adds to an accumulator: acc = step(d, acc, in[i]...). A step must add nothing for
/// inputs of 0.
template <class D, class Step, class... In>
HWY_INLINE float Accumulate(D d, Step step, size_t n, const In*... in) {
  const size_t N = hn::Lanes(d);
  if (n < N) {
    if constexpr (kCanHalve<D>) {
      if (n > 0) return Accumulate(hn::Half<D>(), step, n, in...);
    }
    return 0.0f;
  }
  auto sum0 = hn::Zero(d), sum1 = sum0, sum2 = sum0, sum3 = sum0;
  size_t i = 0;
  for (; i + 4 * N <= n; i += 4 * N) {
    sum0 = step(d, sum0, hn::LoadU(d, in + i)...);
    sum1 = step(d, sum1, hn::LoadU(d, in + i + N)...);
    sum2 = step(d, sum2, hn::LoadU(d, in + i + 2 * N)...);
    sum3 = step(d, sum3, hn::LoadU(d, in + i + 3 * N)...);
  }
  for (; i + N <= n; i += N) sum0 = step(d, sum0, hn::LoadU(d, in + i)...);
  if (i < n) {
    const auto summed = hn::FirstN(d, N - (n - i));
    sum1 = step(d, sum1, hn::IfThenZeroElse(summed, hn::LoadU(d, in + (n - N)))...);
  }
  return hn::GetLane(hn::SumOfLanes(d, hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3))));
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#endif
