#include "umlauf/rotation/PulseTrain.h"

#include <gtest/gtest.h>

#include <array>

#include "rotation/TrainSupport.h"
#include "umlauf/recording/MemorySource.h"
#include "umlauf/rotation/PulseFinder.h"
#include "umlauf/rotation/PulseMerger.h"
#include "umlauf/rotation/SpeedComparison.h"
#include "umlauf/rotation/SpeedSignals.h"

namespace {

CPulseTrain Found(const std::vector<float>& samples, const CDzPulsDetektor& detector, std::size_t block) {
  CMemorySource source(samples, 100, 5);
  CPulseFinder finder(source, 0, detector, block);
  CPulseTrain all(100, 5), pulses(100, 5);
  while (finder.Next(pulses)) all.Append(pulses);
  EXPECT_EQ(finder.Samples(), samples.size());
  EXPECT_TRUE(finder.Failure().IsEmpty());
  return all;
}

TEST(PulseTrain, EdgesLieWhereTheSignalCrossesWhateverTheBlocks) {
  // Rising through 0.5 at 1.5, 5.25, 10.5 and 12.5; falling through it at 3.5, 8.5 and 11.5.
  const std::vector<float> samples = {0, 0, 1, 1, 0, 0.4f, 0.8f, 1, 1, 0, 0, 1, 0, 1, 1};
  const std::vector<double> rising = {0, 1.5, 5.25, 10.5, 12.5};
  CDzPulsDetektor detector;
  detector.SchrankenSetzen(0.5f, 0.5f);
  detector.PulsMinLenSetzen(0);
  for (std::size_t block = 1; block <= samples.size(); ++block) {
    const CPulseTrain pulses = Found(samples, detector, block);
    ASSERT_EQ(pulses.size(), 4u) << block;
    for (std::size_t i = 0; i < rising.size(); ++i) EXPECT_NEAR(pulses.Edges()[i], rising[i], 1e-6) << block;
    EXPECT_TRUE(pulses[0].Is(CPulseTrain::first));
    EXPECT_FALSE(pulses[0].HasSpeed());
    EXPECT_NEAR(pulses[2].Rpm(100), 60 * 100 / 5.25, 1e-3);
    EXPECT_NEAR(pulses.Time(pulses[3].end), 5.125, 1e-8);
  }
  detector.BeideFlankenSuchen(true);
  const CPulseTrain both = Found(samples, detector, 4);
  ASSERT_EQ(both.size(), 7u);
  EXPECT_FALSE(both[1].Is(CPulseTrain::rising));
  EXPECT_NEAR(both[1].end, 3.5, 1e-6);
}

TEST(PulseTrain, ShortPulsesGoOnIntoTheNext) {
  CPulseTrain pulses = Train({10, 2, 3, 10, 1}, 4), merged(1000);
  CPulseTrain turnBack(1000);
  CPulseTrain::Pulse pulse;
  for (const double pitches : {1.0, -1.0, 2.0}) {
    pulse.begin = pulse.end;
    pulse.end += 8;
    pulse.pitches = pitches;
    pulse.samples = 8;
    turnBack.Append(pulse);
  }
  CPulseTrain whole(1000);
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    CPulseTrain::Pulse each = pulses[i];
    each.samples = static_cast<std::uint64_t>(each.Length());
    whole.Append(each);
  }
  CPulseMerger(5, 4).Take(whole, merged);
  ASSERT_EQ(merged.size(), 3u);
  EXPECT_EQ(merged[1].begin, 10);
  EXPECT_EQ(merged[1].end, 15);
  EXPECT_EQ(merged[1].pitches, 2);
  EXPECT_EQ(merged[1].samples, 5u);
  EXPECT_DOUBLE_EQ(merged[1].revolutionTime, 10);

  merged.Clear();
  CPulseMerger(10, 4).Take(turnBack, merged);  // 8 + 8 samples forward and back are no way
  ASSERT_EQ(merged.size(), 1u);
  EXPECT_EQ(merged[0].pitches, 2);
  EXPECT_DOUBLE_EQ(merged[0].revolutionTime, 24.0 / 2 * 4);
}

TEST(SpeedSignals, CurveAndPairsTellTheTurnsThatWereMade) {
  std::vector<double> lengths;
  for (int i = 0; i < 200; ++i) lengths.push_back(10 + 5 * std::sin(0.1 * i));
  const CPulseTrain pulses = Train(lengths, 4, 20);
  CSpeedCurveBuilder builder(0.05);
  builder.Take(pulses);
  const auto curve = builder.Finish(L"n");
  ASSERT_NE(curve, nullptr);
  double turns = 0;
  for (std::size_t i = 0; i < curve->DLen(); ++i) turns += static_cast<double>(curve->FData()[i]) * 0.05 / 60;
  EXPECT_NEAR(turns, 200 / 4.0, 0.05 * 1000 / 4 / 5);  // less a last step that is not full
  EXPECT_EQ(curve->DLen(), static_cast<std::uint64_t>((pulses.Edges().back() - 20) / 50));
  EXPECT_NEAR(curve->XMin(), 0.02 + 0.025, 1e-6);
  EXPECT_EQ(curve->YUnit().prefixunit(false), CString(L"rpm"));
  EXPECT_FALSE(curve->FileCompression());

  CSpeedPairsBuilder points;
  points.Take(pulses);
  const auto pairs = points.Finish(L"n");
  ASSERT_EQ(pairs->NPaare(), 200u);
  EXPECT_NEAR(pairs->Wert(7), 60 * 1000 / (lengths[7] * 4), 1e-2);
  EXPECT_EQ(pairs->XUnit().prefixunit(false), CString(L"s"));

  for (const double step : {0.0, -1.0, 1e-12, std::nan("")}) {
    CSpeedCurveBuilder bad(step);
    bad.Take(pulses);
    EXPECT_EQ(bad.Finish(L""), nullptr) << step;
  }
  EXPECT_EQ(CSpeedCurveBuilder(1).Finish(L"")->DLen(), 0u);
}

TEST(SpeedComparison, DeviatesByWhatTheSpeedsDiffer) {
  const CPulseTrain pulses = Train(std::vector<double>(100, 10), 6);  // 1000 rpm for a second
  // 990 rpm up to 0.5 s, a rise to 1010 at its end; nothing is known beyond.
  CSpeedComparison comparison({{0, 990}, {0.5, 990}, {0.5, 1000}, {0.7, 1010}});
  comparison.Take(pulses);
  EXPECT_EQ(comparison.Count(), 70u);
  EXPECT_NEAR(comparison.MaxRpm(), 10, 1e-9);
  EXPECT_NEAR(comparison.MeanRpm(), (50 * 10 + 20 * 5) / 70.0, 1e-9);
  EXPECT_NEAR(comparison.MaxPercent(), 1000 / 990.0, 1e-9);
  EXPECT_GT(comparison.Found().front().percent, 0);
  EXPECT_LT(comparison.Found().back().percent, 0);
  CSpeedComparison nothing({{0, 990}});
  nothing.Take(pulses);
  EXPECT_EQ(nothing.Count(), 0u);
}

}  // namespace
