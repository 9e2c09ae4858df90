#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"

// Kernels of polyphase filters, for the layers that are built on them. Rules as in QVL.h.
namespace umlauf::vekta {

/// What the taps of a window are made of, with its row and its mix m (0 to 1): its row alone, or 1 - m times
/// it and m times the one behind it.
enum class TapMix : std::uint8_t { None, Linear };
/// Rows of filter taps: row r starts at data + r * stride. The stride is at least `taps`, rounded up to a
/// multiple of 8; what lies behind the taps of a row is 0 (it is read, whereas no sample is).
struct TapRows {
  const float* data;
  std::size_t stride, taps;
  TapMix mix = TapMix::None;
};
/// Channels one behind the other, each `stride` samples behind the one before.
struct TapPlanes {
  const float* x;
  std::size_t stride;
  unsigned channels;
};
/// One output of a run: the samples of a plane from number `in` on (it may be negative) times row `row`.
struct TapWindow {
  std::ptrdiff_t in;
  std::uint32_t row;
  float mix;
};
/// out[j * outStride + c] = scale * dot product of the samples of plane c in window j and its taps, for n
/// windows and all channels. A result depends on its samples, its taps and the processor, not on the other
/// windows and channels. Windows of one row are fastest side by side. The output does not overlap the input.
UMLAUF_API void DotProducts(float* out, std::size_t outStride, const TapWindow* windows, std::size_t n,
                            const TapPlanes& planes, const TapRows& rows, float scale);

/// Outputs that follow each other: the samples of a plane from number in[j] on, times the row that begins at
/// rows.data + row[j]; the mixes are read where rows are mixed.
struct TapPlaces {
  const std::int32_t* in;
  const std::uint32_t* row;
  const float* mix;
};
/// As DotProducts for `places`, faster for rows of few taps, with results of its own. Up to
/// kReadBehind samples behind a window are read, whatever they are, and change nothing.
UMLAUF_API void PlacedDotProducts(float* out, std::size_t outStride, const TapPlaces& places, std::size_t n,
                                  const TapPlanes& planes, const TapRows& rows, float scale);
inline constexpr std::size_t kReadBehind = 8;
/// Outputs a constant distance apart: the fraction of a sample at which the first one lies, the distance in
/// samples and fractions [2^-64], and the parts of a sample, each of which has its row, `rowLength` floats
/// behind the one before.
struct TapGrid {
  std::uint64_t part, stepWhole, stepPart;
  std::uint32_t phases, rowLength;
};
/// Sets the places of n outputs, from the sample number `in` of the first one on. The mix has 24 bits.
UMLAUF_API void PlaceTaps(const TapGrid& grid, std::int32_t in, std::size_t n, std::int32_t* inOf,
                          std::uint32_t* rowOf, float* mixOf);

/// A piece of a filter over samples that lie side by side: taps[d] times x[i + d], d < count, for output i.
struct FilterSpan {
  const float *x, *taps;
  std::size_t count;
};
/// Outputs that `Convolve` computes at once.
inline constexpr std::size_t kConvolved = 64;
/// out[i] = scale * sum of the spans, for i < n rounded up to a multiple of kConvolved: so much is written,
/// and samples are there for it. The spans have 1 tap or more. A result depends on its samples, the taps and
/// the processor, not on its place. The output does not overlap the input.
UMLAUF_API void Convolve(float* out, std::size_t n, const FilterSpan* spans, std::size_t spanCount,
                         float scale);

/// Outputs that have rows in turn: output a * period + b is window b, a * distance samples further on.
struct TapCycle {
  const TapWindow* windows;
  std::size_t period, distance;
};
inline constexpr std::size_t kLongestCycle = 16, kLongestDistance = 32, kMostCycledTaps = 256;
/// Whether a cycle is short enough for `CycledDotProducts`.
constexpr bool IsCycled(std::uint64_t period, std::uint64_t distance, std::size_t taps) {
  return period >= 1 && period <= kLongestCycle && distance >= 1 && distance <= kLongestDistance &&
         taps <= kMostCycledTaps;
}
/// As DotProducts for the first n outputs of a cycle; faster, but with sums in another order. Results depend
/// on the distance as well, not on n.
UMLAUF_API void CycledDotProducts(float* out, std::size_t outStride, const TapCycle& cycle, std::size_t n,
                                  const TapPlanes& planes, const TapRows& rows, float scale);

/// Has samples brought into the caches while other things are computed; any that are there already, or
/// nowhere, do no harm.
UMLAUF_API void FetchSamples(const float* x, std::size_t n);

}  // namespace umlauf::vekta
