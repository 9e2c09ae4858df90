#include "umlauf/orders/ShaftTrains.h"

#include <gtest/gtest.h>

#include <random>

#include "orders/OrderSupport.h"
#include "umlauf/orders/PitchErrors.h"
#include "umlauf/rotation/SpeedSignals.h"

namespace {

TEST(ShaftTrains, GearsTurnByTheirTeeth) {
  const RunUp in{12, 5};
  const CPulseTrain pulses = in.Pulses(1000, 6, 60);
  const CShaftAngle shaft(pulses, 60), out(ShaftTrains::Geared(pulses, -17.0 / 43), 60);
  for (double at = 3; at < shaft.End(); at += 71) {
    EXPECT_NEAR(out.At(at), -shaft.At(at) * 17 / 43, 1e-10);
    EXPECT_LT(out.SpeedAt(at), 0);
  }
  for (const double ratio : {0.0, std::nan(""), HUGE_VAL}) {
    EXPECT_TRUE(ShaftTrains::Geared(pulses, ratio).empty());
  }
}

TEST(ShaftTrains, PlanetaryGearsAddTheAnglesOfTwo) {
  const RunUp sun{30, 4}, ring{5, -0.5};
  const CPulseTrain a = sun.Pulses(1000, 5, 12), b = ring.Pulses(1000, 5, 48);
  const CShaftAngle carrier(ShaftTrains::Sum({&a, 12, 0.3}, {&b, 48, 0.7}), 1);
  const auto expected = [&](double at) { return 0.3 * sun.Angle(at / 1000) + 0.7 * ring.Angle(at / 1000); };
  const double origin = expected(carrier.Begin());
  for (double at = carrier.Begin() + 50; at < carrier.End() - 50; at += 13) {
    EXPECT_NEAR(carrier.At(at), expected(at) - origin, 1e-5);
  }
}

TEST(ShaftTrains, ASpeedCurveGivesTheAngleThatItCameFrom) {
  const RunUp shaft{10, 9};
  const CPulseTrain pulses = shaft.Pulses(50000, 10, 60);
  CSpeedCurveBuilder builder(0.01);
  builder.Take(pulses);
  const auto curve = builder.Finish(L"speed");
  ASSERT_TRUE(curve);
  // On the axis of another recording that began later and is slower.
  const CShaftAngle angle(ShaftTrains::FromSpeed(*curve, 1000, 2), 1);
  for (double t = 2.1; t < 9.9; t += 0.0731) {
    EXPECT_NEAR(angle.At((t - 2) * 1000) - angle.At(0), shaft.Angle(t) - shaft.Angle(2), 5e-4) << t;
  }
  EXPECT_TRUE(ShaftTrains::FromSpeed(CSigCurve(), 1000).empty());
  EXPECT_TRUE(ShaftTrains::FromSpeed(*curve, 0).empty());
}

/// A run-up on a wheel of 60 pitches of which 2 may be missing, each tooth displaced by its own error [rev].
CPulseTrain Uneven(const RunUp& shaft, const std::vector<double>& errors, unsigned missing) {
  CPulseTrain train(100000);
  CPulseTrain::Pulse pulse;
  const unsigned teeth = 60 - missing;
  for (std::size_t k = 1; k < 60 * 200; ++k) {
    const std::size_t tooth = k % 60;
    if (tooth >= teeth) continue;
    pulse.begin = pulse.end;
    pulse.pitches = tooth == 0 ? 1.0 + missing : 1.0;
    pulse.end = shaft.Time(static_cast<double>(k) / 60 + errors[tooth] - errors[0]) * 100000;
    pulse.revolutionTime = pulse.Length() * 60 / pulse.pitches;
    pulse.Set(CPulseTrain::gapStart, missing > 0 && tooth == 0);
    train.Append(pulse);
  }
  return train;
}

TEST(PitchErrors, AreFoundAndTakenOut) {
  const RunUp shaft{10, 6};
  std::mt19937 random(3);
  std::normal_distribution<double> error(0, 2e-4);
  for (const unsigned missing : {0u, 2u}) {
    std::vector<double> errors(60);
    for (double& each : errors) each = error(random);
    const CPulseTrain pulses = Uneven(shaft, errors, missing);
    const CPitchErrors found(pulses, 60);
    ASSERT_TRUE(found.IsValid());
    EXPECT_GT(found.Revolutions(), 190u);
    const CPulseTrain corrected = found.Corrected(pulses);
    ASSERT_EQ(corrected.size(), pulses.size());
    // The tooth in front of the gap is tooth 0 there; else that of the first edge.
    const std::size_t first = missing > 0 ? 60 - missing - 1 : 0;
    for (std::size_t j = 0; j < 60 - missing; ++j) {
      const std::size_t tooth = (first + j) % 60;
      if (tooth >= 60 - missing) continue;
      EXPECT_NEAR(found.Errors()[j] - found.Errors()[0], errors[tooth] - errors[first], 1e-5);
    }
    double worst = 0, before = 0;
    for (std::size_t i = 200; i + 200 < pulses.size(); ++i) {
      const double rpm = 60 * shaft.Speed(pulses[i].Middle() / 100000);
      worst = std::max(worst, std::abs(corrected[i].Rpm(100000) / rpm - 1));
      before = std::max(before, std::abs(pulses[i].Rpm(100000) / rpm - 1));
    }
    EXPECT_GT(before, 0.02);
    EXPECT_LT(worst, 1e-3);
  }
  EXPECT_FALSE(CPitchErrors(shaft.Pulses(1000, 0.2, 60), 60).IsValid());
  EXPECT_FALSE(CPitchErrors(shaft.Pulses(1000, 2, 60), 60.5).IsValid());
}

}  // namespace
