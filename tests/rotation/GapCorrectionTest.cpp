#include "umlauf/rotation/GapCorrection.h"

#include <gtest/gtest.h>

#include <utility>

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

/// Lengths of one revolution: of 1 pitch, but for the gaps, each given by the teeth before it and its length.
std::vector<double> Revolution(const std::vector<std::pair<int, double>>& gaps) {
  std::vector<double> lengths;
  for (const auto& [teeth, length] : gaps) {
    lengths.insert(lengths.end(), static_cast<std::size_t>(teeth), 100);
    lengths.push_back(100 * length);
  }
  return lengths;
}

/// A tooth of the run-up takes as long as a gap, but does not come back; one gap alone is believed.
TEST(GapCorrection, AGivenLengthIsFoundAmongAllGapsToo) {
  for (const int turns : {1, 5}) {
    std::vector<double> lengths = Wheel(turns, 57, {3});
    if (turns > 1) lengths.insert(lengths.begin(), {100, 100, 100, 100, 100, 100, 100, 300});
    if (turns > 1) lengths.insert(lengths.begin() + 8, 20, 100);
    lengths.insert(lengths.end(), 10, 100);
    CGapCorrection gaps(3, 60);
    CPulseTrain corrected(1000);
    gaps.Take(Train(lengths, 60), corrected);
    ASSERT_TRUE(gaps.Finish(corrected));
    EXPECT_EQ(gaps.Gaps(), static_cast<std::size_t>(turns));
    ASSERT_EQ(gaps.Wheel().gaps.size(), 1u);
    EXPECT_EQ(gaps.Wheel().gaps[0].length, 3);
  }
}

TEST(GapCorrection, TheWheelIsFoundFromAllGapsTogether) {
  const struct {
    const char* what;
    std::vector<std::pair<int, double>> gaps;
    double pitches;
    bool countable;  ///< the wheel need not be known
    std::vector<double> places, lengths;
  } cases[] = {
      {"36-2-1", {{10, 2}, {21, 3}}, 36, true, {0, 13}, {3, 2}},
      {"60-2-2 at opposite sides", {{27, 3}, {27, 3}}, 60, false, {0, 30}, {3, 3}},
      {"36-2-2-2, two of them neighbours", {{12, 3}, {1, 3}, {14, 3}}, 36, true, {0, 4, 21}, {3, 3, 3}},
      {"60-2 whose gap looks short", {{57, 2.3}}, 60, false, {0}, {3}},
      {"4-1", {{2, 2}}, 4, true, {0}, {2}},
      {"12-3", {{8, 4}}, 12, true, {0}, {4}},
  };
  for (const auto& c : cases) {
    const std::vector<double> turn = Revolution(c.gaps);
    // A run-up that looks like a gap; a revolution with a glitch.
    std::vector<double> lengths = {900, 700, 300, 100, 100, 100, 100, 100, 100};
    for (int i = 0; i < 30; ++i) {
      lengths.insert(lengths.end(), turn.begin(), turn.end());
      if (i == 10) lengths.push_back(60);
    }
    lengths.insert(lengths.end(), 10, 100);
    for (const bool known : {true, false}) {
      if (!known && !c.countable) continue;
      for (const std::size_t horizon : {std::size_t{200}, std::size_t{262144}}) {
        CGapCorrection gaps({}, known ? std::optional(c.pitches) : std::nullopt);
        gaps.Horizon(horizon);
        CPulseTrain corrected(1000);
        const CPulseTrain pulses = Train(lengths, known ? c.pitches : 1);
        for (std::size_t i = 0; i < pulses.size(); i += 50) {
          CPulseTrain part(1000);
          part.Append(pulses, i, 50);
          gaps.Take(part, corrected);
        }
        ASSERT_TRUE(gaps.Finish(corrected));
        ASSERT_EQ(corrected.size(), pulses.size());
        EXPECT_EQ(gaps.Wheel().pitches, c.pitches) << c.what << known;
        ASSERT_EQ(gaps.Wheel().gaps.size(), c.places.size()) << c.what << known;
        for (std::size_t i = 0; i < c.places.size(); ++i) {
          EXPECT_EQ(gaps.Wheel().gaps[i].place, c.places[i]) << c.what << i;
          EXPECT_EQ(gaps.Wheel().gaps[i].length, c.lengths[i]) << c.what << i;
        }
        EXPECT_EQ(gaps.Gaps(), 30 * c.places.size()) << c.what << known << horizon;
        EXPECT_FALSE(corrected[2].Is(CPulseTrain::gapCorrected)) << c.what;
        CRevolutions revolutions(true, c.pitches);
        revolutions.Take(corrected);
        EXPECT_EQ(revolutions.Speed().count, 29u) << c.what << known;
      }
    }
  }
}

}  // namespace
