#include "umlauf/rotation/GapCorrection.h"

#include <gtest/gtest.h>

#include "rotation/TrainSupport.h"
#include "umlauf/rotation/Revolutions.h"

namespace {

/// Lengths of `turns` revolutions that end with the pulses of the gap.
std::vector<double> Wheel(int turns, int teeth, const std::vector<double>& gap, double pitch = 100) {
  std::vector<double> lengths;
  for (int turn = 0; turn < turns; ++turn) {
    lengths.insert(lengths.end(), static_cast<std::size_t>(teeth), pitch);
    for (const double each : gap) lengths.push_back(each * pitch);
  }
  return lengths;
}

TEST(GapCorrection, GapsAreCorrectedAndOtherLongPulsesAreNot) {
  const struct {
    const char* what;
    std::vector<double> lengths;
    std::optional<double> relLength;
    std::size_t gaps;
    double relative;
    std::size_t revolutions;
  } cases[] = {
      {"60-2", Wheel(5, 57, {3}), {}, 5, 3, 4},
      {"60-2, length given", Wheel(5, 57, {3}), 3, 5, 3, 4},
      {"60-2, long tooth behind the gap", Wheel(5, 56, {2.1, 1.9}), {}, 5, 3, 4},
      {"another length than given", Wheel(5, 57, {5}), 3, 0, 0, 0},
      {"no gap", Wheel(5, 60, {}), {}, 0, 0, 0},
      {"standstill", Wheel(5, 60, {80}), {}, 0, 0, 0},
      {"five long pulses", Wheel(5, 55, {5, 4, 3, 2, 1.5}), {}, 0, 0, 0},
  };
  for (const auto& c : cases) {
    // Ordinary teeth behind the last gap, so that it is whole.
    std::vector<double> lengths = c.lengths;
    lengths.insert(lengths.end(), 10, 100);
    const CPulseTrain pulses = Train(lengths, 60);
    for (const std::size_t block : {std::size_t{1}, std::size_t{7}, pulses.size()}) {
      CGapCorrection gaps(c.relLength, 60);
      CRevolutions revolutions(true, 60);
      CPulseTrain corrected(1000);
      for (std::size_t at = 0; at < pulses.size(); at += block) {
        CPulseTrain part(1000);
        for (std::size_t i = at; i < std::min(at + block, pulses.size()); ++i) part.Append(pulses[i]);
        gaps.Take(part, corrected);
      }
      gaps.Finish(corrected);
      revolutions.Take(corrected);
      ASSERT_EQ(corrected.size(), pulses.size()) << c.what;
      EXPECT_EQ(gaps.Gaps(), c.gaps) << c.what << block;
      EXPECT_DOUBLE_EQ(gaps.RelativeLength(), c.relative) << c.what;
      EXPECT_EQ(gaps.Wheel().Teeth(), c.gaps > 0 ? 58 : 60) << c.what;
      EXPECT_EQ(revolutions.Speed().count, c.revolutions) << c.what;
      for (const auto& each : revolutions.Found()) EXPECT_NEAR(each.rpm, 60 * 1000 / 6000.0, 1e-9) << c.what;
      double pitches = 0;
      for (std::size_t i = 0; i < corrected.size(); ++i) {
        EXPECT_EQ(corrected[i].end, pulses[i].end) << c.what << i;
        pitches += corrected[i].pitches;
        if (c.gaps == 0) {
          EXPECT_FALSE(corrected[i].Is(CPulseTrain::gapCorrected)) << c.what << i;
        } else {
          EXPECT_NEAR(corrected[i].Rpm(1000), 10, 1e-9) << c.what << i;
        }
      }
      if (c.gaps > 0) {
        EXPECT_NEAR(pitches, 5 * 60 + 10, 1e-9) << c.what;
      }
    }
  }
}

}  // namespace
