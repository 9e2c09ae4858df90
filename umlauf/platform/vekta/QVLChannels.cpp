// Splitting, joining and masked copies of interleaved channels. Channels are split and joined tile by tile:
// the sixteen frames of a tile give one cache line to every channel, whatever number of channels there is.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <iterator>

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLChannels.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"
#include "umlauf/platform/vekta/internal/Strided-inl.h"

#ifndef UMLAUF_QVL_CHANNELS_ONCE
#define UMLAUF_QVL_CHANNELS_ONCE
namespace QVL {
constexpr std::size_t kTile = 16;            // frames of a tile: the floats of a cache line
constexpr std::size_t kStagedChannels = 64;  // channels for which a staged tile has room
constexpr unsigned kMaskBits = 32;

inline bool IsOnLine(const float* p) {
  return reinterpret_cast<std::uintptr_t>(p) % (kTile * sizeof(float)) == 0;
}
}  // namespace QVL
#endif

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

constexpr bool kHasTiles = HWY_TARGET != HWY_SCALAR && !HWY_HAVE_SCALABLE;

#if HWY_TARGET != HWY_SCALAR && !HWY_HAVE_SCALABLE
using Floats = hn::CappedTag<float, kTile>;
using Vector = hn::Vec<Floats>;

// A block is 128 bits, here four channels of a frame. A vector holds the blocks of every fourth frame, so
// that a transposition within blocks leaves vectors of successive frames.

template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const float* in, size_t pitch) {
  if constexpr (hn::MaxLanes(d) == 4) {
    return hn::LoadU(d, in);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, LoadBlocks(half, in + hn::MaxLanes(half) * pitch, pitch),
                       LoadBlocks(half, in, pitch));
  }
}

template <class D>
HWY_INLINE void StoreBlocks(D d, hn::Vec<D> v, float* out, size_t pitch) {
  if constexpr (hn::MaxLanes(d) == 4) {
    hn::StoreU(v, d, out);
  } else {
    const hn::Half<D> half;
    StoreBlocks(half, hn::LowerHalf(half, v), out, pitch);
    StoreBlocks(half, hn::UpperHalf(half, v), out + hn::MaxLanes(half) * pitch, pitch);
  }
}

/// Transposes the 4 x 4 floats of every block; it is its own inverse.
HWY_INLINE void TransposeBlocks(Vector& a, Vector& b, Vector& c, Vector& e) {
  const Floats d;
  const Vector ac0 = hn::InterleaveLower(d, a, c), ac1 = hn::InterleaveUpper(d, a, c);
  const Vector be0 = hn::InterleaveLower(d, b, e), be1 = hn::InterleaveUpper(d, b, e);
  a = hn::InterleaveLower(d, ac0, be0), b = hn::InterleaveUpper(d, ac0, be0);
  c = hn::InterleaveLower(d, ac1, be1), e = hn::InterleaveUpper(d, ac1, be1);
}

/// Calls quad(c) for groups of four channels from c on; the last one overlaps the one before where need be.
template <class Quad>
HWY_INLINE void ForQuads(size_t channels, Quad quad) {
  for (size_t c = 0; c + 4 <= channels; c += 4) quad(c);
  if (channels % 4 != 0) quad(channels - 4);
}

/// out[c][at + i] = in[i * channels + c] for i < frames, whole tiles.
HWY_INLINE void SplitFrames(float* const* out, size_t at, const float* in, size_t channels, size_t frames) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  const auto channel = [&](size_t c) { return out[c < channels ? c : 0] + at; };
  float *const out0 = channel(0), *const out1 = channel(1), *const out2 = channel(2);
  for (size_t i = 0; channels == 1 && i < frames; i += N) hn::StoreU(hn::LoadU(d, in + i), d, out0 + i);
  for (size_t i = 0; channels == 2 && i < frames; i += N) {
    Vector a, b;
    hn::LoadInterleaved2(d, in + 2 * i, a, b);
    hn::StoreU(a, d, out0 + i), hn::StoreU(b, d, out1 + i);
  }
  for (size_t i = 0; channels == 3 && i < frames; i += N) {
    Vector a, b, c;
    hn::LoadInterleaved3(d, in + 3 * i, a, b, c);
    hn::StoreU(a, d, out0 + i), hn::StoreU(b, d, out1 + i), hn::StoreU(c, d, out2 + i);
  }
  if (channels < 4) return;
  ForQuads(channels, [&](size_t c) HWY_ATTR {
    float *const a = out[c] + at, *const b = out[c + 1] + at, *const e = out[c + 2] + at,
                 *const f = out[c + 3] + at;
    for (size_t i = 0; i < frames; i += N) {
      const float* const quad = in + i * channels + c;
      Vector v0 = LoadBlocks(d, quad, channels), v1 = LoadBlocks(d, quad + channels, channels);
      Vector v2 = LoadBlocks(d, quad + 2 * channels, channels);
      Vector v3 = LoadBlocks(d, quad + 3 * channels, channels);
      TransposeBlocks(v0, v1, v2, v3);
      hn::StoreU(v0, d, a + i), hn::StoreU(v1, d, b + i), hn::StoreU(v2, d, e + i), hn::StoreU(v3, d, f + i);
    }
  });
}

/// out[i * channels + c] = in[c][at + i] for i < frames, whole tiles.
HWY_INLINE void JoinFrames(float* out, const float* const* in, size_t at, size_t channels, size_t frames) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  const auto channel = [&](size_t c) { return in[c < channels ? c : 0] + at; };
  const float *const in0 = channel(0), *const in1 = channel(1), *const in2 = channel(2);
  for (size_t i = 0; channels == 1 && i < frames; i += N) hn::StoreU(hn::LoadU(d, in0 + i), d, out + i);
  for (size_t i = 0; channels == 2 && i < frames; i += N) {
    hn::StoreInterleaved2(hn::LoadU(d, in0 + i), hn::LoadU(d, in1 + i), d, out + 2 * i);
  }
  for (size_t i = 0; channels == 3 && i < frames; i += N) {
    hn::StoreInterleaved3(hn::LoadU(d, in0 + i), hn::LoadU(d, in1 + i), hn::LoadU(d, in2 + i), d,
                          out + 3 * i);
  }
  if (channels < 4) return;
  ForQuads(channels, [&](size_t c) HWY_ATTR {
    const float *const a = in[c] + at, *const b = in[c + 1] + at, *const e = in[c + 2] + at,
                       *const f = in[c + 3] + at;
    for (size_t i = 0; i < frames; i += N) {
      Vector v0 = hn::LoadU(d, a + i), v1 = hn::LoadU(d, b + i), v2 = hn::LoadU(d, e + i),
             v3 = hn::LoadU(d, f + i);
      TransposeBlocks(v0, v1, v2, v3);
      float* const quad = out + i * channels + c;
      StoreBlocks(d, v0, quad, channels), StoreBlocks(d, v1, quad + channels, channels);
      StoreBlocks(d, v2, quad + 2 * channels, channels), StoreBlocks(d, v3, quad + 3 * channels, channels);
    }
  });
}

/// Whether the first-level cache holds what is read and written: then it is done in one go. Tile by tile only
/// pays where lines come from afar.
HWY_INLINE bool IsNear(size_t channels, size_t tiles) {
  return 2 * tiles * kTile * channels * sizeof(float) <= size_t{32} << 10;
}

/// A copy that bypasses the caches, of whole cache lines: that is what the memory takes at once.
HWY_INLINE void StreamLine(float* out, const float* in) {
  const Floats d;
  for (size_t i = 0; i < kTile; i += hn::Lanes(d)) hn::Stream(hn::Load(d, in + i), d, out + i);
}

void SplitTiles(float* const* out, const float* in, size_t channels, size_t tiles) {
  if (channels == 0) return;
  if (IsNear(channels, tiles)) return SplitFrames(out, 0, in, channels, tiles * kTile);
  constexpr size_t ahead = 2;  // tiles
  HWY_ALIGN float stage[kStagedChannels * kTile];
  float* staged[kStagedChannels];
  const bool streamed = channels <= kStagedChannels &&
                        IsStreamed(2 * tiles * kTile * channels * sizeof(float)) &&
                        std::all_of(out, out + channels, IsOnLine);
  for (size_t c = 0; streamed && c < channels; ++c) staged[c] = stage + c * kTile;
  for (size_t t = 0; t < tiles; ++t) {
    const size_t at = t * kTile;
    const float* const tile = in + at * channels;
    for (size_t line = 0; t + ahead < tiles && line < channels; ++line) {
      hwy::Prefetch(tile + (ahead * channels + line) * kTile);
    }
    SplitFrames(streamed ? staged : out, streamed ? 0 : at, tile, channels, kTile);
    for (size_t c = 0; streamed && c < channels; ++c) StreamLine(out[c] + at, staged[c]);
  }
  if (streamed) hwy::FlushStream();
}

void JoinTiles(float* out, const float* const* in, size_t channels, size_t tiles) {
  if (channels == 0) return;
  if (IsNear(channels, tiles)) return JoinFrames(out, in, 0, channels, tiles * kTile);
  constexpr size_t ahead = 16;  // tiles
  HWY_ALIGN float stage[kStagedChannels * kTile];
  const bool streamed = channels <= kStagedChannels &&
                        IsStreamed(2 * tiles * kTile * channels * sizeof(float)) && IsOnLine(out);
  for (size_t t = 0; t < tiles; ++t) {
    const size_t at = t * kTile;
    float* const tile = out + at * channels;
    for (size_t c = 0; t + ahead < tiles && c < channels; ++c) hwy::Prefetch(in[c] + at + ahead * kTile);
    JoinFrames(streamed ? stage : tile, in, at, channels, kTile);
    for (size_t c = 0; streamed && c < channels; ++c) StreamLine(tile + c * kTile, stage + c * kTile);
  }
  if (streamed) hwy::FlushStream();
}
#else
void SplitTiles(float* const*, const float*, size_t, size_t) {}
void JoinTiles(float*, const float* const*, size_t, size_t) {}
#endif

void SplitChannels(float* const* out, const float* in, size_t channels, size_t frames) {
  const size_t tiles = kHasTiles ? frames / kTile : 0;
  SplitTiles(out, in, channels, tiles);
  for (size_t i = tiles * kTile; i < frames; ++i) {
    for (size_t c = 0; c < channels; ++c) out[c][i] = in[i * channels + c];
  }
}

void JoinChannels(float* out, const float* const* in, size_t channels, size_t frames) {
  const size_t tiles = kHasTiles ? frames / kTile : 0;
  JoinTiles(out, in, channels, tiles);
  for (size_t i = tiles * kTile; i < frames; ++i) {
    for (size_t c = 0; c < channels; ++c) out[i * channels + c] = in[c][i];
  }
}

/// The frames from which vectors of `lanes` elements stay in front of the end of n frames whose last element
/// is number width - 1 of the last one.
HWY_INLINE size_t WholeFrames(size_t n, size_t stride, size_t width, size_t lanes) {
  const size_t last = (lanes - width + stride - 1) / stride;  // frames that reach beyond
  return n > last ? n - last : 0;
}

template <class T>
HWY_INLINE void CopyMasked(T* out, size_t outStride, const T* in, size_t inStride, std::uint32_t mask,
                           size_t n) {
  const hn::CappedTag<T, 16> d;
  const hn::RebindToSigned<decltype(d)> signedTag;
  using Signed = hn::TFromD<decltype(signedTag)>;
  HWY_ALIGN Signed selected[kMaskBits + hn::MaxLanes(d)];
  for (size_t c = 0; c < std::size(selected); ++c)
    selected[c] = c < kMaskBits && (mask >> c & 1u) != 0 ? -1 : 0;
  const size_t N = hn::Lanes(d), width = static_cast<size_t>(std::bit_width(mask));
  const size_t lanes = (width + N - 1) / N * N;
  const size_t whole =
      std::min(WholeFrames(n, inStride, width, lanes), WholeFrames(n, outStride, width, lanes));
  for (size_t i = 0; i < whole; ++i) {
    for (size_t c = 0; c < lanes; c += N) {
      const auto wanted = hn::RebindMask(d, hn::MaskFromVec(hn::Load(signedTag, selected + c)));
      hn::BlendedStore(hn::LoadU(d, in + i * inStride + c), wanted, d, out + i * outStride + c);
    }
  }
  for (size_t i = whole; i < n; ++i) {
    for (size_t c = 0; c < width; ++c) {
      if (selected[c] != 0) out[i * outStride + c] = in[i * inStride + c];
    }
  }
}

void CopyMaskedFloats(float* out, size_t outStride, const float* in, size_t inStride, std::uint32_t mask,
                      size_t n) {
  CopyMasked(out, outStride, in, inStride, mask, n);
}
void CopyMaskedWords(std::int32_t* out, size_t outStride, const std::int32_t* in, size_t inStride,
                     std::uint32_t mask, size_t n) {
  CopyMasked(out, outStride, in, inStride, mask, n);
}
void CopyMaskedShorts(std::int16_t* out, size_t outStride, const std::int16_t* in, size_t inStride,
                      std::uint32_t mask, size_t n) {
  CopyMasked(out, outStride, in, inStride, mask, n);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(SplitChannels);
HWY_EXPORT(JoinChannels);
HWY_EXPORT(CopyMaskedFloats);
HWY_EXPORT(CopyMaskedWords);
HWY_EXPORT(CopyMaskedShorts);

void Deinterleave(float* const* out, const float* in, std::size_t channels, std::size_t frames) {
  HWY_DYNAMIC_DISPATCH(SplitChannels)(out, in, channels, frames);
}
void Interleave(float* out, const float* const* in, std::size_t channels, std::size_t frames) {
  HWY_DYNAMIC_DISPATCH(JoinChannels)(out, in, channels, frames);
}

void CopyChannels(float* out, std::size_t outStride, const float* in, std::size_t inStride,
                  std::uint32_t mask, std::size_t frames) {
  HWY_DYNAMIC_DISPATCH(CopyMaskedFloats)(out, outStride, in, inStride, mask, frames);
}
void CopyChannels(std::int32_t* out, std::size_t outStride, const std::int32_t* in, std::size_t inStride,
                  std::uint32_t mask, std::size_t frames) {
  HWY_DYNAMIC_DISPATCH(CopyMaskedWords)(out, outStride, in, inStride, mask, frames);
}
void CopyChannels(std::uint32_t* out, std::size_t outStride, const std::uint32_t* in, std::size_t inStride,
                  std::uint32_t mask, std::size_t frames) {
  CopyChannels(reinterpret_cast<std::int32_t*>(out), outStride, reinterpret_cast<const std::int32_t*>(in),
               inStride, mask, frames);
}
void CopyChannels(std::int16_t* out, std::size_t outStride, const std::int16_t* in, std::size_t inStride,
                  std::uint32_t mask, std::size_t frames) {
  HWY_DYNAMIC_DISPATCH(CopyMaskedShorts)(out, outStride, in, inStride, mask, frames);
}

}  // namespace QVL
#endif
