#include <gtest/gtest.h>

#include <random>

#include "support/Reference.h"
#include "umlauf/signal/SigCurveExt.h"
#include "umlauf/spectrum/CrossSpectrumAverage.h"
#include "umlauf/spectrum/SpectrogramBuilder.h"
#include "umlauf/spectrum/SpectrogramStream.h"
#include "umlauf/spectrum/SpectrumAverage.h"
#include "umlauf/spectrum/SpectrumLevels.h"

namespace {

constexpr double kRate = kReferenceRate;

SpectrumSettings Settings(std::size_t length, std::size_t step, WindowShape window = WindowShape::Hann,
                          Detrending detrending = Detrending::Mean) {
  return {length, step, window, 8.6, detrending};
}

CSigCurve SpectrumOf(const std::vector<float>& x, const SpectrumSettings& settings, SpectrumScaling scaling) {
  CSpectrumAverage average(settings, kRate);
  average.Process(x.data(), x.size());
  CSigCurve out;
  EXPECT_TRUE(average.Spectrum(scaling, out));
  return out;
}

std::vector<float> Sine(double frequency, double amplitude, std::size_t n) {
  std::vector<float> x(n);
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = static_cast<float>(amplitude *
                              std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / kRate));
  }
  return x;
}

std::vector<float> Values(const CSigCurve& c) { return {c.FData(), c.FData() + c.DLen()}; }

TEST(SpectrumAverage, AgreesWithTheReference) {
  const struct {
    const char* name;
    SpectrumSettings settings;
    SpectrumScaling scaling;
  } cases[] = {
      {"welch_hann", Settings(256, 128), SpectrumScaling::Density},
      {"welch_flattop", Settings(250, 150, WindowShape::FlatTop, Detrending::Line), SpectrumScaling::Density},
      {"welch_kaiser", Settings(225, 25, WindowShape::Kaiser, Detrending::None), SpectrumScaling::Density},
      {"welch_power", Settings(256, 128), SpectrumScaling::Power}};
  for (const auto& c : cases) {
    const CSigCurve spectrum = SpectrumOf(ReferenceX(), c.settings, c.scaling);
    ExpectNear(spectrum.FData(), spectrum.DLen(), Reference(c.name), c.name);
    EXPECT_NEAR(spectrum.XDelta(), kRate / static_cast<double>(c.settings.length), 1e-4) << c.name;
  }
}

TEST(SpectrumAverage, ASineHasItsAmplitudeAndNoiseItsPower) {
  const std::vector<float> sine = Sine(125.0, 3.0, 8192);
  const std::size_t bin = 32;
  for (const WindowShape shape : {WindowShape::Rectangle, WindowShape::Hann, WindowShape::FlatTop}) {
    const SpectrumSettings settings = Settings(256, 64, shape);
    EXPECT_NEAR(SpectrumOf(sine, settings, SpectrumScaling::Amplitude).FData()[bin], 3.0, 1e-4);
    EXPECT_NEAR(SpectrumOf(sine, settings, SpectrumScaling::Effective).FData()[bin], 3.0 / std::sqrt(2.0),
                1e-4);
    EXPECT_NEAR(SpectrumOf(sine, settings, SpectrumScaling::Power).FData()[bin], 4.5, 1e-3);
  }
  // A flat top shows it between two bins as well, within 0.01 dB.
  const auto between = SpectrumOf(Sine(126.953125, 3.0, 8192), Settings(256, 64, WindowShape::FlatTop),
                                  SpectrumScaling::Amplitude);
  EXPECT_NEAR(between.FData()[bin], 3.0, 0.004);
  // A constant is at 0 Hz; half the sample rate counts once.
  std::vector<float> steady(1024, 2.0f);
  const SpectrumSettings plain = Settings(64, 64, WindowShape::Rectangle, Detrending::None);
  EXPECT_NEAR(SpectrumOf(steady, plain, SpectrumScaling::Amplitude).FData()[0], 2.0, 1e-6);
  for (std::size_t i = 1; i < steady.size(); i += 2) steady[i] = -2.0f;
  EXPECT_NEAR(SpectrumOf(steady, plain, SpectrumScaling::Amplitude).FData()[32], 2.0, 1e-6);
  // Density times width is the variance.
  std::mt19937 random(3);
  std::normal_distribution<float> digits(0.0f, 2.0f);
  std::vector<float> noise(1u << 16);
  for (float& v : noise) v = digits(random);
  const CSigCurve density = SpectrumOf(noise, Settings(1024, 512), SpectrumScaling::Density);
  double power = 0.0;
  for (const float v : Values(density)) power += double{v} * double{density.XDelta()};
  EXPECT_NEAR(power, 4.0, 0.1);
}

TEST(SpectrumAverage, LargeOffsetsDoNotHideTheRest) {
  std::vector<float> x = Sine(125.0, 1.0, 4096);
  for (float& v : x) v += 4096.0f;
  EXPECT_NEAR(SpectrumOf(x, Settings(256, 128), SpectrumScaling::Amplitude).FData()[32], 1.0, 1e-3);
}

/// Blocks of 0 to some hundred samples.
template <class Process>
void InBlocks(std::size_t n, unsigned seed, Process process) {
  std::mt19937 random(seed);
  for (std::size_t at = 0; at < n;) {
    const std::size_t count =
        std::min<std::size_t>(n - at, random() % 4 == 0 ? random() % 700 : random() % 9);
    process(at, count);
    at += count;
  }
}

TEST(SpectrumStreams, BlocksOfAnySizeGiveTheSameResult) {
  const std::vector<float> x = ReferenceX(), y = ReferenceY();
  for (const auto& [length, step] :
       {std::pair(64u, 16u), std::pair(64u, 64u), std::pair(100u, 1u), std::pair(37u, 30u)}) {
    const SpectrumSettings settings = Settings(length, step);
    const CSigCurve whole = SpectrumOf(x, settings, SpectrumScaling::Density);
    CCrossSpectrumAverage wholeCross(settings, kRate);
    wholeCross.Process(x.data(), y.data(), x.size());
    CSpectrogramStream wholeRows(settings, kRate, SpectrumScaling::Amplitude);
    std::vector<float> rows(wholeRows.Rows(x.size()) * wholeRows.Bins());
    ASSERT_EQ(wholeRows.Process(rows.data(), x.data(), x.size()) * wholeRows.Bins(), rows.size());
    for (unsigned seed = 0; seed < 4; ++seed) {
      CSpectrumAverage average(settings, kRate);
      CCrossSpectrumAverage cross(settings, kRate);
      CSpectrogramStream spectrogram(settings, kRate, SpectrumScaling::Amplitude);
      std::vector<float> blockRows;
      InBlocks(x.size(), seed, [&](std::size_t at, std::size_t count) {
        average.Process(x.data() + at, count);
        cross.Process(x.data() + at, y.data() + at, count);
        std::vector<float> some(spectrogram.Rows(count) * spectrogram.Bins());
        ASSERT_EQ(spectrogram.Process(some.data(), x.data() + at, count) * spectrogram.Bins(), some.size());
        blockRows.insert(blockRows.end(), some.begin(), some.end());
      });
      CSigCurve spectrum, coherence, wholeCoherence;
      ASSERT_TRUE(average.Spectrum(SpectrumScaling::Density, spectrum));
      EXPECT_EQ(average.Segments(), (x.size() - length) / step + 1);
      EXPECT_EQ(Values(spectrum), Values(whole)) << length << " by " << step;
      ASSERT_TRUE(cross.Coherence(coherence) && wholeCross.Coherence(wholeCoherence));
      EXPECT_EQ(Values(coherence), Values(wholeCoherence));
      EXPECT_EQ(blockRows, rows);
      average.Restart();
      EXPECT_FALSE(average.Spectrum(SpectrumScaling::Density, spectrum));
      EXPECT_EQ(spectrum.DLen(), 0u);
    }
  }
}

TEST(SpectrumStreams, SettingsThatCannotBeUsedDoNothing) {
  const std::vector<float> x(100);
  const std::pair<SpectrumSettings, double> cases[] = {
      {Settings(0, 0), 1.0},          {Settings(8, 0), 1.0},
      {Settings(8, 9), 1.0},          {Settings((std::size_t{1} << 28) + 1, 1), 1.0},
      {Settings(8, 4), 0.0},          {Settings(8, 4), -1.0},
      {Settings(8, 4), std::nan("")}, {Settings(8, 4), INFINITY}};
  for (const auto& [settings, rate] : cases) {
    CSpectrumAverage average(settings, rate);
    CCrossSpectrumAverage cross(settings, rate);
    CSpectrogramStream rows(settings, rate, SpectrumScaling::Density);
    EXPECT_FALSE(average.IsValid() || cross.IsValid() || rows.IsValid());
    average.Process(x.data(), x.size());
    cross.Process(x.data(), x.data(), x.size());
    CSigCurve a(3), b(3);
    EXPECT_FALSE(average.Spectrum(SpectrumScaling::Density, a) || cross.CrossDensity(a, b));
    EXPECT_EQ(a.DLen() + b.DLen() + rows.Rows(100) + rows.Process(nullptr, x.data(), 100), 0u);
  }
}

TEST(CrossSpectrumAverage, AgreesWithTheReference) {
  CCrossSpectrumAverage average(Settings(128, 64), kRate);
  const std::vector<float> x = ReferenceX(), y = ReferenceY();
  average.Process(x.data(), y.data(), x.size());
  CSigCurve real, imaginary, coherence;
  ASSERT_TRUE(average.CrossDensity(real, imaginary) && average.Coherence(coherence));
  ExpectNear(real.FData(), real.DLen(), Reference("csd_real"), "real");
  ExpectNear(imaginary.FData(), real.DLen(), Reference("csd_imaginary"), "imaginary");
  ExpectNear(coherence.FData(), real.DLen(), Reference("coherence"), "coherence");
}

TEST(CrossSpectrumAverage, AGainAndADelayAreTheTransferFunction) {
  std::mt19937 random(8);
  std::normal_distribution<float> digits;
  std::vector<float> x(1u << 15), y(x.size());
  for (float& v : x) v = digits(random);
  for (std::size_t i = 2; i < y.size(); ++i) y[i] = 0.5f * x[i - 2];
  CCrossSpectrumAverage average(Settings(1024, 512), kRate);
  average.Process(x.data(), y.data(), x.size());
  for (const auto estimator : {CCrossSpectrumAverage::Estimator::H1, CCrossSpectrumAverage::Estimator::H2}) {
    CSigCurve magnitude, phase;
    ASSERT_TRUE(average.Transfer(estimator, magnitude, phase));
    for (const std::size_t k : {64u, 100u, 200u}) {
      EXPECT_NEAR(magnitude.FData()[k], 0.5, 0.01);
      EXPECT_NEAR(phase.FData()[k], -2.0 * 360.0 * static_cast<double>(k) / 1024.0, 1.0);
    }
    EXPECT_TRUE(phase.YUnit() == L"°");
  }
}

TEST(Spectrogram, AgreesWithTheReferenceAndKeepsTime) {
  const std::vector<float> x = ReferenceX();
  CSpectrogramStream stream(Settings(128, 32), kRate, SpectrumScaling::Density);
  std::vector<float> rows(stream.Rows(352) * stream.Bins());
  EXPECT_EQ(stream.Process(rows.data(), x.data(), 352), 8u);
  ExpectNear(rows.data(), rows.size(), Reference("spectrogram"), "spectrogram");
  EXPECT_DOUBLE_EQ(stream.RowTime(2), 0.128);
}

TEST(SpectrumAverage, CurvesBringTheirRateUnitNameAndSpan) {
  const std::vector<float> x = ReferenceX();
  CSigCurveExt curve(x.size());
  std::copy(x.begin(), x.end(), curve.FData());
  curve.SetXMinMax(0.0f, 3.0f);
  curve.SetName(L"Mic");
  curve.SetYUnit(L"Pa");
  curve.SetVIMinMax(500, 1523);
  const SpectrumSettings settings = Settings(256, 128);
  CSigCurve spectrum;
  ASSERT_TRUE(CSpectrumAverage::OfCurve(curve, settings, SpectrumScaling::Density, spectrum));
  const CSigCurve expected =
      SpectrumOf({x.begin() + 500, x.begin() + 1524}, settings, SpectrumScaling::Density);
  ExpectNear(spectrum.FData(), spectrum.DLen(), {expected.FData(), expected.FData() + expected.DLen()},
             "span");
  EXPECT_STREQ(spectrum.Name(), L"Mic");
  EXPECT_TRUE(spectrum.XUnit() == L"Hz");
  EXPECT_TRUE(spectrum.YUnit() == L"Pa²/Hz");
  // Shorter than a segment; in place; nothing.
  curve.SetVIMinMax(0, 99);
  ASSERT_TRUE(CSpectrumAverage::OfCurve(curve, settings, SpectrumScaling::Amplitude, curve));
  EXPECT_EQ(curve.DLen(), 51u);
  EXPECT_ALL(curve.IMax() == 50, curve.YUnit() == L"Pa");
  EXPECT_FALSE(CSpectrumAverage::OfCurve(CSigCurve(), settings, SpectrumScaling::Density, spectrum));
}

TEST(SpectrumStreams, SegmentsWithoutNumbersDoNotCount) {
  const SpectrumSettings settings = Settings(64, 64);
  std::vector<float> x = ReferenceX(), y = ReferenceY();
  x.resize(640);
  const std::vector<float> rest(x.begin() + 128, x.end());
  const CSigCurve expected = SpectrumOf(rest, settings, SpectrumScaling::Density);
  CCrossSpectrumAverage cross(settings, kRate), crossOfRest(settings, kRate);
  crossOfRest.Process(rest.data(), y.data() + 128, rest.size());
  x[5] = NAN;
  x[64] = INFINITY;  // where the window is 0
  CSpectrumAverage average(settings, kRate);
  average.Process(x.data(), x.size());
  cross.Process(x.data(), y.data(), x.size());
  EXPECT_EQ(average.Segments(), 8u);
  EXPECT_EQ(average.LeftOut() + cross.LeftOut(), 4u);
  CSigCurve spectrum, coherence, coherenceOfRest;
  ASSERT_TRUE(average.Spectrum(SpectrumScaling::Density, spectrum) && cross.Coherence(coherence) &&
              crossOfRest.Coherence(coherenceOfRest));
  EXPECT_EQ(Values(spectrum), Values(expected));
  EXPECT_EQ(Values(coherence), Values(coherenceOfRest));
}

TEST(SpectrogramBuilder, GivesTheRowsWithTheirTimesAndUnits) {
  const std::vector<float> x = ReferenceX();
  const SpectrumSettings settings = Settings(128, 32);
  for (const SpectrumScaling scaling : {SpectrumScaling::Amplitude, SpectrumScaling::Density}) {
    CSpectrogramStream stream(settings, kRate, scaling);
    std::vector<float> rows(stream.Rows(x.size()) * stream.Bins());
    stream.Process(rows.data(), x.data(), x.size());
    CSpectrogramBuilder builder(settings, kRate, scaling, 0, 100.0);
    InBlocks(x.size(), 5, [&](std::size_t at, std::size_t n) { EXPECT_TRUE(builder.Process(&x[at], n)); });
    CSigCurveArray array;
    ASSERT_TRUE(builder.Finish(array, CMeasuringUnit(L"Pa")));
    ASSERT_EQ(array.Count() * stream.Bins(), rows.size());
    for (std::size_t r = 0; r < array.Count(); ++r) {
      EXPECT_TRUE(std::equal(rows.begin() + static_cast<std::ptrdiff_t>(r * stream.Bins()),
                             rows.begin() + static_cast<std::ptrdiff_t>((r + 1) * stream.Bins()),
                             array[r].FData()))
          << r;
      EXPECT_FLOAT_EQ(array[r].Date(), static_cast<float>(100.0 + stream.RowTime(r)));
    }
    EXPECT_ALL(array.ArrayUnit() == L"s", array.XUnit() == L"Hz", array[3].XUnit() == L"Hz");
    const wchar_t* unit = scaling == SpectrumScaling::Density ? L"Pa²/Hz" : L"Pa";
    EXPECT_ALL(array.YUnit() == unit, array[3].YUnit() == unit);
    EXPECT_FALSE(builder.Finish(array));  // nothing since
    EXPECT_TRUE(array.IsEmpty());
  }
}

TEST(SpectrogramBuilder, JoinsSegmentsToTheMeanOfTheirPowers) {
  const std::vector<float> x = ReferenceX();
  const SpectrumSettings settings = Settings(64, 32);  // 92 segments
  for (const auto& [most, perCurve] : {std::pair(92u, 1u), std::pair(91u, 2u), std::pair(46u, 2u),
                                       std::pair(10u, 16u), std::pair(1u, 64u)}) {
    for (const SpectrumScaling scaling : {SpectrumScaling::Effective, SpectrumScaling::Density}) {
      CSpectrogramBuilder builder(settings, kRate, scaling, most);
      InBlocks(x.size(), 6, [&](std::size_t at, std::size_t n) { EXPECT_TRUE(builder.Process(&x[at], n)); });
      EXPECT_EQ(builder.SegmentsPerCurve(), perCurve) << most;
      CSigCurveArray array;
      ASSERT_TRUE(builder.Finish(array));
      ASSERT_EQ(array.Count(), (92 + perCurve - 1) / perCurve) << most;
      for (std::size_t i = 0; i < array.Count(); ++i) {
        const std::size_t first = i * perCurve, count = std::min<std::size_t>(perCurve, 92 - first);
        const auto from = x.begin() + static_cast<std::ptrdiff_t>(first * 32);
        const CSigCurve expected =
            SpectrumOf({from, from + static_cast<std::ptrdiff_t>((count - 1) * 32 + 64)}, settings, scaling);
        ExpectNear(array[i].FData(), array[i].DLen(), {expected.FData(), expected.FData() + expected.DLen()},
                   "joined");
        EXPECT_NEAR(array[i].Date(), (static_cast<double>(first) * 32 + 32 + double(count - 1) * 16) / kRate,
                    1e-6);
      }
    }
  }
}

TEST(SpectrogramBuilder, GapsHaveAnEmptySpanAndCurvesTheirOwnTime) {
  const SpectrumSettings settings = Settings(64, 64);
  std::vector<float> x = ReferenceX();
  for (std::size_t i = 640; i < 768; ++i) x[i] = NAN;  // segments 10 and 11
  for (const std::size_t most : {0u, 32u}) {
    CSpectrogramBuilder builder(settings, kRate, SpectrumScaling::Amplitude, most);
    ASSERT_TRUE(builder.Process(x.data(), x.size()));
    CSigCurveArray array;
    ASSERT_TRUE(builder.Finish(array));
    const std::size_t gap = most == 0 ? 10 : 5;
    for (std::size_t i = 0; i < array.Count(); ++i) {
      EXPECT_EQ(array[i].IsValid(), i != gap && (most != 0 || i != 11)) << i;
    }
  }
  CSigCurveExt curve(2000);
  std::copy_n(ReferenceX().data(), 2000, curve.FData());
  curve.SetXMinMax(5.0f, 7.0f);
  curve.SetVIMinMax(1000, 1999);
  curve.SetName(L"Mic");
  CSigCurveArray array;
  ASSERT_TRUE(CSpectrogramBuilder::OfCurve(curve, settings, SpectrumScaling::Amplitude, array));
  EXPECT_EQ(array.Count(), 15u);
  EXPECT_NEAR(array[0].Date(), 6.032, 1e-5);
  EXPECT_STREQ(array.Name(), L"Mic");
  EXPECT_FALSE(CSpectrogramBuilder::OfCurve(CSigCurve(), settings, SpectrumScaling::Amplitude, array));
  EXPECT_TRUE(array.IsEmpty());
}

TEST(SpectrumLevels, AreThoseOfTheScalingAndKeepThePower) {
  const std::vector<float> x = Sine(125.0, 3.0, 4096);
  for (const auto& [scaling, level] :
       {std::pair(SpectrumScaling::Amplitude, 20 * std::log10(3.0 / 2e-5)),
        std::pair(SpectrumScaling::Effective, 20 * std::log10(3.0 / std::sqrt(2.0) / 2e-5)),
        std::pair(SpectrumScaling::Power, 20 * std::log10(3.0 / std::sqrt(2.0) / 2e-5))}) {
    CSigCurve spectrum = SpectrumOf(x, Settings(256, 128), scaling);
    spectrum.SetYUnit(scaling == SpectrumScaling::Power ? L"Pa²" : L"Pa");
    SpectrumLevels::Apply(spectrum, scaling, 2e-5);
    EXPECT_NEAR(spectrum.FData()[32], level, 1e-3);
    EXPECT_TRUE(spectrum.YUnit().is_db());
    EXPECT_EQ(spectrum.YUnit().unit(), CMeasuringUnit(L"Pa").unit());
  }
  const CSigCurve density = SpectrumOf(x, Settings(256, 128), SpectrumScaling::Density);
  EXPECT_NEAR(SpectrumLevels::EffectiveValue(density), 3.0 / std::sqrt(2.0), 1e-4);  // Parseval
}

}  // namespace
