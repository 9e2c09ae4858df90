#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "speed/TisStream.h"
#include "umlauf/speed/DzPulsListe.h"

namespace {

constexpr unsigned kPulsesPerRev = 15;

struct Stream {
  int mode;
  unsigned rate;
  bool lowWord;
  unsigned stride;
  unsigned divider;
};

class Streams : public testing::TestWithParam<Stream> {
 protected:
  static constexpr std::size_t kSamples = 20000;
  const Stream& s = GetParam();
  const double edgesPerRev = kPulsesPerRev * (s.mode == 2 || s.mode == 5 ? 4.0 : 1.0);
  const TisStream stream{s.mode, s.rate, s.lowWord, kSamples, s.stride, edgesPerRev, TestAngle(s.mode)};

  struct Pulse {
    std::uint64_t samples;  // over all blocks
    float value;
    unsigned borders;  // between blocks, inside the pulse
  };
  std::vector<Pulse> Decode(std::mt19937* split) const {
    CDzPulsTisDetector detector(ETisMode::tisNone);
    detector.SetMinPulsTime(0.0f);
    detector.SetAllowZeroLenPulses(true);
    detector.SetPulsteiler(s.divider);
    detector.Restart(s.rate, kPulsesPerRev, s.lowWord, static_cast<ETisMode>(s.mode));
    std::vector<Pulse> pulses;
    CDzPulsListe list;
    Pulse next{0, 0.0f, 0};
    for (std::size_t done = 0; done < kSamples; ++next.borders) {
      const std::size_t longest = split != nullptr && (*split)() % 2 == 0 ? 10 : 3000;
      const std::size_t n = split == nullptr ? kSamples : std::min(kSamples - done, (*split)() % longest);
      EXPECT_EQ(detector.PulseSuchen(stream.words.data() + done * s.stride, n, s.stride, list), 0u);
      done += n;
      for (const PulsEntry& entry : list) {
        next.samples += entry.NrSamples();
        if (entry.IsOpen()) continue;
        next.value = entry.Value();
        pulses.push_back(next);
        next = {0, 0.0f, 0};
      }
    }
    return pulses;
  }
};
// clang-format off
INSTANTIATE_TEST_SUITE_P(Modes, Streams, testing::Values(
    Stream{1, 50000, false, 1, 1}, Stream{1, 50000, true, 2, 3}, Stream{1, 24000, true, 1, 2},
    Stream{1, 200000, false, 1, 1}, Stream{4, 48000, false, 1, 1}, Stream{4, 96000, true, 3, 1},
    Stream{4, 192000, true, 1, 1}, Stream{2, 50000, false, 1, 1}, Stream{3, 100000, false, 2, 1},
    Stream{5, 44100, false, 1, 1}, Stream{6, 65536, false, 1, 1}, Stream{6, 200000, false, 1, 1}));
// clang-format on

TEST_P(Streams, ValuesAreTheTruth) {
  const auto pulses = Decode(nullptr);
  ASSERT_EQ(pulses.size(), stream.edges.size() / s.divider - (s.mode == 1 ? 0 : 1));
  ASSERT_GT(pulses.size(), 200u);
  // In mode 1 the first pulse starts with the block, not with an edge.
  for (std::size_t k = s.mode == 1 ? 1 : 0; k < pulses.size(); ++k) {
    const auto& start = stream.edges[s.mode == 1 ? k * s.divider - 1 : k];
    const auto& end = stream.edges[s.mode == 1 ? (k + 1) * s.divider - 1 : k + 1];
    const double edges = static_cast<double>(end.count - start.count);
    const double truth = (end.time - start.time) * edgesPerRev / edges;
    // Both times are cut to the resolution of the stream.
    const double tolerance = stream.quantum * edgesPerRev / std::fabs(edges) + 1e-6 * std::fabs(truth);
    ASSERT_NEAR(static_cast<double>(pulses[k].value), truth, tolerance) << k;
  }
}

TEST_P(Streams, BlocksJoinWithoutASeam) {
  const auto whole = Decode(nullptr);
  for (unsigned seed = 1; seed <= 5; ++seed) {
    std::mt19937 split(seed);
    const auto parts = Decode(&split);
    ASSERT_EQ(parts.size(), whole.size());
    for (std::size_t k = 0; k < whole.size(); ++k) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", pulse " << k);
      // Mode 1 carries the length over each border in single precision; nothing else is rounded.
      const float rounding = s.mode == 1 ? 0x1p-24f * static_cast<float>(parts[k].borders + 1) : 0.0f;
      ASSERT_NEAR(parts[k].value, whole[k].value, rounding * std::fabs(whole[k].value));
      ASSERT_EQ(parts[k].samples, whole[k].samples);
    }
  }
}

TEST(TisDetector, TakesAnyWords) {
  std::mt19937 generator(7);
  const auto random = [&](unsigned n) { return static_cast<unsigned>(generator() % n); };
  CDzPulsListe list;
  for (unsigned round = 0; round < 4000; ++round) {
    CDzPulsTisDetector detector(ETisMode::tisNone);
    detector.SetAllowZeroLenPulses(random(2) == 0);
    detector.SetMinPulsTime(random(2) == 0 ? 0.0f : 1e-4f);
    detector.SetPulsteiler(random(4));
    const unsigned rates[] = {12000, 50000, 100000, 192000, 200000};
    detector.Restart(rates[random(5)], random(~0u), random(2) == 0, static_cast<ETisMode>(1 + random(6)));
    for (unsigned block = 0; block < 4; ++block) {
      std::vector<ULONG> words(random(300));
      for (ULONG& word : words) word = random(~0u) & (round % 2 == 0 ? ~0u : random(~0u));
      const unsigned stride = random(3);
      const std::uint64_t count = stride == 0 ? 0 : words.size() / stride;
      EXPECT_LE(detector.PulseSuchen(words.data(), stride == 0 ? 7 : count, stride, list), count);
      std::uint64_t samples = 0;
      for (const PulsEntry& entry : list) samples += entry.NrSamples();
      // A time field may point up to four samples behind its sample.
      ASSERT_GE(samples, count) << round;
      ASSERT_LE(samples, count + 4) << round;
    }
  }
}

}  // namespace
