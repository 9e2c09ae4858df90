#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "umlauf/platform/framework/Types.h"

namespace umlauf::encoder {

/// Words that are looked at together: one bit each in a 64-bit number.
inline constexpr std::size_t kScanGroup = 64;

/// One bit a flag (0 or 1) of 64 bytes.
inline std::uint64_t PackFlags(const std::uint8_t (&flags)[kScanGroup]) {
  std::uint64_t bits = 0;
  for (std::size_t k = 0; k < kScanGroup; k += 8) {
    std::uint64_t eight;
    std::memcpy(&eight, flags + k, sizeof eight);
    // Moves byte b's flag to bit 56 + b; no two products meet in one bit.
    bits |= (eight * 0x0102040810204080u >> 56) << k;
  }
  return bits;
}

template <class Stride, class Marked, class Take>
inline void ScanWords(const ULONG* words, std::uint64_t count, Stride stride, ULONG before, Marked marked,
                      Take take) {
  std::uint64_t i = 0;
  const auto scanTo = [&](std::uint64_t end) {
    for (; i < end; ++i) {
      const ULONG word = words[i * stride];
      if (marked(word, before) != 0) take(i, word);
      before = word;
    }
  };
  if (count != 0) scanTo(1);
  // Without branches, for the compiler to take several words at a time: most groups hold nothing.
  for (; i + kScanGroup <= count; i += kScanGroup) {
    const ULONG* group = words + i * stride;
    const auto mark = [&](std::size_t k) {
      return marked(group[k * stride], *(group + k * stride - stride));
    };
    ULONG any = 0;
    for (std::size_t k = 0; k < kScanGroup; ++k) any |= mark(k);
    if (any == 0) continue;
    std::uint8_t flags[kScanGroup];
    for (std::size_t k = 0; k < kScanGroup; ++k) flags[k] = mark(k) != 0 ? 1 : 0;
    for (std::uint64_t bits = PackFlags(flags); bits != 0; bits &= bits - 1) {
      const auto k = static_cast<std::size_t>(std::countr_zero(bits));
      take(i + k, group[k * stride]);
    }
  }
  if (i != 0) before = words[(i - 1) * stride];
  scanTo(count);
}

/// Calls take(i, word) in order for each of `count` words, `stride` apart, for which marked(word, word
/// before) is not 0. `before` is the word before the first.
template <class Marked, class Take>
inline void ForEachMarked(const ULONG* words, std::uint64_t count, unsigned stride, ULONG before,
                          Marked marked, Take take) {
  // A distance known to the compiler lets it look at several words at a time.
  if (stride == 1) {
    ScanWords(words, count, std::integral_constant<std::size_t, 1>(), before, marked, take);
  } else {
    ScanWords(words, count, std::size_t{stride}, before, marked, take);
  }
}

}  // namespace umlauf::encoder
