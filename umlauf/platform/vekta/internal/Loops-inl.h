// The loops that the kernels share, compiled once for every instruction set (no include guard but a toggle:
// see hwy/foreach_target.h). Nothing here reads or writes behind the n-th element: a rest that does not fill
// a vector is covered by one more vector that overlaps the one before, and inputs shorter than a vector go
// through shorter vectors, down to a single lane.

#if defined(UMLAUF_QVL_LOOPS_INL) == defined(HWY_TARGET_TOGGLE)
#ifdef UMLAUF_QVL_LOOPS_INL
#undef UMLAUF_QVL_LOOPS_INL
#else
#define UMLAUF_QVL_LOOPS_INL
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "hwy/cache_control.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using std::size_t;

template <class D>
constexpr bool kCanHalve = hn::MaxLanes(D()) > 1;

/// At most half the lanes, down to a single one. Half of a vector of scalable length is not that: it is a
/// share of a length that is known at run time only, so that a number of halvings ends above one lane or with
/// none at all.
template <class D>
using Shorter = hn::CappedTag<hn::TFromD<D>, (hn::MaxLanes(D()) + 1) / 2>;

/// Whether results bypass the caches: where a call passes over more memory than they hold, a line need not be
/// read before it is overwritten, which is a third of the traffic of a copy. Below, the caches win.
constexpr bool IsStreamed(size_t bytes) { return bytes >= size_t{64} << 20; }

/// Elements in front of the first address that a streamed vector can go to.
template <class D, class T>
HWY_INLINE size_t UntilAligned(D d, const T* out) {
  const size_t bytes = hn::Lanes(d) * sizeof(T);
  return (bytes - reinterpret_cast<std::uintptr_t>(out) % bytes) % bytes / sizeof(T);
}

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
      if (n > 0) Map(Shorter<D>(), op, n, out, in...);
    }
    return;
  }
  const hn::Rebind<Out, D> dOut;
  const auto result = [&](size_t i) HWY_ATTR {
    static_cast<void>(i);  // for an op without inputs
    return op(d, hn::LoadU(hn::Rebind<In, D>(), in + i)...);
  };
  const auto last = result(n - N);
  size_t i = 0;
  if constexpr (sizeof(Out) == sizeof(float)) {
    const bool inPlace = ((static_cast<const void*>(in) == out) || ...);
    if (!inPlace && IsStreamed(n * (sizeof(Out) + ... + sizeof(In)))) {
      hn::StoreU(result(0), dOut, out);
      for (i = UntilAligned(dOut, out); i + N < n; i += N) hn::Stream(result(i), dOut, out + i);
      hwy::FlushStream();
    }
  }
  for (; i + N < n; i += N) hn::StoreU(result(i), dOut, out + i);
  hn::StoreU(last, dOut, out + (n - N));
}

/// A part of a walk over many elements that takes four vectors a step: at j, j + gap, j + 2 gap, j + 3 gap
/// for j from where it begins to `end` by `step`. The part behind it begins at `next`.
struct Part {
  size_t end, step, gap, next;
};

/// The part that begins at element i of n, of which at least four vectors of N lanes remain. While much
/// remains it walks at four distant places at once: memory delivers more to several streams than to one,
/// which waits at every page. Sums over single parts stay short, so that a sum of millions loses no more
/// digits than one of thousands.
HWY_INLINE Part NextPart(size_t i, size_t n, size_t N) {
  constexpr size_t distant = 16384;
  if (n - i >= 4 * distant) return {i + distant, N, distant, i + 4 * distant};
  const size_t end = n - (n - i) % (4 * N);
  return {end, 4 * N, N, end};
}

/// Sum over what step adds to an accumulator: acc = step(d, acc, in[i]...). A step must add nothing for
/// inputs of 0.
template <class D, class Step, class... In>
HWY_INLINE float Accumulate(D d, Step step, size_t n, const In*... in) {
  const size_t N = hn::Lanes(d);
  if (n < N) {
    if constexpr (kCanHalve<D>) {
      if (n > 0) return Accumulate(Shorter<D>(), step, n, in...);
    }
    return 0.0f;
  }
  auto total = hn::Zero(d);
  size_t i = 0;
  while (n - i >= 4 * N) {
    auto sum0 = hn::Zero(d), sum1 = sum0, sum2 = sum0, sum3 = sum0;
    const Part part = NextPart(i, n, N);
    for (size_t j = i; j < part.end; j += part.step) {
      sum0 = step(d, sum0, hn::LoadU(d, in + j)...);
      sum1 = step(d, sum1, hn::LoadU(d, in + j + part.gap)...);
      sum2 = step(d, sum2, hn::LoadU(d, in + j + 2 * part.gap)...);
      sum3 = step(d, sum3, hn::LoadU(d, in + j + 3 * part.gap)...);
    }
    i = part.next;
    total = hn::Add(total, hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3)));
  }
  for (; i + N <= n; i += N) total = step(d, total, hn::LoadU(d, in + i)...);
  if (i < n) {
    const auto summed = hn::FirstN(d, N - (n - i));
    total = step(d, total, hn::IfThenZeroElse(summed, hn::LoadU(d, in + (n - N)))...);
  }
  return hn::GetLane(hn::SumOfLanes(d, total));
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#endif
