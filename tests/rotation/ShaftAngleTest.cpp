#include "umlauf/rotation/ShaftAngle.h"

#include <gtest/gtest.h>

#include <random>

#include "rotation/TrainSupport.h"

namespace {

TEST(ShaftAngle, ExactAtTheEdgesMonotoneAndInvertible) {
  std::mt19937 random(20);
  std::uniform_real_distribution<double> length(0.3, 40);
  for (int run = 0; run < 30; ++run) {
    std::vector<double> lengths(50);
    for (double& each : lengths) each = length(random);
    const CPulseTrain pulses = Train(lengths, 7, 11.25);
    const CShaftAngle angle(pulses, 7);
    ASSERT_TRUE(angle.Valid());
    EXPECT_TRUE(angle.OneWay());
    EXPECT_EQ(angle.Begin(), 11.25);
    for (std::size_t i = 0; i < pulses.Edges().size(); ++i) {
      EXPECT_DOUBLE_EQ(angle.At(pulses.Edges()[i]), static_cast<double>(i) / 7);
      EXPECT_EQ(angle.PositionOf(angle.At(pulses.Edges()[i])), pulses.Edges()[i]);
    }
    const double step = (angle.End() - angle.Begin() + 20) / 997;
    std::vector<double> angles(998);
    angle.At(angle.Begin() - 10, step, angles.size(), angles.data());
    for (std::size_t i = 0; i < angles.size(); ++i) {
      const double at = angle.Begin() - 10 + static_cast<double>(i) * step;
      EXPECT_EQ(angles[i], angle.At(at));
      EXPECT_NEAR(angle.PositionOf(angles[i]), at, 1e-7);
      EXPECT_GE(angles[i], angles[i > 0 ? i - 1 : 0]);
      EXPECT_NEAR(angle.SpeedAt(at), (angle.At(at + 1e-5) - angle.At(at - 1e-5)) / 2e-5, 1e-4);
    }
  }
}

TEST(ShaftAngle, FollowsARunUpBetweenTheEdges) {
  // One mark a revolution, 10 to 50 rev/s in 2 s: straight lines between the marks would be off by 0.02 rev.
  CPulseTrain pulses(1000);
  for (double turns = 1; turns < 60; ++turns) {
    const auto position = [](double n) { return 1000 * (-10 + std::sqrt(100 + 40 * n)) / 20; };
    CPulseTrain::Pulse pulse;
    pulse.begin = position(turns - 1);
    pulse.end = position(turns);
    pulses.Append(pulse);
  }
  const CShaftAngle angle(pulses, 1);
  for (double at = pulses.Edges()[1]; at < pulses.Edges()[58]; at += 0.37) {
    EXPECT_NEAR(angle.At(at), at / 100 + 1e-5 * at * at, 0.002);
  }
}

TEST(ShaftAngle, TurnsBackWithTheEncoder) {
  CPulseTrain pulses(1000);
  CPulseTrain::Pulse pulse;
  for (const double pitches : {1.0, 1.0, -1.0, -1.0, -1.0, 1.0}) {
    pulse.begin = pulse.end;
    pulse.end += 10;
    pulse.pitches = pitches;
    pulses.Append(pulse);
  }
  const CShaftAngle angle(pulses, 4);
  EXPECT_FALSE(angle.OneWay());
  EXPECT_EQ(angle.At(20), 0.5);
  EXPECT_EQ(angle.SpeedAt(20), 0);
  EXPECT_EQ(angle.At(50), -0.25);
  EXPECT_LT(angle.SpeedAt(35), 0);
  EXPECT_EQ(angle.PositionOf(0.25), 10);  // the first time
  EXPECT_NEAR(angle.At(angle.PositionOf(-0.2)), -0.2, 1e-12);
  EXPECT_NEAR(angle.PositionOf(0.6), 60 + 0.6 * 40, 1e-9);  // with the last speed, with the first one
  EXPECT_NEAR(angle.PositionOf(-0.6), -0.6 * 40, 1e-9);
  EXPECT_FALSE(CShaftAngle(CPulseTrain(), 4).Valid());
  EXPECT_TRUE(std::isnan(CShaftAngle(pulses, 0).At(3)));
}

TEST(ShaftAngle, PassesEachMultipleOnceHoweverTheCallsAreCut) {
  std::mt19937 random(30);
  std::uniform_real_distribution<double> length(0.3, 40);
  for (int run = 0; run < 20; ++run) {
    CPulseTrain pulses(1000);
    CPulseTrain::Pulse pulse;
    for (int i = 0; i < 60; ++i) {  // forward, with a way back and a standstill in its middle
      pulse.begin = pulse.end;
      pulse.end += length(random);
      pulse.pitches = i == 30 ? 0 : i > 20 && i < 40 && run % 2 == 1 ? -1 : 1;
      pulses.Append(pulse);
    }
    const CShaftAngle angle(pulses, 4, 100);
    const double step = 1 / (2.3 + run);
    std::vector<CShaftAngle::Passing> all(2000), parts;
    all.resize(angle.Passings(step, -1, all.size(), all.data()));
    ASSERT_GT(all.size(), 20u);
    std::size_t n = 1;
    for (double from = -1; n > 0; from = n > 0 ? parts.back().position : from) {
      CShaftAngle::Passing some[7];
      n = angle.Passings(step, from, 1 + random() % 7, some);
      parts.insert(parts.end(), some, some + n);
    }
    ASSERT_EQ(parts.size(), all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
      EXPECT_NEAR(angle.At(all[i].position), static_cast<double>(all[i].count) * step, 1e-9);
      EXPECT_NEAR(all[i].speed, angle.SpeedAt(all[i].position), 1e-7);
      EXPECT_EQ(parts[i].count, all[i].count);
      EXPECT_NEAR(parts[i].position, all[i].position, 1e-6);
      if (i == 0) continue;
      EXPECT_GE(all[i].position, all[i - 1].position);
      EXPECT_LE(std::abs(all[i].count - all[i - 1].count), 1);
    }
  }
}

}  // namespace
