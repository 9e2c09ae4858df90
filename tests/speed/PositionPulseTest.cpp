#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "speed/TisStream.h"
#include "umlauf/speed/DzPulsListe.h"
#include "umlauf/speed/FueGroeHopListe.h"
#include "umlauf/speed/PositionPulseDetector.h"

namespace {

TEST(PositionPulseDetector, IntegratesThePosition) {
  CPositionPulseDetector detector;
  CFueGroeHopListe hops;
  const auto close = [&] { detector.process_accumulate_event(0.25f, hops, 2.0f, 10.0f); };
  detector.position(8);
  EXPECT_EQ(detector.accumulate_event(4), 4u);
  detector.position(-2);
  EXPECT_EQ(detector.accumulate_event(6), 2u);
  close();  // 1.5 samples of (8 * 4 - 2 * 2) / 6
  EXPECT_EQ(detector.accumulate_event(7), 1u);
  close();  // 0.25 + 0.5: no hop, and what was accumulated counts again
  ASSERT_EQ(hops.size(), 1u);
  EXPECT_EQ(hops[0].NrSamples(), 1u);
  EXPECT_FLOAT_EQ(hops[0].Value(), 28.0f / 6 / 2 + 10);
  close();  // 0.25 + 0.75
  ASSERT_EQ(hops.size(), 2u);
  EXPECT_EQ(hops[1].NrSamples(), 1u);
  EXPECT_EQ(hops[1].StartSample(), 1u);
  EXPECT_FLOAT_EQ(hops[1].Value(), -2.0f / 2 + 10);

  detector.position(1 << 30);  // products beyond 32 bits, a time that wraps around
  EXPECT_EQ(detector.accumulate_event(3), 0xFFFFFFFCu);
  close();
  ASSERT_EQ(hops.size(), 3u);
  EXPECT_EQ(hops[2].NrSamples(), (1u << 30) - 1);
  EXPECT_FLOAT_EQ(hops[2].Value(), 0x1p29f + 10);
  detector.reset();
  EXPECT_EQ(detector.position(), 0);
  EXPECT_EQ(detector.accumulate_event(13), 10u);  // the time of the last event stays
}

TEST(PositionPulseDetector, HopsHoldTheMeanPosition) {
  std::mt19937 random(3);
  const std::size_t n = 9000;
  for (const int mode : {2, 6}) {
    const TisStream stream(mode, 50000, false, n, 2, 60, TestAngle(mode));
    const auto meanPosition = [&](double from, double to) {  // straight from the edges
      double sum = 0.0, time = from, position = 0.0;
      for (const auto& edge : stream.edges) {
        const double at = std::clamp(std::floor(edge.time / stream.quantum) * stream.quantum, from, to);
        sum += position * (at - time);
        time = at;
        position = static_cast<double>(edge.count);
      }
      return (sum + position * (to - time)) / (to - from);
    };
    CPositionPulseDetector detector;
    CFueGroeHopListe hops;
    for (std::size_t done = 0, part = 0; done < n; done += part) {
      part = std::min<std::size_t>(n - done, random() % 8000);
      const bool withPulses = random() % 2 == 0;
      CDzPulsListe pulses;
      for (std::size_t k = 0; k < part / 100; ++k) pulses.AddEntry(k % 3 == 0 ? 0 : 1 + random() % 150, 0.0f);
      pulses.AddEntry(~std::uint64_t{0}, 0.0f);  // past the block, where nothing ends
      detector.process(stream.words.data() + done * 2, part, 2, mode == 6, hops, 50000,
                       withPulses ? &pulses : nullptr, 4.0f, 100.0f);
      ASSERT_LE(hops.size(), withPulses ? part / 100 + 1 : 1u);
      std::uint64_t end = 0;
      for (const CFueGroeHop& hop : hops) {
        ASSERT_EQ(hop.StartSample(), end);
        end += hop.NrSamples();
        const auto from = static_cast<double>(done + hop.StartSample());
        const double mean = meanPosition(from, from + static_cast<double>(hop.NrSamples()));
        ASSERT_NEAR(static_cast<double>(hop.Value()), mean / 4 + 100, 1e-4);
      }
      ASSERT_EQ(end, part);
      ASSERT_GE(hops.size(), withPulses ? part / 200 : 0u);
    }
    for (unsigned round = 0; round < 200; ++round) {  // any words
      std::vector<ULONG> words(random() % 300);
      for (ULONG& word : words) word = static_cast<ULONG>(random());
      detector.process(words.data(), words.size(), 1, mode == 6, hops, 200000, nullptr, 0.0f);
      ASSERT_EQ(hops.empty() ? 0 : hops[0].NrSamples(), words.size());
    }
  }
}

}  // namespace
