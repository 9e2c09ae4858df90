#include "support/PulseText.h"
#include "support/Test.h"
#include "umlauf/encoder/PositionPulseDetector.h"

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
  EXPECT_EQ(Text(hops), "1:12.3333");
  close();  // 0.25 + 0.75
  EXPECT_EQ(Text(hops), "1:12.3333 1:9");
  detector.position(1 << 30);  // products beyond 32 bits, a time that wraps around
  EXPECT_EQ(detector.accumulate_event(3), 0xFFFFFFFCu);
  close();
  EXPECT_EQ(Text(hops), "1:12.3333 1:9 1073741823:5.36871e+08");
  detector.reset();
  EXPECT_EQ(detector.position(), 0);
  EXPECT_EQ(detector.accumulate_event(13), 10u);  // the time of the last event stays
}

TEST(PositionPulseDetector, HopsHoldTheMeanPosition) {
  // Position 0 up to sample 2.5, 2 up to 4, then 1; without and with pulses that end at 2, 2 and 5.
  const std::vector<std::pair<ULONG, ULONG>> counts = {{10, 0}, {10, 9}, {12, 1024},
                                                       {12, 5}, {11, 0}, {11, 0}};
  CDzPulsListe pulses = Pulses({{2, 0.0f}, {0, 0.0f}, {3, 0.0f}, {1000, 0.0f}}, 0);
  CPositionPulseDetector detector;
  CFueGroeHopListe hops;
  for (const bool highRes : {true, false}) {
    std::vector<ULONG> words(counts.size() * 3, 0xFFFFFFFFu);
    for (std::size_t i = 0; i < counts.size(); ++i)
      words[i * 3] = counts[i].first << 16 | counts[i].second << 1;
    detector.process(words.data(), counts.size(), 3, highRes, hops, 50000, nullptr, 4.0f, 100.0f);
    EXPECT_EQ(Text(hops), "6:100.208");
    detector.process(words.data(), 1, 3, highRes, hops, 50000);  // one step back, at once
    EXPECT_EQ(Text(hops), "1:0");
    detector.reset();
    detector.process(words.data(), counts.size(), 3, highRes, hops, 50000, &pulses);
    EXPECT_EQ(Text(hops), "2:0 3:1.33333 1:1");
    detector.process(nullptr, 6, 3, highRes, hops, 50000);
    EXPECT_EQ(Text(hops), "");
    detector.reset();
  }

  std::vector<ULONG> words(9000, 9u << 16);  // a long block: 9 from half of sample 4095 on
  for (std::size_t i = 0; i < 4096; ++i) words[i] = i < 4095 ? 0 : words[i] | 1024 << 1;
  pulses = Pulses({{4096, 0.0f}, {1, 0.0f}}, 0);
  detector.process(words.data(), words.size(), 1, true, hops, 50000, &pulses, 1.0f / 4096);
  EXPECT_EQ(Text(hops), "4096:4.5 1:36864 4903:36864");

  std::mt19937 random(3);
  for (unsigned round = 0; round < 200; ++round) {  // any words
    words.resize(random() % 300);
    for (ULONG& word : words) word = static_cast<ULONG>(random());
    detector.process(words.data(), words.size(), 1, round % 2 == 0, hops, 200000, nullptr, 0.0f);
    ASSERT_EQ(hops.empty() ? 0 : hops[0].NrSamples(), words.size());
  }
}

}  // namespace
