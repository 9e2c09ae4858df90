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

/// Copies all lanes, whose outputs overlap no input. The lanes share cache lines, so they are copied piece by
/// piece: a piece of all lanes stays in the first-level cache, and memory is read and written once.
/// frameBytes: what one sample of every lane takes in the blocks that are read and written.
template <class T>
void Copy(std::span<const Lane<T>> all, std::uint64_t frameBytes) {
  constexpr std::uint64_t kPieceBytes = 16384, kLeast = 32;
  const std::uint64_t piece = std::max(kPieceBytes / std::max<std::uint64_t>(frameBytes, 1), kLeast);
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

}  // namespace lanes
