#include "umlauf/rotation/EncoderPulseFinder.h"

#include <gtest/gtest.h>

#include "rotation/TrainSupport.h"
#include "umlauf/rotation/ShaftAngle.h"

namespace {

using Format = CEncoderPulseFinder::Format;
using Mode = CEncoderPulseFinder::Mode;

CPulseTrain Found(const Format& format, const std::vector<ULONG>& words, unsigned perRev, std::size_t block) {
  CEncoderPulseFinder finder(format, 50000, perRev);
  CPulseTrain all(50000), pulses(50000);
  for (std::size_t at = 0; at < words.size(); at += block) {
    finder.Take(words.data() + at, std::min(block, words.size() - at), 1, pulses);
    all.Append(pulses);
  }
  EXPECT_EQ(finder.ErrorBits(), 0u);
  return all;
}

TEST(EncoderPulseFinder, EdgesLieWhereTheWordsSayWhateverTheBlocks) {
  // Edge words (bits 7 and 5) with their time in ticks of 1/256 of a sample, in the low half.
  std::vector<ULONG> words(1000, 0);
  const std::pair<std::size_t, double> edges[] = {{100, 0.5}, {103, 0.25}, {400, 0}, {640, 0.75}};
  for (const auto& [sample, time] : edges) words[sample] = 0xA0u | static_cast<ULONG>(time * 256) << 8;
  Format format;
  format.lowWord = true;
  for (const std::size_t block : {1u, 7u, 1000u}) {
    CPulseTrain pulses = Found(format, words, 2, block);
    ASSERT_EQ(pulses.size(), 4u) << block;
    EXPECT_TRUE(pulses[0].Is(CPulseTrain::first));
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(pulses[i].end, static_cast<double>(edges[i].first) + edges[i].second, 1e-4) << block << i;
    }
    format.minSamples = 10;
    pulses = Found(format, words, 2, block);
    ASSERT_EQ(pulses.size(), 3u) << block;
    EXPECT_EQ(pulses[1].begin, pulses[0].end);
    format.minSamples = 0;
  }
}

TEST(EncoderPulseFinder, CountersRunBackward) {
  // A count each 10 samples: 30 up, then 50 down.
  std::vector<ULONG> words;
  for (int i = 0; i < 810; ++i) {
    const int step = i / 10, count = step <= 30 ? step : 60 - step;
    words.push_back(static_cast<ULONG>(static_cast<std::uint16_t>(count)) << 16);
  }
  Format format;
  format.mode = Mode::tisQuadratureFourfold;
  for (const std::size_t block : {13u, 810u}) {
    const CPulseTrain pulses = Found(format, words, 5, block);  // 20 counts a revolution
    const CShaftAngle angle(pulses, 20);
    EXPECT_FALSE(angle.OneWay());
    EXPECT_NEAR(angle.At(290.5) - angle.At(100.5), 19 / 20.0, 1e-3) << block;
    EXPECT_NEAR(angle.At(700.5) - angle.At(400.5), -30 / 20.0, 1e-3) << block;
    EXPECT_LT(pulses[pulses.size() - 1].Rpm(50000), 0);
  }
}

}  // namespace
