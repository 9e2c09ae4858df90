#include "support/EveryTarget.h"
#include "support/Test.h"
#include "umlauf/platform/vekta/QVL.h"

namespace {

class FindMasked : public EveryTarget {};
INSTANTIATE_TEST_SUITE_P(On, FindMasked, AllTargets(), TargetName);

constexpr std::uint32_t kMask = 0xFF0000FF, kPattern = 0xAA000055;

TEST_P(FindMasked, FindsTheFirstMatchOfItsElementsOnly) {
  std::mt19937 random(17);
  for (const std::size_t stride : {0u, 1u, 2u, 3u, 4u, 5u, 8u, 9u}) {
    for (const std::size_t n : {0u, 1u, 2u, 7u, 15u, 16u, 17u, 63u, 64u, 65u, 130u, 1000u, 69633u, 140003u}) {
      const std::size_t length = n == 0 ? 0 : (n - 1) * stride + 1;
      // Ends with its last element, so that an address sanitizer sees every step beyond.
      const std::unique_ptr<std::uint32_t[]> words(new std::uint32_t[length]);
      const auto fill = [&](std::size_t i, bool match) {
        words[i] = match ? kPattern | (random() & ~kMask) : kPattern ^ 0x01000000;
      };
      // Words between the elements match, too.
      for (std::size_t i = 0; i < length; ++i) fill(i, stride > 1 && i % stride != 0);
      const auto find = [&] { return QVL::FindMasked(words.get(), n, stride, kMask, kPattern); };
      ASSERT_EQ(find(), n) << "stride " << stride;
      // Matches from the last place forward: each new one is the first.
      std::size_t place = n - 1;
      for (int k = 0; n > 0 && k < 12; ++k) {
        fill(place * stride, true);
        ASSERT_EQ(find(), stride == 0 ? 0 : place) << n << " by " << stride;
        place = k == 0 ? place - place / 8 : random() % (place + 1);
      }
    }
  }
}

/// Indices below n as a plain loop gives them.
template <class Marked>
std::vector<std::uint32_t> PlacesOf(std::uint32_t n, Marked marked) {
  std::vector<std::uint32_t> places;
  for (std::uint32_t i = 0; i < n; ++i) {
    if (marked(i)) places.push_back(i);
  }
  return places;
}

TEST_P(FindMasked, FindsAllMatchesAndChanges) {
  constexpr std::uint32_t mask = 0x00F10003, pattern = 0x00100001;
  std::mt19937 random(23);
  for (const std::size_t stride : {1u, 2u, 3u, 4u, 5u, 8u, 9u}) {
    for (const std::uint32_t n : {0u, 1u, 2u, 63u, 64u, 65u, 128u, 129u, 700u, 3000u}) {
      const auto rare = 1 + random() % 300;
      // A word in front of the first; ends with the last one, so that an address sanitizer sees every step.
      std::vector<std::uint32_t> memory(n * stride + 1);
      for (std::uint32_t& word : memory) {
        const bool other = random() % rare == 0;
        word = (other ? static_cast<std::uint32_t>(random()) : pattern ^ 2) & 0x00110F03;
      }
      const std::uint32_t* const words = memory.data() + stride;
      const auto at = [&](std::uint32_t i) { return words[i * stride]; };
      const std::uint32_t count = n == 0 ? 0 : n - 1;
      std::vector<std::uint32_t> places(n + 16);
      const auto found = [&](std::size_t number) {
        return std::vector<std::uint32_t>(places.begin(),
                                          places.begin() + static_cast<std::ptrdiff_t>(number));
      };
      const auto matches = [&](std::uint32_t i) { return (at(i) & mask) == pattern; };
      const auto others = [&](std::uint32_t i) { return !matches(i); };
      const auto changes = [&](std::uint32_t i) {
        return ((at(i) ^ *(words + i * stride - stride)) & mask) != 0;
      };
      EXPECT_EQ(found(QVL::FindAllMasked(words, count, stride, mask, pattern, places.data())),
                PlacesOf(count, matches))
          << n << " by " << stride;
      EXPECT_EQ(found(QVL::FindAllUnlike(words, count, stride, mask, pattern, places.data())),
                PlacesOf(count, others))
          << n << " by " << stride;
      EXPECT_EQ(found(QVL::FindChanges(words, count, stride, mask, places.data())), PlacesOf(count, changes))
          << n << " by " << stride;
    }
  }
}

}  // namespace
