#include <functional>

#include "support/Test.h"
#include "tools/simulate/WheelSimulator.h"

namespace {

using namespace umlauf::tool;

constexpr double rate = 10000, amplitude = 2;

struct Recording {
  std::vector<float> samples;
  std::uint64_t teeth;
};

/// One second at 600 rpm, 10 turns of 12 teeth, each 83.3 samples long.
Recording Simulate(const std::function<void(WheelSettings&)>& change) {
  WheelSettings wheel;
  wheel.teeth = 12;
  wheel.rate = rate;
  wheel.amplitude = amplitude;
  wheel.jitter = 0;
  change(wheel);
  WheelSimulator simulator(SpeedProfile({{0, 600}, {1, 600}}), wheel);
  std::vector<float> samples(simulator.frames());
  for (std::size_t at = 0; at < samples.size(); at += 100) simulator.Next({samples.data() + at, 100});
  return {samples, simulator.teeth()};
}

/// What a disturbance makes of the plain signal is known sample by sample, whatever the noise.
TEST(WheelSimulator, DisturbsTheSignalAsAsked) {
  const std::vector<float> plain = Simulate([](WheelSettings&) {}).samples;
  const auto turn = [](std::size_t i) {
    return static_cast<float>(std::sin(2 * std::numbers::pi * 10 * static_cast<double>(i) / rate));
  };
  const Cases<const char*, std::function<void(WheelSettings&)>, std::function<float(float, std::size_t)>>
      cases = {
          {"level", [](auto& wheel) { wheel.disturbances.level = 3; }, [](float x, auto) { return x + 6; }},
          {"drift", [](auto& wheel) { wheel.disturbances.drift = 3, wheel.disturbances.driftPeriod = 0.1; },
           [&](float x, std::size_t i) { return x + 6 * turn(i); }},
          {"eccentricity", [](auto& wheel) { wheel.eccentricity = 0.5; },
           [&](float x, std::size_t i) { return x + turn(i); }},
          {"clip", [](auto& wheel) { wheel.disturbances.lowest = -0.5, wheel.disturbances.highest = 0.8; },
           [](float x, auto) { return std::clamp(x, -1.0f, 1.6f); }},
          {"wrap", [](auto& wheel) { wheel.disturbances.wrap = 1.5; },
           [](float x, auto) { return x >= 1.5f   ? x - 3
                                      : x < -1.5f ? x + 3
                                                  : x; }},
          {"dropout",
           [](auto& wheel) { wheel.disturbances.dropoutRate = 1e4, wheel.disturbances.dropoutLength = 1; },
           [&](float x, std::size_t i) { return i < 10 ? x : 0; }},
      };
  for (const auto& [name, change, expected] : cases) {
    const std::vector<float> samples = Simulate(change).samples;
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      // Single precision, in another order.
      wrong += std::abs(samples[i] - expected(plain[i], i)) > 1e-5f ? 1 : 0;
    }
    EXPECT_LT(wrong, 10u) << name;
  }
}

TEST(WheelSimulator, SpikesAndStepsComeAsOftenAsAsked) {
  const std::vector<float> plain = Simulate([](WheelSettings&) {}).samples;
  const auto changes = [&plain](const std::vector<float>& samples) {
    std::size_t n = 0;
    float before = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const float difference = samples[i] - plain[i];
      n += std::abs(difference - before) > 1e-4f ? 1 : 0;
      before = difference;
    }
    return static_cast<double>(n);
  };
  // Of 100 random events five deviations more or less; a spike comes and goes.
  EXPECT_NEAR(changes(Simulate([](auto& wheel) { wheel.disturbances.stepRate = 100; }).samples), 100, 50);
  EXPECT_NEAR(changes(Simulate([](auto& wheel) { wheel.disturbances.spikeRate = 100; }).samples), 200, 100);
}

TEST(WheelSimulator, HasTheTeethThatAreThere) {
  const struct {
    std::vector<unsigned> missing;
    WheelSettings::Shape shape;
    double duty;
    bool inverted;
    std::uint64_t teeth;
  } cases[] = {
      {{}, WheelSettings::Shape::sine, 0.5, false, 120},
      {{2}, WheelSettings::Shape::sine, 0.5, true, 100},
      {{2, 1}, WheelSettings::Shape::ttl, 0.5, false, 90},
      {{2, 0, 2}, WheelSettings::Shape::pulse, 0.1, false, 80},
      {{11}, WheelSettings::Shape::ttl, 0.12, true, 10},
  };
  for (const auto& c : cases) {
    const Recording run = Simulate([&c](WheelSettings& wheel) {
      wheel.SpreadGaps(c.missing);
      wheel.shape = c.shape;
      wheel.duty = c.duty;
      wheel.inverted = c.inverted;
      wheel.noise = 0;
    });
    std::uint64_t swings = 0;
    bool high = true;
    const float middle = c.shape == WheelSettings::Shape::sine ? 0.0f : c.inverted ? -1.0f : 1.0f;
    for (const float x : run.samples) {
      const bool above = (c.inverted ? middle - x : x - middle) > 0.5f;
      const bool below = (c.inverted ? middle - x : x - middle) < -0.5f;
      if (above && !high) ++swings;
      high = above || (high && !below);
    }
    // The run begins with a tooth and ends before the next turn's first one.
    EXPECT_EQ(run.teeth + 1, c.teeth) << c.missing.size();
    EXPECT_NEAR(static_cast<double>(swings), static_cast<double>(c.teeth), 1) << c.missing.size();
  }
}

}  // namespace
