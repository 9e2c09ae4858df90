// The places of words that match a pattern, or that differ from the one before.

#include <bit>
#include <cstring>
#include <type_traits>

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLSearchPlaces.cpp"
#include "hwy/foreach_target.h"
// The strided loads follow the target.
#include "umlauf/platform/vekta/internal/Strided-inl.h"

// Where the processor moves the marked elements of a vector together by itself; else their bits are walked.
#undef UMLAUF_QVL_COMPRESSES
#if (HWY_ARCH_ARM_A64 && HWY_TARGET != HWY_NEON) || (HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3)
#define UMLAUF_QVL_COMPRESSES 1
#else
#define UMLAUF_QVL_COMPRESSES 0
#endif

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

using Word = std::uint32_t;

HWY_INLINE Word LoadWord(const Word* word) {
  Word value;
  std::memcpy(&value, word, sizeof value);  // the memory may be that of floats
  return value;
}

/// Marks words with (word & mask) == pattern, or those without.
template <bool kWanted>
struct Matches {
  Word mask, pattern;
  HWY_INLINE bool One(const Word* word, size_t) const {
    return ((LoadWord(word) & mask) == pattern) == kWanted;
  }
#if HWY_TARGET != HWY_SCALAR
  template <size_t kStride, class D>
  HWY_INLINE hn::Mask<D> Vector(D d, const Word* words) const {
    const auto bits = hn::And(LoadEvery<kStride>(d, words), hn::Set(d, mask));
    return kWanted ? hn::Eq(bits, hn::Set(d, pattern)) : hn::Ne(bits, hn::Set(d, pattern));
  }
#endif
};

/// Marks words that differ under the mask from the one before.
struct Changes {
  Word mask;
  HWY_INLINE bool One(const Word* word, size_t stride) const {
    return ((LoadWord(word) ^ LoadWord(word - stride)) & mask) != 0;
  }
#if HWY_TARGET != HWY_SCALAR
  template <size_t kStride, class D>
  HWY_INLINE hn::Mask<D> Vector(D d, const Word* words) const {
    const auto changed = hn::Xor(LoadEvery<kStride>(d, words), LoadEvery<kStride>(d, words - kStride));
    return hn::Ne(hn::And(changed, hn::Set(d, mask)), hn::Zero(d));
  }
#endif
};

/// Writes the places of elements from i up to n behind the `count` that are there; returns their number.
template <class Marked>
HWY_INLINE size_t PlacesPlainly(const Word* words, size_t i, size_t n, size_t stride, Marked marked,
                                Word* places, size_t count) {
  for (; i < n; ++i) {
    places[count] = static_cast<Word>(i);  // written over, unless it counts
    count += marked.One(words + i * stride, stride) ? 1 : 0;
  }
  return count;
}

#if HWY_TARGET != HWY_SCALAR
/// The bits of four vectors.
using GroupBits = std::conditional_t<UMLAUF_QVL_COMPRESSES, std::uint64_t, Word>;

/// Bit k for element k, of at most 8 or 16.
template <class D>
HWY_INLINE GroupBits Bits(D d, hn::Mask<D> mask) {
  static_assert(hn::MaxLanes(D()) <= 2 * sizeof(GroupBits));
  std::uint8_t bytes[sizeof(GroupBits) / 4] = {};
  hn::StoreMaskBits(d, mask, bytes);
  GroupBits bits = bytes[0];
  if constexpr (sizeof bytes > 1) bits |= GroupBits{bytes[1]} << 8;
  return bits;
}

/// Writes the places `first` + k of the bits k that are set, four at a time, as their number cannot be
/// foretold.
HWY_INLINE size_t PlacesOfBits(GroupBits bits, Word first, Word* places, size_t count) {
  const auto found = static_cast<size_t>(std::popcount(bits));
  for (Word* out = places + count; bits != 0; out += 4) {
    for (size_t k = 0; k < 4; ++k, bits &= bits - 1)
      out[k] = first + static_cast<Word>(std::countr_zero(bits));
  }
  return count + found;
}
#endif

#if HWY_TARGET != HWY_SCALAR && UMLAUF_QVL_COMPRESSES
/// Writes those of a vector's numbers that are marked; returns how many. What follows them is written over.
template <class D>
HWY_INLINE size_t PutMarked(D d, hn::Vec<D> numbers, hn::Mask<D> mask, Word* places) {
  hn::StoreU(hn::Compress(numbers, mask), d, places);
  return hn::CountTrue(d, mask);
}
#endif

template <size_t kStride, class Marked>
HWY_INLINE size_t PlacesInVectors(const Word* words, size_t n, Marked marked, Word* places) {
  size_t i = 0, count = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::CappedTag<Word, UMLAUF_QVL_COMPRESSES ? 16 : 8> d;
  const size_t N = hn::Lanes(d);
  // A strided vector is loaded only while a further element follows it.
  const size_t end = n == 0 || kStride == 1 ? n : n - 1;
#if UMLAUF_QVL_COMPRESSES
  auto numbers = hn::Iota(d, 0);
  const auto some = hn::Set(d, static_cast<Word>(N));
#endif
  for (; i + 4 * N <= end; i += 4 * N) {
    const auto at = [&](size_t k) HWY_ATTR {
      return marked.template Vector<kStride>(d, words + (i + k * N) * kStride);
    };
    const auto first = at(0), second = at(1), third = at(2), fourth = at(3);
    // Whether to pass over vectors without a mark cannot be foretold where marks are dense.
    if (count * 64 <= i && hn::AllFalse(d, hn::Or(hn::Or(first, second), hn::Or(third, fourth)))) {
#if UMLAUF_QVL_COMPRESSES
      numbers = hn::Add(numbers, hn::Set(d, static_cast<Word>(4 * N)));
#endif
      continue;
    }
#if UMLAUF_QVL_COMPRESSES
    if (count * 32 > i) {  // walking the bits of many marks takes longer than moving them together
      count += PutMarked(d, numbers, first, places + count);
      numbers = hn::Add(numbers, some);
      count += PutMarked(d, numbers, second, places + count);
      numbers = hn::Add(numbers, some);
      count += PutMarked(d, numbers, third, places + count);
      numbers = hn::Add(numbers, some);
      count += PutMarked(d, numbers, fourth, places + count);
      numbers = hn::Add(numbers, some);
      continue;
    }
    numbers = hn::Add(numbers, hn::Set(d, static_cast<Word>(4 * N)));
#endif
    const GroupBits bits =
        Bits(d, first) | Bits(d, second) << N | Bits(d, third) << (2 * N) | Bits(d, fourth) << (3 * N);
    count = PlacesOfBits(bits, static_cast<Word>(i), places, count);
  }
#endif
  return PlacesPlainly(words, i, n, kStride, marked, places, count);
}

template <class Marked>
HWY_INLINE size_t Places(const Word* words, size_t n, size_t stride, Marked marked, Word* places) {
  switch (stride) {
    case 1:
      return PlacesInVectors<1>(words, n, marked, places);
    case 2:
      return PlacesInVectors<2>(words, n, marked, places);
    case 3:
      return PlacesInVectors<3>(words, n, marked, places);
    case 4:
      return PlacesInVectors<4>(words, n, marked, places);
    case 8:
      return PlacesInVectors<8>(words, n, marked, places);
    default:
      return PlacesPlainly(words, 0, n, stride, marked, places, 0);
  }
}

size_t MatchPlaces(const Word* words, size_t n, size_t stride, Word mask, Word pattern, bool wanted,
                   Word* places) {
  return wanted ? Places(words, n, stride, Matches<true>{mask, pattern}, places)
                : Places(words, n, stride, Matches<false>{mask, pattern}, places);
}

size_t ChangePlaces(const Word* words, size_t n, size_t stride, Word mask, Word* places) {
  return Places(words, n, stride, Changes{mask}, places);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(MatchPlaces);
HWY_EXPORT(ChangePlaces);

std::size_t FindAllMasked(const std::uint32_t* words, std::size_t n, std::size_t stride, std::uint32_t mask,
                          std::uint32_t pattern, std::uint32_t* places) {
  return HWY_DYNAMIC_DISPATCH(MatchPlaces)(words, n, stride, mask, pattern, true, places);
}

std::size_t FindAllUnlike(const std::uint32_t* words, std::size_t n, std::size_t stride, std::uint32_t mask,
                          std::uint32_t pattern, std::uint32_t* places) {
  return HWY_DYNAMIC_DISPATCH(MatchPlaces)(words, n, stride, mask, pattern, false, places);
}

std::size_t FindChanges(const std::uint32_t* words, std::size_t n, std::size_t stride, std::uint32_t mask,
                        std::uint32_t* places) {
  return HWY_DYNAMIC_DISPATCH(ChangePlaces)(words, n, stride, mask, places);
}

}  // namespace QVL
#endif
