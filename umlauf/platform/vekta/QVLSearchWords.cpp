// The search for a word under a mask.

#include <cstring>

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLSearchWords.cpp"
#include "hwy/foreach_target.h"
// The strided loads follow the target.
#include "umlauf/platform/vekta/internal/Strided-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

using Word = std::uint32_t;

/// The search from element i on, word by word.
HWY_INLINE size_t FindWord(const Word* words, size_t i, size_t n, size_t stride, Word mask, Word pattern) {
  for (; i < n; ++i) {
    Word word;
    std::memcpy(&word, words + i * stride, sizeof word);  // the memory may be that of floats
    if ((word & mask) == pattern) return i;
  }
  return n;
}

#if HWY_TARGET == HWY_SCALAR
template <size_t kStride>
HWY_INLINE size_t FindVector(const Word* words, size_t n, Word mask, Word pattern) {
  return FindWord(words, 0, n, kStride, mask, pattern);
}
#else
using Words = hn::ScalableTag<Word>;

/// Which lanes of the vector of words[0], words[kStride], ... match.
template <size_t kStride>
HWY_INLINE hn::Mask<Words> Matches(const Word* words, Word mask, Word pattern) {
  const Words d;
  return hn::Eq(hn::And(LoadEvery<kStride>(d, words), hn::Set(d, mask)), hn::Set(d, pattern));
}

/// The same for four vectors, `gap` elements apart: whether one of their lanes matches.
template <size_t kStride>
HWY_INLINE bool AnyMatches(const Word* words, size_t gap, Word mask, Word pattern) {
  const auto at = [&](size_t k)
                      HWY_ATTR { return Matches<kStride>(words + k * gap * kStride, mask, pattern); };
  return !hn::AllFalse(Words(), hn::Or(hn::Or(at(0), at(1)), hn::Or(at(2), at(3))));
}

/// Moves i to the first match from i on. When there is none, i ends less than a vector in front of `end`.
template <size_t kStride>
HWY_INLINE bool FindNear(const Word* words, size_t& i, size_t end, Word mask, Word pattern) {
  const size_t N = hn::Lanes(Words());
  // Fetched ahead, since a walk that ends at every match comes too late by itself.
  constexpr size_t ahead = 2048, line = 16;  // words
  while (end - i >= 4 * N && !AnyMatches<kStride>(words + i * kStride, N, mask, pattern)) {
    i += 4 * N;
    if (end - i <= ahead + 4 * N) continue;
    const Word* const fetched = words + i * kStride + ahead;
    for (size_t at = 0; at < 4 * N * kStride; at += line) hwy::Prefetch(fetched + at);
  }
  for (; end - i >= N; i += N) {
    const auto lane = hn::FindFirstTrue(Words(), Matches<kStride>(words + i * kStride, mask, pattern));
    if (lane < 0) continue;
    i += static_cast<size_t>(lane);
    return true;
  }
  return false;
}

/// Goes from i through four parts of `length` elements at once, which memory serves faster than one (see
/// NextPart). Stops i where one of them matches: the first match is at i or behind. Else i ends behind them.
template <size_t kStride>
HWY_INLINE bool StopInFourParts(const Word* words, size_t& i, size_t length, Word mask, Word pattern) {
  for (size_t j = i; j < i + length; j += hn::Lanes(Words())) {
    if (AnyMatches<kStride>(words + j * kStride, length, mask, pattern)) {
      i = j;
      return true;
    }
  }
  i += 4 * length;
  return false;
}

template <size_t kStride>
HWY_INLINE size_t FindVector(const Word* words, size_t n, Word mask, Word pattern) {
  // Four parts pay where nothing is found for long; what was read of them behind a match is read once more.
  constexpr size_t near = kStride == 1 ? 262144 : 4096, part = 16384 / kStride / 64 * 64;  // whole vectors
  // A strided vector is loaded only while a further element follows it.
  const size_t end = n == 0 || kStride == 1 ? n : n - 1;
  size_t i = 0;
  if (end >= near + 4 * part) {
    if (FindNear<kStride>(words, i, near, mask, pattern)) return i;
    while (end - i >= 4 * part && !StopInFourParts<kStride>(words, i, part, mask, pattern)) continue;
  }
  if (FindNear<kStride>(words, i, end, mask, pattern)) return i;
  return FindWord(words, i, n, kStride, mask, pattern);
}
#endif

size_t Find(const Word* words, size_t n, size_t stride, Word mask, Word pattern) {
  switch (stride) {
    case 1:
      return FindVector<1>(words, n, mask, pattern);
    case 2:
      return FindVector<2>(words, n, mask, pattern);
    case 3:
      return FindVector<3>(words, n, mask, pattern);
    case 4:
      return FindVector<4>(words, n, mask, pattern);
    case 8:
      return FindVector<8>(words, n, mask, pattern);
    default:
      return FindWord(words, 0, n, stride, mask, pattern);
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(Find);

std::size_t FindMasked(const std::uint32_t* words, std::size_t n, std::size_t stride, std::uint32_t mask,
                       std::uint32_t pattern) {
  return HWY_DYNAMIC_DISPATCH(Find)(words, n, stride, mask, pattern);
}

}  // namespace QVL
#endif
