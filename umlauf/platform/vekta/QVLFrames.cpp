// Ranges of interleaved channels.

#include <algorithm>
#include <limits>

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLFrames.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"

#ifndef UMLAUF_QVL_FRAMES_ONCE
#define UMLAUF_QVL_FRAMES_ONCE
namespace QVL {
constexpr std::size_t kFrameChannels = 32;  // channels for which a row below has room
}
#endif

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

using Floats = hn::CappedTag<float, 8>;
constexpr size_t kRowVectors = 8;  // at least, so that a lane's turns are far enough apart

/// Ranges of the floats of a row, a whole number of frames, over `rows` rows.
struct Row {
  HWY_ALIGN float low[(kFrameChannels + kRowVectors) * hn::MaxLanes(Floats())];
  HWY_ALIGN float high[(kFrameChannels + kRowVectors) * hn::MaxLanes(Floats())];
};

HWY_INLINE void RangeOfRows(const float* x, size_t rows, size_t length, Row& row) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  std::fill_n(row.low, length, std::numeric_limits<float>::infinity());
  std::fill_n(row.high, length, -std::numeric_limits<float>::infinity());
  for (size_t r = 0; r < rows; ++r) {
    for (size_t at = 0; at < length; at += N, x += N) {
      const auto v = hn::LoadU(d, x);
      hn::Store(Lesser(v, hn::Load(d, row.low + at)), d, row.low + at);
      hn::Store(Greater(v, hn::Load(d, row.high + at)), d, row.high + at);
    }
  }
}

/// The same for a row of four to seven vectors, in registers.
template <size_t kVectors>
HWY_INLINE void RangeInRegisters(const float* x, size_t rows, Row& row) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  const auto infinity = hn::Set(d, std::numeric_limits<float>::infinity());
  auto low0 = infinity, low1 = low0, low2 = low0, low3 = low0, low4 = low0, low5 = low0, low6 = low0;
  auto high0 = hn::Neg(infinity), high1 = high0, high2 = high0, high3 = high0, high4 = high0, high5 = high0,
       high6 = high0;
  const auto each = [&](auto call) HWY_ATTR {
    call(size_t{0}, low0, high0);
    call(N, low1, high1);
    call(2 * N, low2, high2);
    call(3 * N, low3, high3);
    if constexpr (kVectors > 4) call(4 * N, low4, high4);
    if constexpr (kVectors > 5) call(5 * N, low5, high5);
    if constexpr (kVectors > 6) call(6 * N, low6, high6);
  };
  for (size_t r = 0; r < rows; ++r, x += kVectors * N) {
    each([&](size_t at, auto& low, auto& high) HWY_ATTR {
      const auto v = hn::LoadU(d, x + at);
      low = Lesser(v, low);
      high = Greater(v, high);
    });
  }
  each([&](size_t at, const auto& low, const auto& high) HWY_ATTR {
    hn::Store(low, d, row.low + at);
    hn::Store(high, d, row.high + at);
  });
}

/// Vectors of a row.
HWY_INLINE size_t VectorsOfRow(size_t lanes, size_t channels) {
  if (lanes % channels == 0) return 4;
  if (channels == 3) return 6;
  return channels > 4 && channels < 8 ? channels : (kRowVectors + channels - 1) / channels * channels;
}

void ExtendFrames(const float* x, size_t n, size_t channels, float* min, float* max) {
  const size_t N = hn::Lanes(Floats());
  const size_t vectors = VectorsOfRow(N, channels), length = N * vectors;
  const size_t rows = n * channels / length, end = rows * length;
  if (rows > 0) {
    Row row;
    switch (vectors) {
      case 4:
        RangeInRegisters<4>(x, rows, row);
        break;
      case 5:
        RangeInRegisters<5>(x, rows, row);
        break;
      case 6:
        RangeInRegisters<6>(x, rows, row);
        break;
      case 7:
        RangeInRegisters<7>(x, rows, row);
        break;
      default:
        RangeOfRows(x, rows, length, row);
    }
    for (size_t at = 0; at < length; at += channels) {
      for (size_t c = 0; c < channels; ++c) {
        if (row.low[at + c] < min[c]) min[c] = row.low[at + c];
        if (row.high[at + c] > max[c]) max[c] = row.high[at + c];
      }
    }
  }
  for (size_t i = end; i < n * channels; i += channels) {
    for (size_t c = 0; c < channels; ++c) {
      if (x[i + c] < min[c]) min[c] = x[i + c];
      if (x[i + c] > max[c]) max[c] = x[i + c];
    }
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(ExtendFrames);

void ExtendFrameMinMax(const float* frames, std::size_t n, std::size_t channels, float* min, float* max) {
  if (channels <= kFrameChannels) return HWY_DYNAMIC_DISPATCH(ExtendFrames)(frames, n, channels, min, max);
  for (std::size_t i = 0; i < n; ++i, frames += channels) {
    MinimizeVectors(min, frames, min, channels);
    MaximizeVectors(max, frames, max, channels);
  }
}

}  // namespace QVL
#endif
