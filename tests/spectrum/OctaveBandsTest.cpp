#include "umlauf/spectrum/OctaveBands.h"

#include <gtest/gtest.h>

#include <cmath>

#include "umlauf/spectrum/FrequencyWeighting.h"

namespace {

// Table 3 of IEC 61672-1: nominal frequency, A, C, tolerance of class 1.
TEST(FrequencyWeighting, MeetsTheTableOfTheStandard) {
  const struct {
    double nominal, a, c;
  } table[] = {{10, -70.4, -14.3},  {20, -50.5, -6.2}, {31.5, -39.4, -3.0}, {63, -26.2, -0.8},
               {125, -16.1, -0.2},  {250, -8.6, 0.0},  {500, -3.2, 0.0},    {1000, 0.0, 0.0},
               {2000, 1.2, -0.2},   {4000, 1.0, -0.8}, {8000, -1.1, -3.0},  {16000, -6.6, -8.5},
               {20000, -9.3, -11.2}};
  using FrequencyWeighting::Gain;
  using FrequencyWeighting::Kind;
  for (const auto& row : table) {
    const double f = 1000 * std::pow(10.0, std::round(10 * std::log10(row.nominal / 1000)) / 10);
    EXPECT_NEAR(Gain(Kind::A, f), row.a, 0.051) << f;
    EXPECT_NEAR(Gain(Kind::C, f), row.c, 0.051) << f;
    EXPECT_EQ(Gain(Kind::Z, f), 0.0);
  }
  EXPECT_EQ(Gain(Kind::A, 0.0), -INFINITY);
  CSigCurve spectrum(3);
  spectrum = 1.0f;
  spectrum.SetXMinMax(0.0f, 300.0f);
  FrequencyWeighting::Apply(Kind::A, spectrum, SpectrumScaling::Density);
  EXPECT_NEAR(10 * std::log10(spectrum.FData()[1]), Gain(Kind::A, 100.0), 1e-4);
  CSigPairs bands;
  bands.NeuesPaar(100.0f, 1.0f);
  FrequencyWeighting::Apply(Kind::A, bands);
  EXPECT_FLOAT_EQ(bands.Wert(0), spectrum.FData()[1]);
}

TEST(OctaveBands, HaveTheEdgesAndNamesOfTheStandard) {
  for (const unsigned b : {1u, 2u, 3u, 6u, 12u}) {
    for (int x = -40; x < 40; ++x) {
      const OctaveBands::Band band = OctaveBands::BandAt(x, b);
      EXPECT_NEAR(band.upper / OctaveBands::BandAt(x + 1, b).lower, 1.0, 1e-12);
      EXPECT_NEAR(band.middle * band.middle, band.lower * band.upper, 1e-9 * band.middle * band.middle);
      EXPECT_NEAR(OctaveBands::NominalMiddle(x, b) / band.middle, 1.0, 0.03) << b << " " << x;
    }
  }
  const struct {
    unsigned b;
    int x;
    double nominal, lower;
  } cases[] = {{1, 0, 1000, 707.946}, {1, -5, 31.5, 22.3872},  {1, 4, 16000, 11220.2},
               {3, 0, 1000, 891.251}, {3, -19, 12.5, 11.2202}, {3, 12, 16000, 14125.4},
               {2, 0, 1190, 1000}};
  for (const auto& c : cases) {
    EXPECT_NEAR(OctaveBands::NominalMiddle(c.x, c.b), c.nominal, 1e-9);
    EXPECT_NEAR(OctaveBands::BandAt(c.x, c.b).lower, c.lower, 1e-3 * c.lower / 100);
  }
}

TEST(OctaveBands, ShareTheDensityWithoutLoss) {
  CSigCurve density(4001);  // 0 to 8000 Hz in steps of 2 Hz
  density.SetXMinMax(0.0f, 8002.0f);
  density.SetXUnit(L"Hz");
  density.SetYUnit(L"Pa");
  for (std::size_t k = 0; k < density.DLen(); ++k)
    density.FData()[k] = 1.0f + std::sin(0.01f * static_cast<float>(k));
  for (const unsigned b : {1u, 3u}) {
    CSigPairs bands;
    ASSERT_TRUE(OctaveBands::FromDensity(density, b, bands));
    const OctaveBands::Band first = OctaveBands::BandAt(b == 1 ? -8 : -20, b);
    EXPECT_NEAR(bands.Punkt(0), first.middle, 1e-3 * first.middle) << b;
    double sum = 0.0;
    for (std::size_t i = 0; i < bands.NPaare(); ++i) sum += double{bands.Wert(i)};
    const OctaveBands::Band last = OctaveBands::BandAt(b == 1 ? 2 : 8, b);
    EXPECT_NEAR(bands.Punkt(bands.NPaare() - 1), last.middle, 1e-3 * last.middle) << b;
    // The integral in closed form.
    const auto primitive = [](double f) { return f - 200.0 * std::cos(0.005 * f); };
    EXPECT_NEAR(sum, primitive(last.upper) - primitive(first.lower), 0.01 * sum / 100) << b;
  }
  CSigPairs bands;
  EXPECT_FALSE(OctaveBands::FromDensity(density, 0, bands));
  EXPECT_FALSE(OctaveBands::FromDensity(CSigCurve(), 3, bands));
  density.SetXMinMax(0.0f, NAN);
  EXPECT_FALSE(OctaveBands::FromDensity(density, 3, bands));
}

TEST(OctaveBands, LevelsRefer) {
  CSigPairs bands;
  bands.NeuesPaar(500.0f, 4e-4f);
  bands.NeuesPaar(1000.0f, 4e-4f);
  bands.NeuesPaar(2000.0f, 0.0f);
  bands.SetYUnit(CMeasuringUnit(CMeasuringUnit::pascal, 0, 2));
  OctaveBands::ToLevels(bands, 2e-5);
  EXPECT_NEAR(bands.Wert(0), 60.0f, 1e-4f);
  EXPECT_EQ(bands.Wert(2), -INFINITY);
  EXPECT_NEAR(OctaveBands::TotalLevel(bands), 63.0103, 1e-4);
  EXPECT_TRUE(bands.YUnit() == L"dB(Pa)");
  EXPECT_EQ(OctaveBands::TotalLevel(CSigPairs()), -INFINITY);
}

}  // namespace
