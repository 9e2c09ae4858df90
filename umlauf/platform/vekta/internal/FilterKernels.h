#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"

// Kernels of polyphase filters, for the layers that are built on them. Rules as in QVL.h.
namespace umlauf::vekta {

/// Rows of filter taps: row r starts at data + r * stride. The stride is at least `taps`, rounded up to a
/// multiple of 16; what lies behind the taps of a row is 0 (it is read, whereas no sample is).
struct TapRows {
  const float* data;
  std::size_t stride, taps;
};
/// Channels one behind the other, each `stride` samples behind the one before.
struct TapPlanes {
  const float* x;
  std::size_t stride;
  unsigned channels;
};
/// One output of a run: the samples of a plane from number `in` on (it may be negative) times row `row`.
/// `mix` (0 to 1) is the share of the next row where rows are mixed.
struct TapWindow {
  std::ptrdiff_t in;
  std::uint32_t row;
  float mix;
};
/// out[j * outStride + c] = scale * dot product of the samples of plane c in window j and their row, for n
/// windows and all channels. A result depends on its samples, its row and the processor, not on the other
/// windows and channels. Windows of one row are fastest side by side. The output does not overlap the input.
UMLAUF_API void DotProducts(float* out, std::size_t outStride, const TapWindow* windows, std::size_t n,
                            const TapPlanes& planes, const TapRows& rows, float scale);
/// As DotProducts, between row `row` and the one behind it: (1 - mix) of the one plus mix of the other.
UMLAUF_API void MixedDotProducts(float* out, std::size_t outStride, const TapWindow* windows, std::size_t n,
                                 const TapPlanes& planes, const TapRows& rows, float scale);

}  // namespace umlauf::vekta
