#include "umlauf/rate/ExpAverFacGenerator.h"

#include <limits>

#include "rate/RateTestSupport.h"

namespace {

constexpr LONG kMax = std::numeric_limits<LONG>::max();

TEST(ExpAverFac, TimeAndScale) {
  CExpAverFacGenerator generator(-5, -1);
  EXPECT_EQ(generator.GetTime(), 0);
  EXPECT_EQ(generator.GetTimeScale(), 10000);
  generator.SetTimeScale(2);
  for (LONG t = 1; t <= 90; ++t) EXPECT_EQ(generator.TimeStep(), t);
  EXPECT_EQ(generator.TimeStep(), 90);
  EXPECT_EQ(generator++, 90);
  EXPECT_EQ(++generator, 90);
  generator.SetTime(89);
  EXPECT_EQ(generator++, 89);
  EXPECT_EQ(generator.GetTime(), 90);
  generator.SetTime(200);  // beyond the end: stays
  EXPECT_EQ(generator.TimeStep(), 90);
  EXPECT_EQ(++generator, 200);
  generator.ResetTime();
  EXPECT_EQ(++generator, 1);
  CExpAverFacGenerator endless(kMax, kMax);
  EXPECT_EQ(endless.TimeStep(), kMax);
  CExpAverFacGenerator none(0, 0);
  EXPECT_EQ(none.TimeStep(), 0);
  EXPECT_EQ(none.CurrentFactor(), 0.0f);
  EXPECT_EQ(none.CurrentCorrFactor(), 1.0f);
}

TEST(ExpAverFac, Factors) {
  const struct {
    LONG t;
    double tau;
    float factor;
  } cases[] = {{1, 10.0, 0.0f},
               {0, 10.0, 0.0f},
               {5, 0.0, 0.0f},
               {5, -3.0, 0.0f},
               {2, 10000.0, 0.5f},
               {100, 20000.0, 0.99f},
               {2, 0.01, std::exp(-100.0f)},
               {500, 10.0, std::exp(-0.1f)},
               {450, 10.0, std::exp(-0.1f)},
               {460000, 10000.0, 0.9999f}};
  for (const auto& c : cases) EXPECT_FLOAT_EQ(CExpAverFacGenerator::GetFactor(c.t, c.tau), c.factor) << c.t;
  EXPECT_EQ(CExpAverFacGenerator::GetFactor(7, 30u), CExpAverFacGenerator::GetFactor(7, 30.0));
  EXPECT_EQ(CExpAverFacGenerator::GetFactor(7, LONG{30}), CExpAverFacGenerator::GetFactor(7, 30.0));
  EXPECT_EQ(CExpAverFacGenerator::GetFactor(7L, 30L), CExpAverFacGenerator::GetFactor(7, 30.0));
  EXPECT_EQ(CExpAverFacGenerator::GetCorrFactor(1, 10), 1.0f);
  EXPECT_EQ(CExpAverFacGenerator::GetCorrFactor(9, 0), 1.0f);
  EXPECT_EQ(CExpAverFacGenerator::GetCorrFactor(4, 10000), 4.0f / 3.0f);
  EXPECT_FLOAT_EQ(CExpAverFacGenerator::GetCorrFactor(500, 10), 1.052585f);
}

/// What the weights are for: each average is the mean of all values so far, weighted by exp(-age / tau).
TEST(ExpAverFac, AveragesAreExponentiallyWeightedMeans) {
  for (const LONG tau : {1, 3, 40, 10000}) {
    CExpAverFacGenerator generator(0, tau);
    const double decay = tau == 10000 ? 1.0 : std::exp(-1.0 / tau);
    const Samples values = Noise(200, 3);
    double average = 99.0, weighted = 0.0, weights = 0.0;
    for (const float x : values) {
      ++generator;
      const double factor = static_cast<double>(generator.CurrentFactor());
      average = factor * average + (1.0 - factor) * static_cast<double>(x);
      weighted = decay * weighted + static_cast<double>(x);
      weights = decay * weights + 1.0;
      ASSERT_NEAR(average, weighted / weights, 2e-6) << tau << " " << generator.GetTime();
    }
  }
}

}  // namespace
