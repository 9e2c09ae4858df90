#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "umlauf/platform/framework/Types.h"
#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::encoder {

/// Words that are looked at together.
inline constexpr std::size_t kScanned = 2048;

/// Places of marked words among those that were looked at, in order; with the room that a search needs.
struct WordMarks {
  std::size_t count;
  std::array<std::uint32_t, kScanned + 16> place;
};

/// Copies the marked words out of words that lie `stride` apart. Where marks are dense, the words behind
/// those that were looked at are wanted later than the processor expects, so each access fetches them, too.
/// They need not be there.
inline void CopyMarked(const ULONG* words, std::size_t stride, const WordMarks& marks, ULONG* out) {
  const std::size_t ahead = marks.count * 64 > kScanned ? kScanned * stride * sizeof *words : 0;
  for (std::size_t k = 0; k < marks.count; ++k) {
    const ULONG* const word = words + marks.place[k] * stride;
#ifdef __GNUC__
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(word) + ahead));
#endif
    out[k] = *word;
  }
}

/// Marks words that differ under the mask from the one before, the first one from `before`; n <= kScanned.
inline void MarkChanges(const ULONG* words, std::size_t n, std::size_t stride, ULONG before, ULONG mask,
                        WordMarks& marks) {
  const bool first = ((*words ^ before) & mask) != 0;
  marks.count = first ? 1 : 0;
  marks.place[0] = 0;
  std::uint32_t* const places = marks.place.data() + marks.count;
  const std::size_t changes = QVL::FindChanges(words + stride, n - 1, stride, mask, places);
  for (std::size_t k = 0; k < changes; ++k) ++places[k];  // they count from the second word
  marks.count += changes;
}

}  // namespace umlauf::encoder
