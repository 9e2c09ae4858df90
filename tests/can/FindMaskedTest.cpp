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

}  // namespace
