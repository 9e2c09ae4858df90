#include "umlauf/rate/ExpAverFacGenerator.h"

#include "support/Test.h"

namespace {

using Generator = CExpAverFacGenerator;

TEST(ExpAverFac, TimeAndScale) {
  Generator generator(-5, -1);
  EXPECT_ALL(generator.GetTime() == 0, generator.GetTimeScale() == 10000);
  generator.SetTimeScale(2);
  for (LONG t = 1; t <= 90; ++t) EXPECT_EQ(generator.TimeStep(), t);
  generator.SetTime(89);
  EXPECT_ALL(generator++ == 89, generator++ == 90);
  generator.SetTime(200);  // beyond the end: stays
  EXPECT_ALL(generator.TimeStep() == 90, ++generator == 200);
  generator.ResetTime();
  EXPECT_EQ(++generator, 1);
  constexpr LONG greatest = std::numeric_limits<LONG>::max();
  EXPECT_ALL(Generator(greatest, greatest).TimeStep() == greatest, Generator(0, 0).TimeStep() == 0);
}

TEST(ExpAverFac, Factors) {
  // -1: none for this scale.
  const Cases<LONG, double, float, float> cases = {{1, 10.0, 0.0f, 1.0f},
                                                   {0, 10.0, 0.0f, 1.0f},
                                                   {5, 0.0, 0.0f, 1.0f},
                                                   {5, -3.0, 0.0f, 1.0f},
                                                   {5, 10.0, 0.7581449f, 1.256249f},
                                                   {3, 1.0, 0.3347590f, 2.0430806f},
                                                   {2, 10000.0, 0.5f, 2.0f},
                                                   {100, 20000.0, 0.99f, 100.0f / 99.0f},
                                                   {2, 0.01, std::exp(-100.0f), -1.0f},
                                                   {500, 10.0, std::exp(-0.1f), 1.052585f},
                                                   {460000, 10000.0, 0.9999f, 1.00005f}};
  for (const auto& [t, tau, factor, correction] : cases) {
    EXPECT_FLOAT_EQ(Generator::GetFactor(t, tau), factor) << t;
    if (correction < 0) continue;
    EXPECT_FLOAT_EQ(Generator::GetCorrFactor(t, static_cast<LONG>(tau)), correction) << t;
  }
  const float factor = Generator::GetFactor(7, 30.0);
  EXPECT_ALL(Generator(7, 30).CurrentFactor() == factor,
             Generator(7, 30).CurrentCorrFactor() == Generator::GetCorrFactor(7, 30),
             Generator::GetFactor(7, 30u) == factor, Generator::GetFactor(7, LONG{30}) == factor,
             Generator::GetFactor(7L, 30L) == factor);
}

}  // namespace
