#include "umlauf/algorithms/CurveStatistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <vector>

#include "support/ExpectAll.h"

namespace {

CSigCurve Samples(const std::vector<float>& samples) {
  CSigCurve curve(samples.size());
  std::copy(samples.begin(), samples.end(), curve.FData());
  curve.SetXMinMax(0.0f, static_cast<float>(samples.size()));
  return curve;
}

TEST(CurveStatistics, RegressionLines) {
  CSigCurve curve = Samples({1, 3, 5, 7, 9});
  curve.SetXMinMax(1000, 1005);
  RegressionLine line;
  ASSERT_TRUE(CurveStatistics::Regression(curve, line));
  EXPECT_DOUBLE_EQ(line.slope, 2.0);
  EXPECT_NEAR(line.intercept, -1999.0, 1e-9);
  EXPECT_DOUBLE_EQ(line.correlation, 1.0);
  EXPECT_NEAR(line.residual, 0.0, 1e-6);
  CSigPairs points;
  for (const SPunkt& p : {SPunkt{0, 1}, SPunkt{1, -1}, SPunkt{2, 1}, SPunkt{3, -1}})
    points.NeuesPaar(p.x, p.y);
  ASSERT_TRUE(CurveStatistics::Regression(points, line));
  EXPECT_DOUBLE_EQ(line.slope, -0.4);
  EXPECT_NEAR(line.correlation, -1 / std::sqrt(5.0), 1e-9);
  EXPECT_NEAR(line.residual, std::sqrt(0.8), 1e-9);
  EXPECT_FALSE(CurveStatistics::Regression(Samples({1}), line));
  for (SPunkt* p = points.Punkte(); p != points.PunkteEnd(); ++p) p->x = 3;
  EXPECT_FALSE(CurveStatistics::Regression(points, line));
}

TEST(CurveStatistics, HistogramsCountWhatLiesWithin) {
  CSigCurveExt out;
  ASSERT_TRUE(CurveStatistics::Histogram(Samples({0, 0.5f, 1, 1.999f, 2, 4, 4.1f, -0.1f, NAN, INFINITY}), 0,
                                         4, 4, out));
  EXPECT_EQ(std::vector(out.FData(), out.FData() + 4), (std::vector<float>{2, 2, 1, 1}));
  EXPECT_ALL(out.XMin() == 0, out.XMax() == 4);
  for (const auto& [lo, hi, bins] : {std::tuple(0.0f, 0.0f, 4u),
                                     {2.0f, 1.0f, 4u},
                                     {0.0f, 1.0f, 0u},
                                     {0.0f, NAN, 4u},
                                     {-INFINITY, 1.0f, 2u}}) {
    EXPECT_FALSE(CurveStatistics::Histogram(Samples({1}), lo, hi, bins, out));
  }
}

std::map<float, float> Counts(const std::vector<float>& loads) {
  CAlignedMem<RainflowCycle> cycles;
  EXPECT_TRUE(CurveStatistics::Rainflow(Samples(loads), cycles));
  std::map<float, float> counts;
  for (const RainflowCycle& cycle : cycles) counts[cycle.range] += cycle.count;
  return counts;
}

TEST(CurveStatistics, RainflowOfTheExampleInTheStandard) {
  // ASTM E1049-85, figure 6: loads and the table of counts beside it.
  const std::vector<float> loads = {-2, 1, -3, 5, -1, 3, -4, 4, -2};
  const std::map<float, float> expected = {{3, 0.5f}, {4, 1.5f}, {6, 0.5f}, {8, 1}, {9, 0.5f}};
  EXPECT_EQ(Counts(loads), expected);
  // Values between the turning points, repeated ones and gaps change nothing.
  EXPECT_EQ(Counts({-2, -2, 0, 1, 1, -1, -3, NAN, 2, 5, -1, 0, 0, 3, -4, -1, 4, 4, -2, -2}), expected);
  CAlignedMem<RainflowCycle> cycles;
  ASSERT_TRUE(CurveStatistics::Rainflow(Samples(loads), cycles));
  ASSERT_EQ(cycles.size(), 7u);
  EXPECT_ALL(cycles[0].range == 3, cycles[0].mean == -0.5f, cycles[0].count == 0.5f);
  EXPECT_ALL(cycles[2].range == 4, cycles[2].mean == 1.0f, cycles[2].count == 1.0f);
}

TEST(CurveStatistics, RainflowOfLittle) {
  EXPECT_EQ(Counts({}), (std::map<float, float>{}));
  EXPECT_EQ(Counts({5, 5, NAN}), (std::map<float, float>{}));
  EXPECT_EQ(Counts({5, 7}), (std::map<float, float>{{2, 0.5f}}));
  // n periods of one amplitude: n whole cycles, counted as halves at the start.
  std::vector<float> wave;
  for (int i = 0; i < 2001; ++i) wave.push_back(i % 2 == 0 ? -1.0f : 1.0f);
  EXPECT_EQ(Counts(wave), (std::map<float, float>{{2, 1000}}));
}

}  // namespace
