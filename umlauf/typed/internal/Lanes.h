#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "umlauf/platform/vekta/QVL.h"

/// Strided copies of several channels at once.
namespace lanes {

/// One channel: out[i * outStride] = in[i * inStride] for i < n; strides at least 1.
template <class T>
struct Lane {
  T* out;
  std::uint64_t outStride;
  const T* in;
  std::uint64_t inStride;
  std::uint64_t n;
};

/// Places start, start + stride, ... that lie below size; stride at least 1.
constexpr std::uint64_t Fits(std::uint64_t size, std::uint64_t start, std::uint64_t stride) {
  return start < size ? (size - start - 1) / stride + 1 : 0;
}

/// Copies all lanes, whose outputs overlap neither an input nor each other. The lanes share cache lines, so
/// they are copied piece by piece: memory is read and written once. frameBytes: what one sample of every lane
/// takes in the blocks that are read and written.
template <class T>
void Copy(std::span<const Lane<T>> all, std::uint64_t frameBytes) {
  // Small pieces do best: far below the first-level cache, so that the lines of many channels with addresses
  // alike (blocks whose distance is a power of two) do not push each other out; at least a cache line a lane.
  constexpr std::uint64_t kPieceBytes = 4096, kLeast = 16;
  if (all.empty()) return;
  const std::uint64_t piece = std::max(kPieceBytes / frameBytes / kLeast, std::uint64_t{1}) * kLeast;
  std::uint64_t longest = 0;
  for (const Lane<T>& lane : all) longest = std::max(longest, lane.n);
  for (std::uint64_t at = 0; at < longest; at += piece) {
    for (const Lane<T>& lane : all) {
      if (at >= lane.n) continue;
      QVL::Interleave(lane.out + at * lane.outStride, lane.outStride, lane.in + at * lane.inStride,
                      lane.inStride, std::min(piece, lane.n - at));
    }
  }
}

/// Copies what all lanes have, which are just the channels of the mask of interleaved frames at out and in;
/// the lanes become the rest.
template <class T>
void CopyTogether(std::span<Lane<T>> all, T* out, const T* in, std::uint32_t mask) {
  std::uint64_t common = all.front().n;
  for (const Lane<T>& lane : all) common = std::min(common, lane.n);
  QVL::CopyChannels(out, all.front().outStride, in, all.front().inStride, mask, common);
  for (Lane<T>& lane : all) {
    lane.n -= common;
    if (lane.n > 0) lane.out += common * lane.outStride, lane.in += common * lane.inStride;
  }
}

/// Copies samples[c] samples of every interleaved channel of `in` to out[c].
inline void Split(float* const* out, const std::uint64_t* samples, const float* in, unsigned channels) {
  if (channels == 0) return;
  const std::uint64_t common = *std::min_element(samples, samples + channels);
  QVL::Deinterleave(out, in, channels, common);
  for (unsigned c = 0; c < channels; ++c) {
    if (samples[c] == common) continue;
    QVL::Interleave(out[c] + common, 1, in + common * channels + c, channels, samples[c] - common);
  }
}

/// The inverse of Split.
inline void Join(float* out, const float* const* in, const std::uint64_t* samples, unsigned channels) {
  if (channels == 0) return;
  const std::uint64_t common = *std::min_element(samples, samples + channels);
  QVL::Interleave(out, in, channels, common);
  for (unsigned c = 0; c < channels; ++c) {
    if (samples[c] == common) continue;
    QVL::Interleave(out + common * channels + c, channels, in[c] + common, 1, samples[c] - common);
  }
}

}  // namespace lanes
