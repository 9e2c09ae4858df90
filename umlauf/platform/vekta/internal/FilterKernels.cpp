// Runs of dot products for polyphase filters.

#include "umlauf/platform/vekta/internal/FilterKernels.h"

#include <algorithm>
#include <array>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/internal/FilterKernels.cpp"
#include "hwy/foreach_target.h"
// Follows the target.
#include "hwy/highway.h"
#include "umlauf/platform/vekta/internal/DotGroups-inl.h"

HWY_BEFORE_NAMESPACE();
namespace umlauf::vekta {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

/// Four results: products of windows and rows, mixed where rows are mixed, times scale.
template <TapMix kMix>
HWY_INLINE void DotFour(const Group& x, const Group& row, const float* mix, const TapRows& rows, float scale,
                        float* out, size_t stride) {
  const bool oneRow = row[0] == row[1] && row[0] == row[2] && row[0] == row[3];
  const hn::CappedTag<float, 4> d;
  HWY_ALIGN float sums[4];
  if constexpr (kMix != TapMix::None) {
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
template <TapMix kMix>
HWY_NOINLINE void DotWindows(float* out, size_t stride, const TapWindow* windows, size_t n,
                             const TapPlanes& planes, const TapRows& rows, float scale) {
  Group x, row;
  HWY_ALIGN float mix[4] = {};
  const size_t results = n * planes.channels;
  size_t done = 0, channel = 0;
  const auto take = [&](size_t w) HWY_ATTR {
    x[w] = planes.x + windows->in + channel * planes.stride;
    row[w] = rows.data + windows->row * rows.stride;
    if constexpr (kMix != TapMix::None) mix[w] = windows->mix;
    if (++channel == planes.channels) {
      channel = 0;
      ++windows;
    }
  };
  for (; done + 4 <= results; done += 4) {
    for (size_t w = 0; w < 4; ++w) take(w);
    DotFour<kMix>(x, row, mix, rows, scale, out + done * stride, stride);
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
  DotFour<kMix>(x, row, mix, rows, scale, last, 1);
  for (size_t w = 0; w < rest; ++w) out[(done + w) * stride] = last[w];
}

/// The same for one plane, without what is needed to go through several.
template <TapMix kMix>
HWY_INLINE void DotPlane(float* out, size_t stride, const TapWindow* windows, size_t n,
                         const TapPlanes& planes, const TapRows& table, float scale) {
  const TapRows rows = table;
  const float* const samples = planes.x;
  for (; n >= 4; n -= 4, windows += 4, out += 4 * stride) {
    const auto x = [&](size_t w) { return samples + windows[w].in; };
    const auto row = [&](size_t w) { return rows.data + windows[w].row * rows.stride; };
    const float mix[4] = {windows[0].mix, windows[1].mix, windows[2].mix, windows[3].mix};
    DotFour<kMix>({x(0), x(1), x(2), x(3)}, {row(0), row(1), row(2), row(3)}, mix, rows, scale, out, stride);
  }
  DotWindows<kMix>(out, stride, windows, n, planes, rows, scale);
}

template <TapMix kMix>
HWY_INLINE void DotAll(float* out, size_t stride, const TapWindow* windows, size_t n, const TapPlanes& planes,
                       const TapRows& rows, float scale) {
  planes.channels == 1 ? DotPlane<kMix>(out, stride, windows, n, planes, rows, scale)
                       : DotWindows<kMix>(out, stride, windows, n, planes, rows, scale);
}

void DotRows(float* out, size_t stride, const TapWindow* windows, size_t n, const TapPlanes& planes,
             const TapRows& rows, float scale) {
  rows.mix == TapMix::None ? DotAll<TapMix::None>(out, stride, windows, n, planes, rows, scale)
                           : DotAll<TapMix::Linear>(out, stride, windows, n, planes, rows, scale);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace umlauf::vekta
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace umlauf::vekta {

HWY_EXPORT(DotRows);

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
  const auto kernel = HWY_DYNAMIC_DISPATCH(DotRows);
  DotFrames(out, outStride, windows, n, planes, [&](auto... run) { kernel(run..., rows, scale); });
}

}  // namespace umlauf::vekta
#endif
