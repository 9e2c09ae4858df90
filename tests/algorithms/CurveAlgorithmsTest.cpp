// Features, calculus, levels, resampling and correlation.

#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "support/Reference.h"
#include "umlauf/algorithms/CurveCalculus.h"
#include "umlauf/algorithms/CurveCorrelation.h"
#include "umlauf/algorithms/CurveFeatures.h"
#include "umlauf/algorithms/CurveLevels.h"
#include "umlauf/algorithms/CurveResampling.h"
#include "umlauf/signal/CurveSpan.h"

namespace {

constexpr double kTurn = 2 * std::numbers::pi;

/// f over [xMin, xMax) with n samples.
CSigCurveExt Curve(std::size_t n, float xMin, float xMax, const std::function<double(double)>& f) {
  CSigCurveExt curve(n);
  curve.SetXMinMax(xMin, xMax);
  curve.ResetVMinMax();
  for (std::size_t i = 0; i < n; ++i) {
    const double x =
        double{xMin} + (double{xMax} - double{xMin}) * static_cast<double>(i) / static_cast<double>(n);
    curve.FData()[i] = static_cast<float>(f(x));
  }
  return curve;
}

CSigCurveExt Samples(const std::vector<float>& samples) {
  CSigCurveExt curve(samples.size());
  std::copy(samples.begin(), samples.end(), curve.FData());
  curve.SetXMinMax(0.0f, static_cast<float>(samples.size()));
  curve.ResetVMinMax();
  return curve;
}

/// All samples of a result follow f, but for `margin` at both ends.
void ExpectFollows(const CSigCurveExt& curve, const std::function<double(double)>& f, double tolerance,
                   std::size_t margin = 0) {
  ASSERT_GT(curve.DLen(), 2 * margin);
  const CurveSpan span = SpanOf(static_cast<const CSigCurve&>(curve));
  for (std::size_t i = margin; i < span.length - margin; ++i) {
    const double x = span.X(static_cast<double>(i));
    ASSERT_NEAR(double{span.samples[i]}, f(x), tolerance) << "at " << x;
  }
}

TEST(CurveFeatures, PeaksAgreeWithTheReference) {
  std::vector<float> x = ReferenceX();
  x.resize(400);
  CAlignedMem<CurvePeak> peaks;
  ASSERT_TRUE(CurveFeatures::Peaks(Samples(x), {0.5f, 7.0, 0.6f}, peaks));
  std::vector<float> places, prominences;
  for (const CurvePeak& peak : peaks) {
    places.push_back(static_cast<float>(peak.index));
    prominences.push_back(peak.prominence);
  }
  ExpectNear(places.data(), places.size(), Reference("peaks"), "peaks", 0.0);
  ExpectNear(prominences.data(), prominences.size(), Reference("prominences"), "prominences", 1e-6);
}

TEST(CurveFeatures, PeaksLieOnTheParabolaWithinTheSpan) {
  CSigCurveExt curve = Curve(100, 0, 10, [](double x) { return 3.0 - (x - 4.23) * (x - 4.23); });
  curve.FData()[90] = 50.0f;
  curve.FData()[95] = curve.FData()[96] = curve.FData()[97] = 60.0f;
  curve.SetVIMinMax(5, 80);
  CSigPairs points;
  ASSERT_TRUE(CurveFeatures::Peaks(curve, {}, points));
  ASSERT_EQ(points.NPaare(), 1u);
  EXPECT_NEAR(points.Punkt(0), 4.23, 1e-4);
  EXPECT_NEAR(points.Wert(0), 3.0, 1e-4);
  curve.ResetVMinMax();
  CAlignedMem<CurvePeak> peaks;
  ASSERT_TRUE(CurveFeatures::Peaks(curve, {}, peaks));
  ASSERT_EQ(peaks.size(), 3u);
  EXPECT_EQ(peaks[2].index, 96) << "the middle of a plateau";
  ASSERT_TRUE(CurveFeatures::Peaks(curve, {40.0f, 0.6, 0.0f}, peaks));
  EXPECT_EQ(peaks.size(), 2u) << "6 samples apart";
  ASSERT_TRUE(CurveFeatures::Peaks(curve, {40.0f, 0.7, 0.0f}, peaks));
  EXPECT_ALL(peaks.size() == 1, peaks[0].index == 96) << "the higher one stays";
  for (const auto& flat :
       {Samples({}), Samples({1, 2}), Samples({1, 1, 1, 1}), Samples({NAN, 2, NAN, 3, 2})}) {
    ASSERT_TRUE(CurveFeatures::Peaks(flat, {}, peaks));
    EXPECT_EQ(peaks.size(), 0u);
  }
}

TEST(CurveFeatures, ProminenceByItsDefinition) {
  std::mt19937 random(4);
  for (int round = 0; round < 50; ++round) {
    std::vector<float> y(60);
    for (float& v : y) v = static_cast<float>(random() % 12);
    CAlignedMem<CurvePeak> peaks;
    ASSERT_TRUE(CurveFeatures::Peaks(Samples(y), {}, peaks));
    for (const CurvePeak& peak : peaks) {
      const auto i = static_cast<std::size_t>(peak.index);
      float left = y[i], right = y[i];
      for (std::size_t j = i; j-- > 0 && y[j] <= y[i];) left = std::min(left, y[j]);
      for (std::size_t j = i + 1; j < y.size() && y[j] <= y[i]; ++j) right = std::min(right, y[j]);
      EXPECT_EQ(peak.prominence, y[i] - std::max(left, right)) << round << " " << i;
    }
  }
}

TEST(CurveFeatures, CrossingsAreOnTheLinesBetweenSamples) {
  const CSigCurveExt curve = Samples({0, 4, 4, 0, NAN, 0, 2, 2, 8});
  using enum CurveFeatures::Direction;
  const struct {
    CurveFeatures::Direction direction;
    float level;
    std::vector<float> x;
  } cases[] = {{Rising, 1, {0.25f, 5.5f}}, {Falling, 1, {2.75f}}, {Both, 2, {0.5f, 2.5f, 6}}, {Both, 9, {}}};
  for (const auto& c : cases) {
    CSigPairs points;
    ASSERT_TRUE(CurveFeatures::Crossings(curve, c.level, c.direction, points));
    ASSERT_EQ(points.NPaare(), c.x.size()) << c.level;
    for (std::size_t i = 0; i < c.x.size(); ++i) EXPECT_FLOAT_EQ(points.Punkt(i), c.x[i]);
  }
}

TEST(CurveCalculus, DerivativesAndIntegralsWithTheirUnits) {
  CSigCurveExt speed = Curve(2000, 0, 2, [](double t) { return std::sin(kTurn * 3 * t); });
  speed.SetXUnit(L"s");
  speed.SetYUnit(L"m/s");
  CSigCurveExt out;
  ASSERT_TRUE(CurveCalculus::Derivative(speed, out));
  ExpectFollows(
      out, [](double t) { return kTurn * 3 * std::cos(kTurn * 3 * t); }, 0.01, 1);
  EXPECT_TRUE(out.YUnit() == L"m/s²");
  ASSERT_TRUE(CurveCalculus::Integral(speed, out));
  ExpectFollows(
      out, [](double t) { return (1 - std::cos(kTurn * 3 * t)) / (kTurn * 3); }, 1e-5);
  EXPECT_TRUE(out.YUnit() == L"m");
  const struct {
    double exponent;
    std::function<double(double)> expected;
    const wchar_t* unit;
  } cases[] = {
      {1, [](double t) { return kTurn * 3 * std::cos(kTurn * 3 * t); }, L"m/s²"},
      {-1, [](double t) { return -std::cos(kTurn * 3 * t) / (kTurn * 3); }, L"m"},
      {0, [](double t) { return std::sin(kTurn * 3 * t); }, L"m/s"},
      {0.5, [](double t) { return std::sqrt(kTurn * 3) * std::sin(kTurn * (3 * t + 0.125)); }, L"-"}};
  for (const auto& c : cases) {
    ASSERT_TRUE(CurveCalculus::OmegaFactor(speed, c.exponent, 0.0, out));
    const double peak = std::pow(kTurn * 3, c.exponent);
    ExpectFollows(out, c.expected, 2e-5 * std::max(peak, 1.0) * (c.exponent > 0 ? 10 : 1));
    EXPECT_TRUE(out.YUnit() == c.unit) << c.exponent;
  }
  ASSERT_TRUE(CurveCalculus::OmegaFactor(speed, 0.0, 4.0, out));
  ExpectFollows(
      out, [](double) { return 0.0; }, 1e-5);
  // A length that is slow to transform: the middle is right, in place.
  CSigCurveExt odd = Curve(10007, 0, 10.007f, [](double t) { return std::sin(kTurn * 3 * t); });
  ASSERT_TRUE(CurveCalculus::OmegaFactor(odd, 1.0, 0.0, odd));
  ExpectFollows(
      odd, [](double t) { return kTurn * 3 * std::cos(kTurn * 3 * t); }, 0.1, 2000);
}

TEST(CurveCalculus, OnlyTheSpanCountsAndNothingCanBeOfNothing) {
  CSigCurveExt line = Curve(100, 0, 100, [](double x) { return 2 * x; });
  line.FData()[0] = 1e9f;
  line.SetVIMinMax(10, 89);
  line.Date(7);
  CSigCurveExt out;
  ASSERT_TRUE(CurveCalculus::Derivative(line, out));
  EXPECT_ALL(out.DLen() == 80, out.XMin() == 10, out.XMax() == 90, out.IMax() == 79, out.Date() == 7);
  ExpectFollows(
      out, [](double) { return 2.0; }, 1e-5);
  CSigCurveExt noStep(5);
  noStep.SetXMinMax(1, 1);
  noStep.ResetVMinMax();
  for (const CSigCurveExt& bad : {CSigCurveExt(), noStep}) {
    out = line;
    EXPECT_FALSE(CurveCalculus::Derivative(bad, out));
    EXPECT_EQ(out.DLen(), 0u);
    EXPECT_FALSE(CurveCalculus::Integral(bad, out) || CurveCalculus::OmegaFactor(bad, 1, 0, out) ||
                 CurveLevels::Smooth(bad, 1, 1, out) || CurveLevels::MovingEffectiveValue(bad, 1, out) ||
                 CurveLevels::ExponentialEffectiveValue(bad, 1, out) ||
                 CurveResampling::Resample(bad, 0, 1, 5, CurveResampling::Method::Cubic, out) ||
                 CurveCorrelation::Correlation(bad, bad, 1, out));
  }
}

TEST(CurveLevels, EffectiveValuesOfASine) {
  const CSigCurveExt sine = Curve(40000, 0, 4, [](double t) { return 2 * std::sin(kTurn * 50 * t); });
  EXPECT_NEAR(CurveLevels::EffectiveValue(sine), std::sqrt(2.0), 1e-6);
  CSigCurveExt out;
  ASSERT_TRUE(CurveLevels::MovingEffectiveValue(sine, 0.1, out));
  ExpectFollows(
      out, [](double) { return std::sqrt(2.0); }, 1e-3, 600);
  EXPECT_NEAR(out.FData()[0], std::sqrt(2.0), 0.01) << "the half of the window that there is";
  ASSERT_TRUE(CurveLevels::ExponentialEffectiveValue(sine, CurveLevels::kFast, out));
  for (const double t : {0.125, 0.25, 0.5}) {
    EXPECT_NEAR(out.GetValue(static_cast<float>(t)), std::sqrt(2.0 * (1 - std::exp(-t / 0.125))), 0.02) << t;
  }
  ASSERT_TRUE(CurveLevels::Levels(out, 2e-5, out));
  EXPECT_NEAR(out.FData()[39999], 20 * std::log10(std::sqrt(2.0) / 2e-5), 0.1);
  EXPECT_TRUE(out.YUnit().is_db());
  EXPECT_FALSE(CurveLevels::Levels(sine, 0.0, out));
}

TEST(CurveLevels, MovingWindowsForgetWhatHasLeft) {
  std::vector<float> y(20000, 1.0f);
  y[5] = 1e15f;
  CSigCurveExt out;
  ASSERT_TRUE(CurveLevels::Smooth(Samples(y), 11, 1, out));
  EXPECT_FLOAT_EQ(out.FData()[0], 1e15f / 6);
  EXPECT_EQ(out.FData()[19999], 1.0f);
  ASSERT_TRUE(CurveLevels::Smooth(Samples({0, 0, 9, 0, 0}), 3, 2, out));
  EXPECT_FLOAT_EQ(out.FData()[2], 3.0f);
  ASSERT_TRUE(CurveLevels::Smooth(Samples({1, 2, 3}), 1e30, 1, out));
  EXPECT_FLOAT_EQ(out.FData()[0], 2.0f);
  EXPECT_FALSE(CurveLevels::Smooth(Samples({1, 2, 3}), NAN, 1, out));
}

TEST(CurveLevels, EnvelopeAgreesWithTheReference) {
  std::vector<float> x = ReferenceX();
  x.resize(300);
  CSigCurveExt curve = Samples(x), out;
  curve -= 0.25f;
  ASSERT_TRUE(CurveLevels::Envelope(curve, out));
  ExpectNear(out.FData(), out.DLen(), Reference("envelope"), "envelope");
}

TEST(CurveResampling, FollowsTheCurveBetweenItsSamples) {
  using enum CurveResampling::Method;
  const auto wave = [](double t) { return std::sin(kTurn * 5 * t) + 0.3 * std::cos(kTurn * 11.5 * t); };
  const CSigCurveExt curve = Curve(4000, 0, 40, wave);
  const struct {
    CurveResampling::Method method;
    double tolerance;
  } cases[] = {{Linear, 0.2}, {Cubic, 0.05}, {BandLimited, 3e-5}};
  for (const auto& c : cases) {
    CSigCurveExt out;
    ASSERT_TRUE(CurveResampling::Resample(curve, 0.5f, 39.5f, 7777, c.method, out));
    ExpectFollows(out, wave, c.tolerance, 100);
    ASSERT_TRUE(CurveResampling::Resample(curve, 0, 40, 4000, c.method, out));
    ExpectFollows(out, wave, 1e-5, 40);
    // Beyond the ends they are held and not valid.
    ASSERT_TRUE(CurveResampling::Resample(Samples({1, 2, 3}), -2, 6, 8, c.method, out));
    EXPECT_ALL(out.IMin() == 2, out.IMax() == 4, out.FData()[0] == out.FData()[2]);
  }
  // What a coarser axis cannot hold goes.
  const CSigCurveExt high = Curve(4000, 0, 40, [](double t) { return std::sin(kTurn * 30 * t); });
  CSigCurveExt out;
  ASSERT_TRUE(CurveResampling::Resample(high, 0, 40, 1600, BandLimited, out));
  ExpectFollows(
      out, [](double) { return 0.0; }, 1e-4, 60);
  EXPECT_FALSE(CurveResampling::Resample(high, 1, 1, 5, Linear, out) ||
               CurveResampling::Resample(high, 0, NAN, 5, Linear, out) ||
               CurveResampling::Resample(high, 0, 1, 0, Linear, out));
}

TEST(CurveCorrelation, FindsTheDelayAndAligns) {
  std::mt19937 random(2);
  std::normal_distribution<float> digits;
  std::vector<float> noise(3000);
  for (float& v : noise) v = digits(random);
  CSigCurveExt x = Samples(noise), y(2000);
  y.SetXMinMax(0, 2000);
  y.ResetVMinMax();
  for (std::size_t i = 0; i < 2000; ++i) y.FData()[i] = 5.0f - 2.0f * noise[i + 300];  // 300 samples earlier
  CSigCurveExt r;
  ASSERT_TRUE(CurveCorrelation::Correlation(x, y, 400, r));
  EXPECT_ALL(r.DLen() == 801, r.XMin() == -400);
  // By the definition at a few delays.
  double meanX = 0, meanY = 0, xx = 0, yy = 0;
  for (const float v : noise) meanX += double{v} / 3000;
  for (std::size_t i = 0; i < 2000; ++i) meanY += double{y.FData()[i]} / 2000;
  for (const float v : noise) xx += (double{v} - meanX) * (double{v} - meanX);
  for (std::size_t i = 0; i < 2000; ++i) yy += std::pow(double{y.FData()[i]} - meanY, 2);
  for (const int delay : {-300, -17, 0, 400}) {
    double sum = 0;
    for (int i = 0; i < 3000; ++i) {
      if (i + delay < 0 || i + delay >= 2000) continue;
      sum += (double{noise[static_cast<std::size_t>(i)]} - meanX) * (double{y.FData()[i + delay]} - meanY);
    }
    EXPECT_NEAR(r.FData()[delay + 400], sum / std::sqrt(xx * yy), 1e-5) << delay;
  }
  y *= -1.0f;
  double delay = 0, coefficient = 0;
  ASSERT_TRUE(CurveCorrelation::Delay(x, y, 400, delay, coefficient));
  EXPECT_NEAR(delay, -300, 0.1);
  EXPECT_GT(coefficient, 0.75);
  y.SetVIMinMax(100, 1899);
  ASSERT_TRUE(CurveCorrelation::Align(x, y, 400, delay));
  EXPECT_NEAR(y.XMin(), 300, 0.1);
  EXPECT_ALL(y.IMin() == 100, y.IMax() == 1899);
  ASSERT_TRUE(CurveCorrelation::Delay(x, y, 400, delay, coefficient));
  EXPECT_NEAR(delay, 0, 0.1);
  EXPECT_FALSE(CurveCorrelation::Correlation(x, Curve(10, 0, 1, [](double t) { return t; }), 1, r));
  EXPECT_ALL(CurveCorrelation::Correlation(x, Samples({1, 1, 1}), 1, r), r.FData()[0] == 0.0f);
}

}  // namespace
