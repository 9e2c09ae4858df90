#include "umlauf/orders/VoldKalman.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "orders/OrderSupport.h"
#include "umlauf/orders/CombSpeed.h"
#include "umlauf/orders/ShaftTrains.h"

namespace {

TEST(VoldKalman, SeparatesCrossingOrdersOfTwoShafts) {
  // Order 3 of a run-up crosses order 2 of a shaft at 55 rev/s, in the middle of the run and over the border
  // of the parts that are solved one by one; all amplitudes change.
  const RunUp shaft{10, 6};
  const double rate = 4000, seconds = 8;
  const std::size_t n = static_cast<std::size_t>(rate * seconds);
  std::vector<double> phases(2 * n);
  std::vector<float> samples(n);
  std::mt19937 random(2);
  std::normal_distribution<double> noise(0, 0.02);
  const auto first = [](double t) { return 1 + 0.5 * std::sin(0.7 * t); };
  const auto second = [](double t) { return 0.6 - 0.04 * t; };
  for (std::size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / rate;
    phases[i] = 3 * shaft.Angle(t);
    phases[n + i] = 2 * 55 * t + 0.3;
    samples[i] = static_cast<float>(first(t) * Cosine(phases[i] + 0.1) + second(t) * Cosine(phases[n + i]) +
                                    noise(random));
  }
  CVoldKalman filter(0.0006);  // 2.4 Hz
  ASSERT_TRUE(filter.Fit(samples.data(), n, phases.data(), 2));
  double worst[2] = {}, phase = 0;
  for (std::size_t i = n / 20; i < n - n / 20; ++i) {
    const double t = static_cast<double>(i) / rate;
    const double known[] = {first(t), second(t)};
    for (std::size_t k = 0; k < 2; ++k) {
      const double found = static_cast<double>(std::abs(filter.Envelope(k)[i]));
      worst[k] = std::max(worst[k], std::abs(found / known[k] - 1));
    }
    phase = std::max(
        phase, std::abs(static_cast<double>(std::arg(filter.Envelope(0)[i])) / (2 * std::numbers::pi) - 0.1));
  }
  std::printf("crossing orders: worst amplitudes %.2f %% and %.2f %%, phase %.2f°\n", 100 * worst[0],
              100 * worst[1], 360 * phase);
  EXPECT_LT(worst[0], 0.02);
  EXPECT_LT(worst[1], 0.02);
  EXPECT_LT(phase, 1.0 / 360);
  // What is left when both are taken off is the noise.
  std::vector<float> component(n);
  for (std::size_t k = 0; k < 2; ++k) {
    filter.Component(k, phases.data(), component.data());
    for (std::size_t i = 0; i < n; ++i) samples[i] -= component[i];
  }
  double square = 0;
  for (const float each : samples) square += static_cast<double>(each) * static_cast<double>(each);
  EXPECT_NEAR(std::sqrt(square / static_cast<double>(n)), 0.02, 0.001);
}

TEST(VoldKalman, HasTheBandwidthThatWasAskedFor) {
  // An order whose amplitude swings at half the bandwidth comes back at 0.707.
  const std::size_t n = 40000;
  std::vector<double> phases(n);
  std::vector<float> samples(n);
  for (const unsigned poles : {1u, 2u, 3u}) {
    for (const double bandwidth : {0.005, 0.01, 0.04}) {
      for (const double part : {0.05, 1.0, 4.0}) {
        const double swing = part * bandwidth / 2;
        for (std::size_t i = 0; i < n; ++i) {
          phases[i] = 0.2371 * static_cast<double>(i);
          samples[i] = static_cast<float>(Cosine(phases[i]) * Cosine(swing * static_cast<double>(i)));
        }
        CVoldKalman filter(bandwidth, poles);
        ASSERT_TRUE(filter.Fit(samples.data(), n, phases.data(), 1));
        double greatest = 0;
        for (std::size_t i = n / 4; i < 3 * n / 4; ++i) {
          greatest = std::max(greatest, static_cast<double>(std::abs(filter.Envelope(0)[i])));
        }
        const auto side = [&](double b) { return std::pow(2 - 2 * std::cos(b), poles); };
        const double expected = 1 / (1 + (std::numbers::sqrt2 - 1) * side(2 * std::numbers::pi * swing) /
                                             side(std::numbers::pi * bandwidth));
        EXPECT_NEAR(greatest, expected, 0.01) << poles << " poles, " << bandwidth << " at " << part;
      }
    }
  }
}

TEST(VoldKalman, RefusesWhatCannotBe) {
  for (const auto& [bandwidth, poles] :
       {std::pair{0.0, 2u}, {0.6, 2u}, {std::nan(""), 2u}, {0.1, 0u}, {0.1, 4u}, {0.004, 3u}, {0.0002, 2u}}) {
    EXPECT_FALSE(CVoldKalman(bandwidth, poles).IsValid());
  }
  CVoldKalman filter(0.1);
  const float sample = 1;
  const double phase = 0;
  EXPECT_FALSE(filter.Fit(&sample, 0, &phase, 1));
  EXPECT_FALSE(filter.Fit(&sample, 1, &phase, 17));
  EXPECT_TRUE(filter.Envelope(0).empty());
}

/// Orders 1, 2 and 4.5 of a run-up in noise; without them from 6 to 8 s.
std::vector<float> RunUpInNoise(const RunUp& shaft, double rate, bool lost, double seconds = 10) {
  std::mt19937 random(9);
  std::normal_distribution<double> noise(0, 0.5);
  return Sampled(rate, seconds, [&](double t) {
    const double a = shaft.Angle(t), part = lost && t > 6 && t < 8 ? 0 : 1;
    return part * (0.5 * Cosine(a) + 0.7 * Cosine(2 * a + 0.2) + 0.4 * Cosine(4.5 * a)) + noise(random);
  });
}

TEST(CombSpeed, FollowsARunUpWithoutATacho) {
  const double rate = 4096;
  const RunUp shaft{15, 6};
  CombSpeedSettings settings;
  settings.orders = {1, 2, 4.5};
  settings.startLow = 700;
  settings.startHigh = 1300;
  settings.resolution = 4;
  const auto find = [&](const std::vector<float>& samples, CSigCurve& rpm, CSigCurve& confidence) {
    CCombSpeed comb(settings, rate);
    comb.Take(samples.data(), 777);
    comb.Take(samples.data() + 777, samples.size() - 777);
    return comb.Find(rpm, confidence);
  };
  CSigCurve rpm, confidence;
  ASSERT_TRUE(find(RunUpInNoise(shaft, rate, false), rpm, confidence));
  double worst = 0, sum = 0;
  for (std::size_t i = 0; i < rpm.DLen(); ++i) {
    const double known = 60 * shaft.Speed(static_cast<double>(rpm.GetPoint(static_cast<std::int64_t>(i))));
    worst = std::max(worst, std::abs(static_cast<double>(rpm.FData()[i]) / known - 1));
    sum += static_cast<double>(confidence.FData()[i]);
  }
  std::printf("speed without a tacho: worst %.2f %%\n", 100 * worst);
  EXPECT_LT(worst, 0.02);
  EXPECT_GT(sum / static_cast<double>(rpm.DLen()), 0.9);
  // It turns a comb into an angle that is good for a resampler.
  const CShaftAngle angle(ShaftTrains::FromSpeed(rpm, rate), 1);
  EXPECT_NEAR(angle.At(9 * rate) - angle.At(rate), shaft.Angle(9) - shaft.Angle(1), 0.2);

  // Where there is nothing to follow the confidence says so, and the track comes back.
  ASSERT_TRUE(find(RunUpInNoise(shaft, rate, true), rpm, confidence));
  EXPECT_LT(confidence.GetValue(7.0f), 0.5f);
  EXPECT_GT(confidence.GetValue(5.0f), 0.9f);
  EXPECT_NEAR(static_cast<double>(rpm.GetValue(9.5f)), 60 * shaft.Speed(9.5), 0.02 * 60 * shaft.Speed(9.5));

  // Long enough that most of the course was decided and let go: what comes last changes nothing of it, and
  // what was lost is told where it was.
  const RunUp slow{15, 0.8};
  const std::vector<float> samples = RunUpInNoise(slow, rate, true, 60);
  CCombSpeed comb(settings, rate);
  CSigCurve early;
  for (std::size_t at = 0; at < samples.size(); at += 4096) {
    if (at == 40 * 4096) {
      ASSERT_TRUE(comb.Find(early, confidence));
    }
    comb.Take(samples.data() + at, 4096);
  }
  CCombSpeed::Trust trust;
  ASSERT_TRUE(comb.Find(rpm, confidence, &trust));
  EXPECT_EQ(rpm.DLen(), 60 * 16 - 3u);
  for (std::size_t i = 0; i < rpm.DLen(); ++i) {
    const double t = static_cast<double>(rpm.GetPoint(static_cast<std::int64_t>(i)));
    if (t < 5.5 || t > 8.5) {
      EXPECT_NEAR(static_cast<double>(rpm.FData()[i]) / (60 * slow.Speed(t)), 1, 0.03) << t;
    }
    if (i < 600) {
      EXPECT_EQ(early.FData()[i], rpm.FData()[i]) << i;
    }
  }
  const std::vector<RotationWarning> warnings = trust.Warnings(settings.orders);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].code, "track-lost");
  EXPECT_NEAR(warnings[0].places.front().from, 6, 0.4);
  EXPECT_NEAR(warnings[0].places.back().to, 8, 0.4);
  EXPECT_LT(trust.rival, 0.8);
  EXPECT_GT(trust.rival, 0.1);

  settings.orders = {1, 25};
  EXPECT_FALSE(CCombSpeed(settings, rate).IsValid());
  settings.orders = {};
  EXPECT_FALSE(CCombSpeed(settings, rate).IsValid());
}

}  // namespace
