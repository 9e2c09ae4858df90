#include "umlauf/can/CanMessageFinder.h"

#include "support/Test.h"
#include "umlauf/can/CanMessageCompressor.h"

namespace {

struct Found {
  unsigned position;
  std::vector<std::uint32_t> words;  // of the message block, without zeros at the end
  bool operator==(const Found&) const = default;
};

std::vector<std::uint32_t> Words(const CanMessageBlock_s& block) {
  std::vector<std::uint32_t> words(kCanMessageWords);
  std::memcpy(words.data(), &block, sizeof block);
  while (!words.empty() && words.back() == 0) words.pop_back();
  return words;
}

std::vector<Found> FindAll(CCanMessageFinder& finder) {
  std::vector<Found> all;
  while (finder.FindNextMessage()) all.push_back({finder.SamplePos(), Words(finder.Message())});
  return all;
}

constexpr ULONG Header(unsigned length, unsigned free = 1) { return 0xAA000055u | length << 16 | free << 8; }

/// Words of which every `rarity`-th looks like a header, some of them with a length that is not valid.
std::vector<ULONG> RandomStream(std::size_t words, unsigned rarity, std::mt19937& random) {
  constexpr unsigned lengths[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 16, 31, 63, 64, 65, 255};
  std::vector<ULONG> stream(words);
  for (ULONG& word : stream) {
    word = random() % rarity == 0
               ? Header(lengths[random() % std::size(lengths)], static_cast<unsigned>(random() % 256))
               : static_cast<ULONG>(random());
  }
  return stream;
}

constexpr ULONG H3 = Header(3), H4 = Header(4), H7 = Header(7), H8 = Header(8);

TEST(CanMessageFinder, KnowsHeaders) {
  for (const ULONG word : {0xAA015555u, 0xAA010055u, 0xAA40FF55u}) EXPECT_TRUE(IsCanHeader(word)) << word;
  for (const ULONG word : {0xAA000055u, 0xAA410055u, 0xAAFF0055u, 0xAB080055u, 0xAA080054u})
    EXPECT_FALSE(IsCanHeader(word)) << word;
}

TEST(CanMessageFinder, FindsMessagesByTheRules) {
  const Cases<const char*, std::vector<ULONG>, int, int, unsigned, std::vector<Found>> cases = {
      {"two and a rest", {9, H4, 7, 8, H8, 5, 6, 7, 0}, 0, -1, 1, {{1, {H4, 7, 8}}, {4, {H8, 5, 6, 7}}}},
      {"whole words only", {H7, 1, 2, H3, 4, 5, 6}, 0, -1, 1, {{0, {H7, 1, 2}}, {3, {H3, 4}}}},
      {"the last 3 are not tested", {0, H4, 1, 2}, 0, -1, 1, {}},
      {"a cut one ends the search", {0, Header(16), Header(1), 2, 3, 4}, 0, -1, 1, {}},
      {"the word that follows", {1, 2, H8, 3, 4, 5, 6, 6, 6}, 0, 2, 3, {{0, {H8, 2, 5, 4}}}},
      {"behind the block is 0", {H8, 1, 2, 3}, 1, 0, 2, {{0, {H8, 2, 2}}}},
      {"negative channel", {H8, 1, 2, 3}, -1, -1, 1, {}},
      {"first of two behind the frame", {H8, 1, 2, 3, H8, 1, 2, 3}, 4, 0, 2, {}},
  };
  for (const auto& [what, words, channel1, channel2, stride, expected] : cases) {
    CCanMessageFinder finder;
    const unsigned samples = static_cast<unsigned>(words.size()) / stride;
    finder.StartSearchBlock(words.data(), samples, channel1, channel2, stride);
    EXPECT_EQ(FindAll(finder), expected) << what;
    EXPECT_FALSE(finder.FindNextMessage()) << what;
  }
}

TEST(CanMessageFinder, StartsInTheResetStateAndTakesNoBlock) {
  CCanMessageFinder finder;
  EXPECT_THAT(Words(finder.Message()), ElementsAre(0xAA00FF55u));
  EXPECT_FALSE(finder.FindNextMessage());
  finder.StartSearchBlock(nullptr, 100, 0, -1, 1);
  EXPECT_FALSE(finder.FindNextMessage());
}

TEST(CanMessageFinder, TestsWordsForAMessage) {
  CCanMessageFinder finder;
  const ULONG words[] = {H8, 1, 2, 3, Header(1), 9, 9, 9};
  EXPECT_ALL(finder.IsValidMessageData1C(words + 1) == 0u, finder.IsValidMessageData1C(words) == 4u,
             finder.IsValidMessageData1C(words + 4) == 2u);
  EXPECT_THAT(Words(finder.Message()), ElementsAre(Header(1), 9));  // nothing of the message before
  EXPECT_EQ(finder.IsValidMessageData2C(words + 1, words + 2), 0u);
  EXPECT_EQ(finder.IsValidMessageData2C(words, words + 2), 2u);
  EXPECT_THAT(Words(finder.Message()), ElementsAre(H8, 2, 1, 3));
  EXPECT_EQ(finder.IsValidMessageData2C(words + 2, words), 2u);
  EXPECT_THAT(Words(finder.Message()), ElementsAre(H8, 3, 1, Header(1)));
  finder.ResetMessageBlock();
  EXPECT_THAT(Words(finder.Message()), ElementsAre(0xAA00FF55u));
}

/// The rules read word by word, on a block of whole frames.
std::vector<Found> FindPlainly(const std::vector<ULONG>& words, int channel1, int channel2, unsigned stride) {
  const auto samples = static_cast<unsigned>(words.size() / stride);
  const auto at = [&](unsigned sample, int channel) {
    const std::size_t i = std::size_t{sample} * stride + static_cast<unsigned>(channel);
    return i < std::size_t{samples} * stride ? words[i] : 0;
  };
  const bool two = channel2 >= 0 && channel2 != channel1 && static_cast<unsigned>(channel2) < stride;
  std::vector<Found> all;
  for (unsigned i = 0; samples - i >= (two ? 2u : 4u);) {
    const bool inFirst = IsCanHeader(at(i, channel1)), inSecond = two && IsCanHeader(at(i, channel2));
    if (!inFirst && !inSecond) {
      ++i;
      continue;
    }
    const unsigned length = CanDataLength(at(i, inFirst ? channel1 : channel2));
    const unsigned used = two ? (length >> 3) + 1 : (length >> 2) + 2;
    if (used > samples - i) break;
    Found found{i, {}};
    for (unsigned k = 0; k < used; ++k) {
      found.words.push_back(at(i + k, inFirst ? channel1 : channel2));
      if (two) found.words.push_back(at(i + k, inFirst ? channel2 : channel1 + 1));
    }
    while (found.words.back() == 0) found.words.pop_back();
    all.push_back(found);
    i += used;
  }
  return all;
}

TEST(CanMessageFinder, AgreesWithAPlainReadingOfTheRules) {
  std::mt19937 random(5);
  for (int round = 0; round < 600; ++round) {
    const auto stride = static_cast<unsigned>(1 + random() % 5);
    const std::size_t samples = round % 20 == 0 ? 30000 + random() % 50000 : random() % 200;
    const std::vector<ULONG> stream = RandomStream(samples * stride, round % 2 == 0 ? 4 : 3000, random);
    const int channel1 = static_cast<int>(random() % stride);
    const int channel2 = static_cast<int>(random() % (stride + 2)) - 1;
    CCanMessageFinder finder;
    finder.StartSearchBlock(stream.data(), static_cast<unsigned>(samples), channel1, channel2, stride);
    ASSERT_EQ(FindAll(finder), FindPlainly(stream, channel1, channel2, stride))
        << "round " << round << ": " << samples << " by " << stride << ", channels " << channel1 << " and "
        << channel2;
  }
}

TEST(CanMessageFinder, EditorCurveShowsLengths) {
  const ULONG words[] = {0, Header(9), 1, 2, 3, H4, 1, 2, 0, 0};
  CCanMessageFinder finder;
  finder.StartSearchBlock(words, 10, 0, -1, 1);
  ASSERT_TRUE(finder.FindNextMessage());
  float curve[12];
  curve[11] = 77.0f;
  finder.GenerateWavEditorCurve(curve, 11, 0, -1, 1);
  EXPECT_THAT(curve, ElementsAre(0, 9, 9, 9, 9, 4, 4, 4, 0, 0, 0, 77));
  finder.GenerateWavEditorCurve(curve, 6, 1, 0, 2);  // five samples of two channels
  EXPECT_THAT(curve, ElementsAre(9, 9, 4, 0, 0, 0, 4, 4, 0, 0, 0, 77)) << "pairs of words";
  EXPECT_TRUE(finder.FindNextMessage()) << "the search goes on";
  EXPECT_EQ(finder.SamplePos(), 5u);
}

template <class To, class From>
std::vector<To> SameBits(const std::vector<From>& from) {
  std::vector<To> to(from.size());
  std::transform(from.begin(), from.end(), to.begin(), [](const From& x) { return std::bit_cast<To>(x); });
  return to;
}

TEST(CanMessageCompressor, KeepsMessagesWhole) {
  // Messages of one data word among 120 samples.
  std::vector<ULONG> stream(120);
  for (const unsigned i : {10u, 40u, 60u, 110u}) {
    stream[i] = H4;
    stream[i + 1] = stream[i + 2] = i;
  }
  // Of each message: its output and its word.
  const Cases<float, float, unsigned, float, std::vector<std::pair<unsigned, unsigned>>> cases = {
      // j = position / 2 + 1, at least 18 apart; that of sample 110 at 60 leaves, 42 is not 0: no repeat
      {2.0f, 0.0f, 60, 0.0f, {{6, 10}, {24, 40}, {42, 60}, {60, 110}}},
      // 60 would begin behind the 30 outputs: left out; 40 leaves and comes again at 12, where 10 has a 0
      {4.0f, 0.0f, 30, 0.0f, {{3, 10}, {21, 40}, {12, 40}}},
      // 60 would begin one output behind the room of 39 + 18
      {3.05f, 0.0f, 39, 0.344262f, {{4, 10}, {22, 40}, {21, 40}}},
      {1.0f, 0.5f, 120, 0.5f, {{10, 10}, {40, 40}, {60, 60}, {110, 110}, {102, 110}}},
      {0.375f, 0.0f, 320, 0.0f, {{27, 10}, {107, 40}, {161, 60}, {294, 110}}},  // none leaves: no repeat
      {12.0f, 0.0f, 10, 0.0f, {{1, 10}}},  // fewer than 18 outputs: no repeat
      {0.0f, 0.5f, 0, 0.5f, {}},
      {-1.0f, 0.5f, 0, 0.5f, {}},
      {std::numeric_limits<float>::quiet_NaN(), 0.5f, 0, 0.5f, {}},
      {1e-30f, 0.5f, 0, 0.5f, {}},
  };
  for (const auto& [ratio, phaseBefore, outputs, phaseAfter, messages] : cases) {
    for (const unsigned stride : {1u, 3u}) {
      std::vector<ULONG> spread(stream.size() * stride), expected((outputs + 18) * stride, H8);
      for (std::size_t i = 0; i < stream.size(); ++i) spread[i * stride] = stream[i];
      std::vector<float> out = SameBits<float>(expected);
      for (unsigned i = 0; i < outputs; ++i) expected[i * stride] = 0;
      for (const auto& [output, message] : messages) {
        const ULONG words[18] = {H4, message, message};
        for (unsigned k = 0; k < 18; ++k) expected[(output + k) * stride] = words[k];
      }
      float phase = phaseBefore;
      EXPECT_EQ(CCanMessageCompressor().CanDownsampling(out.data(), stride, SameBits<float>(spread).data(),
                                                        120, stride, ratio, phase),
                outputs);
      EXPECT_EQ(SameBits<ULONG>(out), expected) << "ratio " << ratio << ", stride " << stride;
      EXPECT_NEAR(phase, phaseAfter, 1e-5) << ratio;
    }
  }
}

}  // namespace
