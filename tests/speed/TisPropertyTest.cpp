#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "umlauf/speed/DzPulsListe.h"
#include "umlauf/speed/DzPulsTisDetector.h"

namespace {

using ETisMode = CYChannelDescriptionInterface::ETisMode;

constexpr unsigned kPulsesPerRev = 15;
constexpr std::size_t kSamples = 20000;

/// A random stream and the truth about its pulses.
struct Stream {
  struct Pulse {
    std::uint64_t samples;  // over all blocks
    float value;
    unsigned borders;  // between blocks, inside the pulse
  };
  int mode;
  unsigned rate, divider;
  std::vector<ULONG> words;
  std::vector<Pulse> pulses;

  Stream(int m, unsigned hz, unsigned d) : mode(m), rate(hz), divider(d) {
    const bool quadrature = mode != 1 && mode != 4, standard = mode == 2 || mode == 3;
    const unsigned parts = rate <= 50000 ? 2048 : rate <= 100000 ? 1024 : 512;
    const unsigned units = mode == 1 ? 12800000 / rate : standard ? 2048 : parts;
    const unsigned coarse = standard ? 8192 / parts : 1;  // the time is cut to so many units
    const double edgesPerRev = kPulsesPerRev * (mode == 2 || mode == 5 ? 4.0 : 1.0);
    std::mt19937 random(17);
    double begin = 0.0;
    std::uint64_t entered = 0, edges = mode == 1 ? 1 : 0;  // the other modes start with their first edge
    ULONG counter = 65500, field = 0;
    for (std::size_t i = 0, next = 3; i < kSamples; ++i) {
      int count = 0;
      if (i == next) {
        next += 2 + random() % 70;
        count = quadrature  ? static_cast<int>(random() % 5) - 2
                : mode == 4 ? 1 + static_cast<int>(next % 14)
                            : 1;
        field = static_cast<ULONG>(random()) % units;
      }
      counter += static_cast<ULONG>(count);
      ULONG high = mode == 1 ? 0x0F5F : 0x0FFF;  // no edge, but the bits beside one
      if (count != 0) high = mode == 1 ? field << 8 | 0xBF : static_cast<ULONG>(count) << 12 | field << 1;
      words.push_back(quadrature ? counter << 16 | 0xF001 | field << 1 : high << 16 | 0xA5A5);
      if (count == 0 || (edges++ % divider != 0 && mode == 1)) continue;
      const double time = static_cast<double>(i) + static_cast<double>(field / coarse * coarse) / units;
      const auto whole = static_cast<std::uint64_t>(mode == 1 ? time : std::ceil(time));
      const double value = (time - begin) * edgesPerRev / (mode == 1 ? static_cast<double>(divider) : count);
      if (edges > 1) {
        pulses.push_back({whole - entered, static_cast<float>(value), 0});
        entered = whole;
      }
      begin = time;
    }
  }

  /// Through the detector, in random blocks.
  std::vector<Pulse> Decode(std::mt19937& split, std::size_t longest) const {
    CDzPulsTisDetector detector(ETisMode::tisNone);
    detector.SetMinPulsTime(0.0f);
    detector.SetAllowZeroLenPulses(true);
    detector.SetPulsteiler(divider);
    detector.Restart(rate, kPulsesPerRev, false, static_cast<ETisMode>(mode));
    std::vector<Pulse> found;
    CDzPulsListe list;
    Pulse next{0, 0.0f, 0};
    for (std::size_t done = 0; done < kSamples; ++next.borders) {
      const std::size_t n = std::min(kSamples - done, split() % 2 == 0 ? split() % 10 : split() % longest);
      EXPECT_EQ(detector.PulseSuchen(words.data() + done, n, 1, list), 0u);
      done += n;
      for (const PulsEntry& entry : list) {
        next.samples += entry.NrSamples();
        if (entry.IsOpen()) continue;
        next.value = entry.Value();
        found.push_back(next);
        next = {0, 0.0f, 0};
      }
    }
    return found;
  }
};

TEST(TisDetector, PulsesAreTheTruthWhateverTheBlocks) {
  const std::tuple<int, unsigned, unsigned> streams[] = {
      {1, 50000, 1}, {1, 100000, 3}, {1, 200000, 1}, {4, 48000, 1},  {4, 96000, 1}, {4, 192000, 1},
      {2, 50000, 1}, {3, 100000, 1}, {5, 44100, 1},  {6, 100000, 1}, {6, 200000, 1}};
  for (const auto& [mode, rate, divider] : streams) {
    const Stream stream(mode, rate, divider);
    ASSERT_GT(stream.pulses.size(), 100u);
    for (unsigned seed = 1; seed <= 5; ++seed) {
      std::mt19937 split(seed);
      const auto found = stream.Decode(split, seed == 1 ? kSamples : 3000);
      ASSERT_EQ(found.size(), stream.pulses.size()) << "mode " << mode;
      for (std::size_t k = 0; k < found.size(); ++k) {
        SCOPED_TRACE(testing::Message()
                     << "mode " << mode << ", rate " << rate << ", seed " << seed << ", " << k);
        // Mode 1 carries the length over each border in single precision; nothing else is rounded.
        const float rounding = mode == 1 ? 0x1p-24f * static_cast<float>(found[k].borders + 1) : 0x1p-23f;
        ASSERT_NEAR(found[k].value, stream.pulses[k].value, rounding * std::fabs(stream.pulses[k].value));
        ASSERT_EQ(found[k].samples, stream.pulses[k].samples);
      }
    }
  }
}

TEST(TisDetector, TakesAnyWords) {
  std::mt19937 generator(7);
  const auto random = [&](unsigned n) { return static_cast<unsigned>(generator() % n); };
  for (unsigned round = 0; round < 4000; ++round) {
    CDzPulsTisDetector detector(ETisMode::tisNone);
    detector.SetAllowZeroLenPulses(random(2) == 0);
    detector.SetMinPulsTime(random(2) == 0 ? 0.0f : 1e-4f);
    detector.SetPulsteiler(random(4));
    detector.Restart(50000 << random(3), random(~0u), random(2) == 0, static_cast<ETisMode>(1 + random(6)));
    CDzPulsListe list;
    for (unsigned block = 0; block < 4; ++block) {
      std::vector<ULONG> words(random(300));
      for (ULONG& word : words) word = random(~0u) & (round % 2 == 0 ? ~0u : random(~0u));
      EXPECT_LE(detector.PulseSuchen(words.data(), words.size(), 1, list), words.size());
      std::uint64_t samples = 0;
      for (const PulsEntry& entry : list) samples += entry.NrSamples();
      // A time field may point up to four samples behind its sample.
      ASSERT_TRUE(samples >= words.size() && samples <= words.size() + 4) << round;
    }
    EXPECT_EQ(detector.PulseSuchen(nullptr, 7, 1, list) + list.size(), 0u);
  }
}

}  // namespace
