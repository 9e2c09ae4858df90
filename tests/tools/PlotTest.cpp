#include <set>

#include "support/Test.h"
#include "tools/plot/AmplitudePhase.h"
#include "tools/plot/Limits.h"
#include "tools/plot/Palette.h"
#include "tools/plot/PlotTrace.h"
#include "tools/plot/Raster.h"
#include "tools/plot/SeriesColours.h"
#include "tools/plot/Ticks.h"
#include "tools/plot/gnuplot/Canvas.h"

using namespace umlauf::tool;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr float nanF = std::numeric_limits<float>::quiet_NaN();

std::string Joined(const AxisTicks& axis) {
  std::string text;
  for (const Tick& each : axis.ticks) text += (text.empty() ? "" : " ") + each.label;
  return axis.origin.empty() ? text : text + " from " + axis.origin;
}

std::vector<PlotPoint> Points(const std::vector<double>& values) {
  std::vector<PlotPoint> points;
  for (const double each : values) points.push_back({static_cast<double>(points.size()), each});
  return points;
}

TEST(Ticks, AreReadAtAnyOffset) {
  const Cases<PlotRange, unsigned, const char*> cases = {
      {{0, 10}, 6, "0 2 4 6 8 10"},
      {{-0.31, 0.3}, 8, "-0.3 -0.2 -0.1 0 0.1 0.2 0.3"},
      {{101324.4, 101325.6}, 8, "101324.4 101324.6 101324.8 101325.0 101325.2 101325.4 101325.6"},
      {{1234530, 1234590}, 4, "1234540 1234560 1234580"},
      {{1.7e9, 1.7e9 + 1}, 6, "0 0.2 0.4 0.6 0.8 1.0 from 1700000000"},
      {{0, 2.1e7}, 5, "0 5e6 10e6 15e6 20e6"},
      {{-3e-7, 3.1e-7}, 8, "-300e-9 -200e-9 -100e-9 0 100e-9 200e-9 300e-9"},
      {{5, 5}, 8, ""},
      {{0, std::numeric_limits<double>::infinity()}, 8, ""},
  };
  for (const auto& [range, most, labels] : cases) EXPECT_EQ(Joined(LinearTicks(range, most)), labels);
  EXPECT_EQ(Joined(LinearTicks({-190, 190}, 4, 90)), "-180 -90 0 90 180");
  EXPECT_EQ(Joined(LogarithmicTicks({0.5, 300}, 12)), "0.5 1 2 5 10 20 50 100 200");
  EXPECT_EQ(Joined(LogarithmicTicks({2e-9, 3e3}, 5)), "1e-6 1e-3 1 1000");
}

TEST(Ticks, OfRandomRangesAreDistinctAndTrue) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> exponent(-12, 12), part(-1, 1);
  for (int i = 0; i < 20000; ++i) {
    const double span = std::pow(10, exponent(random)),
                 offset = part(random) * std::pow(10, exponent(random));
    const PlotRange range{offset, offset + span};
    if (!(range.span() > 1e-9 * std::abs(offset))) continue;
    const unsigned most = 2 + static_cast<unsigned>(i) % 12;
    const AxisTicks axis = LinearTicks(range, most);
    const double origin = axis.origin.empty() ? 0 : std::stod(axis.origin);
    std::set<std::string> labels;
    bool zero = false;
    for (const Tick& each : axis.ticks) {
      labels.insert(each.label);
      zero = zero || each.label == "0" || each.value == 0;
      EXPECT_NEAR(std::stod(each.label) + origin, each.value, 1e-9 * span + 1e-15 * std::abs(offset));
      EXPECT_LE(each.label.size(), 11u);
    }
    EXPECT_ALL(labels.size() == axis.ticks.size(), axis.ticks.size() <= std::max(5u, most));
    EXPECT_GE(axis.ticks.size(), 2u) << range.low << " " << range.high << " " << most;
    EXPECT_TRUE(zero || !range.Contains(0)) << Joined(axis);
  }
}

TEST(Limits, ValuesThatStandAloneDoNotSetTheScale) {
  std::vector<double> run;
  for (int i = 0; i < 400; ++i) run.push_back(250 + 3.5 * i + (i % 2 == 0 ? 10 : -10));
  std::vector<double> first = run, burst = run, noise;
  first.insert(first.begin(), {3846, 0.8});
  first.insert(first.begin() + 200, 2170);
  for (int i = 0; i < 3; ++i) burst.insert(burst.begin() + 100, 5000);
  std::mt19937 random(3);
  std::normal_distribution<double> normal;
  for (int i = 0; i < 3000; ++i) noise.push_back(normal(random));
  const PlotRange ofNoise = FullRange(Points(noise));
  std::vector<double> impulse(100, 0.0);
  impulse[40] = 1;
  std::vector<double> glitch(100, 1000.0);
  glitch[40] = 1;
  const Cases<const char*, std::vector<double>, double, double> cases = {
      {"first pulse and glitch", first, 243.5, 1653},
      {"burst", burst, 243.5, 5000},
      {"noise", noise, ofNoise.low, ofNoise.high},
      {"impulse", impulse, 0, 1},
      {"glitch", glitch, 1000, 1000},
      {"few", {1, 1, 900, 2}, 1, 900},
  };
  for (const auto& [what, values, low, high] : cases) {
    const PlotRange range = RobustRange(Points(values));
    EXPECT_EQ(range.low, low) << what;
    EXPECT_EQ(range.high, high) << what;
  }
}

TEST(Limits, WhatIsOutsideIsTold) {
  PlotSeries series;
  series.points = Points({1, 2, nan, 9, -4, 12});
  Outside outside;
  outside.Add(series, {0, 5});
  EXPECT_EQ(outside.Text(), "1 value below the scale: -4; 2 values above the scale, up to 12");
  series.reduced = true;
  Outside least;
  least.Add(series, {-9, 5});
  EXPECT_EQ(least.Text(), "at least 2 values above the scale, up to 12");
}

TEST(Limits, ConstantsAndZeroStayOffTheFrame) {
  for (const double value : {0.0, 5.0, -7e9, 1e-30}) {
    const PlotRange range = Widened({value, value});
    EXPECT_ALL(range.low<value, range.high> value);
  }
  const PlotRange fromZero = Widened({0, 100});
  EXPECT_ALL(fromZero.low<0, fromZero.low> - 5);
  EXPECT_LT(Widened({10, 100}).low, 0) << "near 0: from 0 on";
  EXPECT_GT(Widened({50, 100}).low, 40);
}

TEST(PlotTrace, BreaksAtWhatIsNoNumberAndKeepsPeaks) {
  PlotTrace few;
  for (const double each : {1.0, nan, nan, 2.0, 3.0}) few.Add(each == each ? each : 1.5, each);
  const std::vector<PlotPoint> points = few.Points();
  ASSERT_EQ(points.size(), 4u);
  EXPECT_ALL(std::isnan(points[1].y), few.missing() == 2u, !few.reduced());

  PlotTrace many(100);
  for (int i = 0; i < 100000; ++i)
    many.Add(i, i == 54321 ? 9 : i == 77 ? -9 : i >= 30000 && i < 40000 ? nan : 0.5);
  PlotRange range;
  int breaks = 0;
  for (const PlotPoint& each : many.Points()) {
    range.Add(each.y);
    if (std::isnan(each.y)) ++breaks;
  }
  EXPECT_ALL(many.Points().size() <= 410u, range.low == -9, range.high == 9, breaks == 1, many.reduced());
}

TEST(Raster, LosesNoPeakOnAnyAxes) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> step(0.05, 3);
  std::uniform_int_distribution<std::size_t> size(1, 60);
  for (int i = 0; i < 300; ++i) {
    PlotMap map;
    for (auto* axis : {&map.x, &map.y}) {
      for (std::size_t n = size(random); n > 0; --n)
        axis->push_back((axis->empty() ? 0 : axis->back()) + step(random));
    }
    map.levels.assign(map.x.size() * map.y.size(), -1);
    const std::size_t peak = random() % map.levels.size();
    map.levels[peak] = 5;
    map.levels[random() % map.levels.size()] = nanF;
    if (!(map.levels[peak] > 0)) continue;
    ASSERT_TRUE(IsValid(map));
    const Raster raster = Rasterised(map, size(random), size(random));
    bool found = false;
    for (std::size_t at = 0; at < raster.levels.size(); ++at) {
      if (!(raster.levels[at] > 0)) continue;
      found = true;
      const double width = raster.x.span() / static_cast<double>(raster.columns);
      const double height = raster.y.span() / static_cast<double>(raster.rows);
      EXPECT_LE(std::abs(raster.columnX(at % raster.columns) - map.x[peak % map.x.size()]), width + 3);
      EXPECT_LE(std::abs(raster.rowY(at / raster.columns) - map.y[peak / map.x.size()]), height + 3);
    }
    EXPECT_TRUE(found) << "seed 11, map " << i;
  }
}

TEST(Raster, CellsAreThoseOfTheMapWhenTheyFit) {
  PlotMap map;
  map.x = {0, 1, 2};
  map.y = {10, 20};
  map.levels = {1, 2, 3, 4, nanF, 6};
  const Raster raster = Rasterised(map, 6, 4);
  EXPECT_ALL(raster.x.low == -0.5, raster.y.high == 25);
  for (std::size_t at = 0; at < raster.levels.size(); ++at) {
    const float expected = map.levels[at / 6 / 2 * 3 + at % 6 / 2];
    if (std::isnan(expected)) {
      EXPECT_TRUE(std::isnan(raster.levels[at]));
    } else {
      EXPECT_EQ(raster.levels[at], expected);
    }
  }
  map.levels.pop_back();
  EXPECT_FALSE(IsValid(map));
  map.levels.push_back(0);
  map.x[1] = 0;
  EXPECT_FALSE(IsValid(map));
}

TEST(Palette, StepsAreEvenForTheEye) {
  const auto palette = LevelPalette();
  const auto linear = [](std::uint8_t value) {
    const double v = value / 255.0;
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
  };
  // Lightness of CIE L*a*b*, another measure than the one by which the palette was made.
  std::vector<double> lightness;
  for (const Colour& each : palette) {
    const double y = 0.2126 * linear(each.red) + 0.7152 * linear(each.green) + 0.0722 * linear(each.blue);
    lightness.push_back(116 * std::cbrt(y) - 16);
  }
  const double mean = (lightness.back() - lightness.front()) / static_cast<double>(palette.size() - 1);
  EXPECT_GT(lightness.back() - lightness.front(), 70);
  for (std::size_t i = 4; i < palette.size(); ++i) {
    const double step = (lightness[i] - lightness[i - 4]) / 4;
    EXPECT_GT(step, 0.6 * mean) << i;
    EXPECT_LT(step, 1.5 * mean) << i;
  }
}

TEST(Series, ManyStayApartAndTheDenserLiesBelow) {
  std::set<std::string> looks;
  for (std::size_t i = 0; i < 30; ++i) {
    PlotSeries series;
    DistinctLook(series, i);
    looks.insert(LineStyle(series));
  }
  EXPECT_EQ(looks.size(), 30u);
  PlotPanel panel{"y", {{}, {}, {}}};
  panel.series[0].points = Points({0, 1, 2, 3, 4});
  panel.series[1].points = Points({0, 4, 0, 4, 0, 4});
  panel.series[2].points = Points({2, 2, 2});
  DenserBelow(panel);
  EXPECT_ALL(panel.series[1].layer < panel.series[0].layer, panel.series[0].layer < panel.series[2].layer);
}

TEST(Series, PhaseBreaksAtTheTurn) {
  const Plot plot = AmplitudePhasePlot("t", "x", "y", {{"", Points({1, 1, 1}), Points({170, 190, 560})}});
  const std::vector<PlotPoint>& phase = plot.panels[1].series[0].points;
  ASSERT_EQ(phase.size(), 4u);
  EXPECT_ALL(phase[0].y == 170, std::isnan(phase[1].y), phase[2].y == -170, phase[3].y == -160);
}

TEST(Canvas, TextsAreCutBetweenCharacters) {
  EXPECT_ALL(Shortened("Größenmaß", 9) == "Größenmaß", Shortened("ÄÖÜäöüß", 5) == "ÄÖ…üß",
             Length("m/s²") == 4u, Quoted("it's\n") == "'it''s'");
}

}  // namespace
