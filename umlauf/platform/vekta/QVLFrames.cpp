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

/// The same for a row of four vectors, in registers.
HWY_INLINE void RangeOfFours(const float* x, size_t rows, Row& row) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  const auto infinity = hn::Set(d, std::numeric_limits<float>::infinity());
  auto low0 = infinity, low1 = low0, low2 = low0, low3 = low0;
  auto high0 = hn::Neg(infinity), high1 = high0, high2 = high0, high3 = high0;
  const auto extend = [&](const float* at, auto& low, auto& high) HWY_ATTR {
    const auto v = hn::LoadU(d, at);
    low = Lesser(v, low);
    high = Greater(v, high);
  };
  for (size_t r = 0; r < rows; ++r, x += 4 * N) {
    extend(x, low0, high0);
    extend(x + N, low1, high1);
    extend(x + 2 * N, low2, high2);
    extend(x + 3 * N, low3, high3);
  }
  hn::Store(low0, d, row.low), hn::Store(high0, d, row.high);
  hn::Store(low1, d, row.low + N), hn::Store(high1, d, row.high + N);
  hn::Store(low2, d, row.low + 2 * N), hn::Store(high2, d, row.high + 2 * N);
  hn::Store(low3, d, row.low + 3 * N), hn::Store(high3, d, row.high + 3 * N);
}

void ExtendFrames(const float* x, size_t n, size_t channels, float* min, float* max) {
  const size_t N = hn::Lanes(Floats());
  const bool fours = N % channels == 0;
  const size_t length = N * (fours ? 4 : (kRowVectors + channels - 1) / channels * channels);
  const size_t rows = n * channels / length, end = rows * length;
  if (rows > 0) {
    Row row;
    fours ? RangeOfFours(x, rows, row) : RangeOfRows(x, rows, length, row);
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
