#include "umlauf/rate/ExpAverFacGenerator.h"

#include <limits>

#include "rate/RateTestSupport.h"

namespace {

using Generator = CExpAverFacGenerator;

TEST(ExpAverFac, TimeAndScale) {
  Generator generator(-5, -1);
  EXPECT_EQ(generator.GetTime(), 0);
  EXPECT_EQ(generator.GetTimeScale(), 10000);
  generator.SetTimeScale(2);
  for (LONG t = 1; t <= 90; ++t) EXPECT_EQ(generator.TimeStep(), t);
  generator.SetTime(89);
  EXPECT_EQ(generator++, 89);
  EXPECT_EQ(generator++, 90);
  generator.SetTime(200);  // beyond the end: stays
  EXPECT_EQ(generator.TimeStep(), 90);
  EXPECT_EQ(++generator, 200);
  generator.ResetTime();
  EXPECT_EQ(++generator, 1);
  constexpr LONG greatest = std::numeric_limits<LONG>::max();
  EXPECT_EQ(Generator(greatest, greatest).TimeStep(), greatest);
  EXPECT_EQ(Generator(0, 0).TimeStep(), 0);
}

TEST(ExpAverFac, Factors) {
  const struct {
    LONG t;
    double tau;
    float factor, correction;  // -1: none for this scale
  } cases[] = {{1, 10.0, 0.0f, 1.0f},
               {0, 10.0, 0.0f, 1.0f},
               {5, 0.0, 0.0f, 1.0f},
               {5, -3.0, 0.0f, 1.0f},
               {5, 10.0, 0.7581449f, 1.256249f},
               {2, 10000.0, 0.5f, 2.0f},
               {100, 20000.0, 0.99f, 100.0f / 99.0f},
               {2, 0.01, std::exp(-100.0f), -1.0f},
               {500, 10.0, std::exp(-0.1f), 1.052585f},
               {460000, 10000.0, 0.9999f, 1.00005f}};
  for (const auto& c : cases) {
    EXPECT_FLOAT_EQ(Generator::GetFactor(c.t, c.tau), c.factor) << c.t;
    if (c.correction < 0) continue;
    EXPECT_FLOAT_EQ(Generator::GetCorrFactor(c.t, static_cast<LONG>(c.tau)), c.correction) << c.t;
  }
  const float factor = Generator::GetFactor(7, 30.0);
  EXPECT_EQ(Generator::GetFactor(7, 30u), factor);
  EXPECT_EQ(Generator::GetFactor(7, LONG{30}), factor);
  EXPECT_EQ(Generator::GetFactor(7L, 30L), factor);
}

/// What the weights are for: each average is the mean of all values so far, weighted by exp(-age / tau).
TEST(ExpAverFac, AveragesAreExponentiallyWeightedMeans) {
  for (const LONG tau : {1, 3, 40, 10000}) {
    Generator generator(0, tau);
    const double decay = tau == 10000 ? 1.0 : std::exp(-1.0 / tau);
    double average = 99.0, weighted = 0.0, weights = 0.0;
    for (const float x : Noise(200, 3)) {
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
