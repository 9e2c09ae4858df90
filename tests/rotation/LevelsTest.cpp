#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "umlauf/recording/MemorySource.h"
#include "umlauf/rotation/Rotation.h"
#include "umlauf/rotation/SwingSource.h"

namespace {

constexpr double kRate = 10000;

/// Two seconds of 200 teeth a second.
std::vector<float> Teeth(double (*change)(double value, double time)) {
  std::vector<float> samples(20000);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double time = static_cast<double>(i) / kRate;
    samples[i] = static_cast<float>(change(std::sin(2 * std::numbers::pi * 200 * time), time));
  }
  return samples;
}

double Drifting(double value, double time) { return value + 3 * std::sin(2 * std::numbers::pi * time); }
double Plain(double value, double) { return value; }

TEST(SwingSource, DoesNotDependOnHowItIsRead) {
  std::vector<float> samples = Teeth(Drifting);
  samples.resize(21000, samples.back());  // a rest
  CMemorySource recording(samples, kRate);
  for (const SwingScale& scale : {SwingScale{1.0f}, SwingScale{1.0f, SwingScale::Preparation::median},
                                  SwingScale{1.0f, SwingScale::Preparation::jumps, 0.1f}}) {
    CSwingSource source(recording, 0, scale);
    recording.Rewind();
    const SampleBlock all = source.Read(1 << 20);
    const std::vector<float> whole(all.samples, all.samples + all.count);
    ASSERT_EQ(whole.size(), samples.size());
    EXPECT_EQ(*std::min_element(whole.begin(), whole.end()), 0.0f);
    EXPECT_EQ(*std::max_element(whole.begin(), whole.end()), 1.0f);
    ASSERT_TRUE(source.Rewind());
    std::mt19937 random(7);
    std::vector<float> parts;
    for (SampleBlock part = source.Read(1); part.count > 0; part = source.Read(1 + random() % 3000))
      parts.insert(parts.end(), part.samples, part.samples + part.count);
    EXPECT_EQ(parts, whole);
  }
}

/// Whatever is done to 400 teeth, they are found, or it is said that they are not.
TEST(Levels, FindTheTeethOrSayWhatIsWrong) {
  const struct {
    double (*change)(double, double);
    std::optional<float> upper, lower;
    std::string code;             // empty: all teeth are found
    double first = 0, again = 0;  // [s] what is wrong, and how often it comes; 0: no place
  } cases[] = {
      {Plain, {}, {}, ""},
      {Plain, 0.5f, {}, ""},
      {Plain, {}, 0.9f, ""},
      {Drifting, {}, {}, ""},
      {Drifting, 0.5f, -0.5f, "count-differs"},
      {[](double value, double time) { return value * (time < 1 ? 1 : 10); }, {}, {}, ""},
      {[](double value, double time) { return value * (time < 1 ? 1 : 10); }, 2.0f, -2.0f, "count-differs"},
      {[](double value, double) { return std::remainder(value + 0.3, 1.9); }, {}, {}, ""},
      {[](double value, double) { return std::remainder(value + 0.3, 1.9); }, 0.1f, -0.1f, "wrapped"},
      // Half of the teeth vanish at the end of the range.
      {[](double value, double time) { return std::min(Drifting(value, time), 1.0); },
       {},
       {},
       "levels-uncertain"},
      {[](double value, double time) { return std::abs(std::fmod(time, 0.1) - 0.0987) < 3e-5 ? 20 : value; },
       {},
       {},
       ""},
      {[](double value, double time) { return std::abs(std::fmod(time, 0.1) - 0.0987) < 3e-5 ? 20 : value; },
       0.5f, -0.5f, "extra-pulses", 0.0987, 0.1},
      // Two bursts of a few swings, each as regular as teeth.
      {[](double value, double time) {
         return value + (std::fmod(time, 1.0) > 0.5 && std::fmod(time, 1.0) < 0.5025
                             ? 3 * std::sin(2 * std::numbers::pi * 2500 * time)
                             : 0);
       },
       0.5f, -0.5f, "extra-pulses", 0.501, 1},
      {[](double value, double time) { return std::abs(time - 1.3) < 0.02 ? 0 : (1 - 0.1 * time) * value; },
       0.5f, -0.5f, "lost-pulses", 1.3, 2},
      {[](double, double time) { return std::floor(time * 2); }, 0.5f, 0.4f, "few-pulses"},
      // No shaft stops or starts between two teeth.
      {[](double value, double time) { return time < 1.9 ? value : 0; }, {}, {}, "lost-pulses"},
      {[](double value, double time) { return time > 0.1 ? value : 0; }, {}, {}, "lost-pulses"},
  };
  for (const auto& c : cases) {
    const std::vector<float> samples = Teeth(c.change);
    CMemorySource recording(samples, kRate);
    CRotation rotation;
    rotation.GivenLevels(c.upper, c.lower);
    const auto at = &c - cases;
    EXPECT_TRUE(rotation.Analyse(recording) || !c.code.empty()) << at;
    const std::string code(rotation.Warnings().empty() ? "" : rotation.Warnings()[0].code);
    EXPECT_EQ(code, c.code) << at;
    if (c.again > 0) {
      ASSERT_FALSE(rotation.Warnings().empty() || rotation.Warnings()[0].places.empty()) << at;
      for (const auto& [from, to] : rotation.Warnings()[0].places) {
        const double wrong = c.first + std::round(((from + to) / 2 - c.first) / c.again) * c.again;
        EXPECT_TRUE(from < wrong + 0.002 && to > wrong - 0.002 && to - from < 0.06)
            << at << ": " << from << " " << to;
      }
    }
    if (c.code.empty()) {
      EXPECT_NEAR(static_cast<double>(rotation.Pulses().size()), 400, 1) << at;
    }
  }
}

/// 10 marks a second over 0.3 of the turn, with hum between the edges of these: it is as regular as teeth.
TEST(Levels, RippleBetweenMarksIsNoTooth) {
  const struct {
    double hum;
    const char* code;
  } cases[] = {{0, ""}, {0.02, ""}, {0.2, "levels-uncertain"}};
  for (const auto& c : cases) {
    std::vector<float> samples(20000);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const double time = static_cast<double>(i) / kRate;
      const double mark = std::fmod(10 * time + 0.6, 1.0) < 0.3 ? 1 : -1;
      samples[i] = static_cast<float>(mark + c.hum * std::sin(2 * std::numbers::pi * 50 * time));
    }
    CMemorySource recording(samples, kRate);
    CRotation rotation;
    ASSERT_TRUE(rotation.Analyse(recording)) << c.hum;
    EXPECT_EQ(rotation.Pulses().size(), 20u) << c.hum;
    EXPECT_EQ(rotation.Warnings().empty() ? "" : rotation.Warnings()[0].code, c.code) << c.hum;
  }
}

/// The shaft stands in the second half, and the sensor picks up hum.
TEST(Levels, HumAtStandstillIsNoTooth) {
  const std::vector<float> samples = Teeth([](double value, double time) {
    return (time < 1 ? value : 0) + 0.1 * std::sin(2 * std::numbers::pi * 50 * time);
  });
  CMemorySource recording(samples, kRate);
  CRotation rotation;
  ASSERT_TRUE(rotation.Analyse(recording));
  EXPECT_NEAR(static_cast<double>(rotation.Pulses().size()), 200, 1);
  ASSERT_EQ(rotation.Warnings().size(), 1u);
  EXPECT_EQ(rotation.Warnings()[0].code, "levels-uncertain");
}

/// Slow marks that the hum turns back on their way cannot be told from a shaft that runs out: that is said.
TEST(Levels, WhatCouldBeTeethOrMarksIsDoubted) {
  std::vector<float> samples(40000);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double time = static_cast<double>(i) / kRate;
    const double turn = std::fmod(4 * time, 1.0) - 0.5;
    samples[i] =
        static_cast<float>(std::exp(-turn * turn / 0.04) + 0.06 * std::sin(2 * std::numbers::pi * 50 * time));
  }
  CMemorySource recording(samples, kRate);
  CRotation rotation;
  ASSERT_TRUE(rotation.Analyse(recording));
  ASSERT_FALSE(rotation.Warnings().empty());
  EXPECT_EQ(rotation.Warnings()[0].code, "levels-uncertain");
}

/// 60 pulses in a revolution, 600 rpm, on a drift of three times the amplitude.
/// A coil's swings grow with the speed; at the begin they are less than the noise.
TEST(Levels, LeaveOutSwingsWithinTheNoise) {
  std::vector<float> samples(40000);
  std::mt19937 random(3);
  std::normal_distribution<double> noise(0, 0.05);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double time = static_cast<double>(i) / kRate;  // 100 teeth/s faster every second
    samples[i] =
        static_cast<float>(time / 4 * std::sin(2 * std::numbers::pi * 50 * time * time) + noise(random));
  }
  CMemorySource recording(samples, kRate);
  CRotation rotation;
  ASSERT_TRUE(rotation.Analyse(recording));
  ASSERT_EQ(rotation.Warnings().size(), 1u);
  EXPECT_EQ(std::string(rotation.Warnings()[0].code), "levels-uncertain");
  EXPECT_NEAR(static_cast<double>(rotation.Pulses().size()), 50 * 4 * 4, 15);
  EXPECT_NEAR(rotation.Speed().max, 60 * 100 * 4, 60 * 20);
}

TEST(Levels, FollowADrift) {
  std::vector<float> samples(30000);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double turns = 10 * static_cast<double>(i) / kRate;
    samples[i] = static_cast<float>(std::sin(2 * std::numbers::pi * turns * 60) +
                                    3 * std::sin(2 * std::numbers::pi * turns / 7));
  }
  CMemorySource recording(samples, kRate);
  CRotation rotation;
  rotation.Wheel(60);
  ASSERT_TRUE(rotation.Analyse(recording));
  EXPECT_TRUE(rotation.Warnings().empty());
  EXPECT_TRUE(rotation.Levels().scale);
  EXPECT_NEAR(rotation.RevolutionSpeed().Mean(kRate), 600, 0.5);
  EXPECT_NEAR(static_cast<double>(rotation.Pulses().size()), 1800, 1);
}

/// As a recording in memory, but without seeking.
class WithoutSeeking : public CMemorySource {
 public:
  using CMemorySource::CMemorySource;
  bool Seek(std::uint64_t) override { return false; }
};

/// Long recordings are looked at in part, and found out where that part does not tell.
TEST(Levels, OfALongRecordingServeForAllOfIt) {
  constexpr std::size_t n = 5'000'000;
  const struct {
    const char* what;
    std::size_t from, to;  // samples that differ
    double size, level;    // of these
    bool scaled;
  } cases[] = {
      {"the same everywhere", 0, 0, 1, 0, false},
      // Between two stretches that are looked at.
      {"far away between", 40'000, 60'000, 1, 10, true},
      {"tiny between", 40'000, 60'000, 0.3, 0, true},
      {"at rest between", 40'000, 60'000, 0.001, 0, false},
      {"at rest but for the end", 0, 4'000'000, 0.001, 0, false},
  };
  for (const auto& c : cases) {
    std::vector<float> samples(n);
    std::size_t teeth = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const bool within = i >= c.from && i < c.to;
      const double sine = std::sin(2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / 50);
      samples[i] = static_cast<float>(within ? c.level + c.size * sine : sine);
      if (i % 50 == 0 && (!within || c.size > 0.1)) ++teeth;
    }
    CRotation part, whole;
    CMemorySource seeking(samples, kRate);
    WithoutSeeking other(samples.data(), n, 1, 1, kRate);
    ASSERT_TRUE(part.Analyse(seeking)) << c.what;
    ASSERT_TRUE(whole.Analyse(other)) << c.what;
    EXPECT_EQ(part.Levels().scale.has_value(), c.scaled) << c.what;
    EXPECT_EQ(whole.Levels().scale.has_value(), c.scaled) << c.what;
    EXPECT_NEAR(static_cast<double>(part.Pulses().size()), static_cast<double>(teeth), 3) << c.what;
    EXPECT_NEAR(part.Speed().Mean(kRate), whole.Speed().Mean(kRate), 1e-3 * whole.Speed().Mean(kRate))
        << c.what;
  }
}

}  // namespace
