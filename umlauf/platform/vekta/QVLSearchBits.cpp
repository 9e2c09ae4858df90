// Places of the bits in words.

#include <bit>

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLSearchBits.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

/// Four places at a time, whether there are so many or not: how many there are cannot be foretold, and what
/// is written in excess is written over.
size_t Places(const std::uint64_t* words, size_t n, std::uint16_t* places) {
  std::uint16_t* end = places;
  for (size_t word = 0; word < n; ++word) {
    std::uint64_t bits = words[word];
    if (bits == 0) continue;
    const auto found = static_cast<size_t>(std::popcount(bits));
    for (std::uint16_t* out = end; bits != 0; out += 4) {
      for (size_t k = 0; k < 4; ++k, bits &= bits - 1)
        out[k] = static_cast<std::uint16_t>(word * 64 + static_cast<size_t>(std::countr_zero(bits)));
    }
    end += found;
  }
  return static_cast<size_t>(end - places);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(Places);

std::size_t SetBits(const std::uint64_t* words, std::size_t n, std::uint16_t* places) {
  return HWY_DYNAMIC_DISPATCH(Places)(words, n, places);
}

}  // namespace QVL
#endif
