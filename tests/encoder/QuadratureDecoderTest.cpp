#include "umlauf/encoder/QuadratureDecoder.h"

#include "support/Test.h"

namespace {

using Events = std::vector<CQuadratureDecoder::Event>;

/// Counter and time field, with all other bits set.
constexpr ULONG Q(ULONG counter, ULONG time) { return counter << 16 | time << 1 | 0xF001; }

TEST(QuadratureDecoder, ListsTheChangesOfTheCounter) {
  const ULONG words[] = {Q(65534, 9), Q(1, 1027), Q(1, 0), Q(32769, 2047), Q(65534, 0)};
  CQuadratureDecoder decoder;
  decoder.subsamples(128);
  EXPECT_TRUE(decoder.highres(words, 5, 1));
  EXPECT_EQ(decoder.events(), (Events{{128 + 1027, 3}, {3 * 128 + 2047, -32765}, {4 * 128, 0}}));
  EXPECT_TRUE(decoder.standard(words, 2, 2));  // goes on from the last block
  EXPECT_EQ(decoder.events(), (Events{{128, 3}}));
  decoder.clear();
  EXPECT_ALL(decoder.standard(words, 5, 1),
             decoder.events() == (Events{{128 + 64, 3}, {3 * 128 + 127, -32765}, {4 * 128, 0}}),
             decoder.highres(nullptr, 5, 1), decoder.events().empty(), decoder.standard(words, 5, 0),
             decoder.events().empty());
}

TEST(QuadratureDecoder, LongBlocksAndLongRuns) {
  // Times pass 2^32 sub-samples; a change at every place of a group of words is found.
  const unsigned count = (1u << 21) + 300;
  std::vector<ULONG> words;
  Events expected;
  std::int32_t counter = 0;
  for (ULONG i = 0; i < count; ++i) {
    if (i % 8193 == 8192 || (i + 250 > count && i % 64 != 1))
      expected.push_back({i * std::uint64_t{2048} + 5, ++counter});
    words.push_back(Q(static_cast<ULONG>(counter), 5));
  }
  CQuadratureDecoder decoder;
  decoder.subsamples(2048);
  ASSERT_TRUE(decoder.highres(words.data(), count, 1));
  EXPECT_EQ(decoder.events(), expected);

  // The position wraps around at 32 bits.
  decoder.clear();
  for (ULONG i = 0; i < 65540; ++i) words[i] = Q(i * 32767 & 0xFFFF, 0);
  ASSERT_TRUE(decoder.highres(words.data(), 65540, 1));
  EXPECT_EQ(decoder.position(), static_cast<std::int32_t>(65539u * 32767u));
}

}  // namespace
