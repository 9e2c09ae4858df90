#include "umlauf/rotation/EdgePulses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

TEST(EdgePulses, GoFromEdgeToEdgeThatCounts) {
  // A tooth of 1 ms every 4 ms, from 100 s on; edges in any blocks.
  std::vector<RecordedEdge> edges;
  for (int i = 0; i < 10; ++i) {
    edges.push_back({100 + 0.004 * i, true});
    edges.push_back({100.001 + 0.004 * i, false});
  }
  edges.insert(edges.begin() + 7, {edges[6].time, true});  // once more at the same time
  const struct {
    CEdgePulses::Settings settings;
    std::size_t pulses;
    double begin, end, rpm;  // of the second pulse
  } cases[] = {{{true, false, 1, 10}, 9, 4000, 8000, 1500},
               {{false, true, 1, 10}, 9, 5000, 9000, 1500},
               {{true, true, 1, 20}, 19, 1000, 4000, 1000},
               {{true, false, 3, 10}, 3, 12000, 24000, 1500}};
  for (const auto& c : cases) {
    for (const std::size_t block : {std::size_t{1}, std::size_t{5}, edges.size()}) {
      CEdgePulses maker(c.settings);
      CPulseTrain pulses(CEdgePulses::sampleRate, 100);
      for (std::size_t at = 0; at < edges.size(); at += block)
        maker.Take(std::span(edges).subspan(at, std::min(block, edges.size() - at)), pulses);
      ASSERT_EQ(pulses.size(), c.pulses);
      EXPECT_NEAR(pulses[1].begin, c.begin, 1e-3);
      EXPECT_NEAR(pulses[1].end, c.end, 1e-3);
      EXPECT_NEAR(pulses[1].Rpm(pulses.SampleRate()), c.rpm, 1e-3);
      EXPECT_EQ(pulses[1].pitches, c.settings.divider);
    }
  }
}

}  // namespace
