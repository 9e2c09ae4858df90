#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "tools/simulate/Disturbances.h"
#include "tools/simulate/RandomNumbers.h"
#include "tools/simulate/SpeedProfile.h"

namespace umlauf::tool {

/// A toothed wheel and the sensor at it. Levels and sizes are parts of the amplitude.
struct WheelSettings {
  enum class Shape {
    sine,
    ttl,   ///< logic level, high for `duty` of a tooth
    pulse  ///< one hump per tooth, `duty` of it wide, 0 between
  };
  /// Teeth that are missing side by side.
  struct Gap {
    unsigned first = 0;  ///< tooth from 0
    unsigned count = 0;
  };

  unsigned teeth = 60;      ///< with the missing ones
  std::vector<Gap> gaps;    ///< within 0 ... teeth
  double rate = 50000;      ///< [samples/s]
  double amplitude = 1;     ///< of the sine at the greatest speed; height of TTL and pulses
  double growth = 0.2;      ///< amplitude of sine and pulses goes with speed to this power
  double noise = 0.005;     ///< standard deviation
  double jitter = 0.001;    ///< standard deviation of an edge's place, in teeth
  double duty = 0.5;        ///< 0 < duty < 1
  double behindGap = 1;     ///< the tooth behind a gap is so many times as high
  double eccentricity = 0;  ///< the level moves so far up and down once per revolution
  bool inverted = false;    ///< the signal falls where it would rise
  Disturbances::Settings disturbances;
  Shape shape = Shape::sine;
  std::uint64_t seed = 1;

  /// Spreads gaps of so many teeth evenly: each one ends its share of the wheel, so that a single one is the
  /// last of a revolution.
  void SpreadGaps(const std::vector<unsigned>& missing);
  /// For each tooth of a revolution, whether it is there.
  std::vector<bool> Present() const;
};

/// The signal of a sensor at a toothed wheel, sample after sample; the same for the same settings. A tooth
/// begins with the rising zero crossing of its sine, or with the rising edge of its TTL pulse or hump; all of
/// it the other way round when inverted.
class WheelSimulator {
 public:
  WheelSimulator(SpeedProfile profile, const WheelSettings& settings);

  std::uint64_t frames() const { return frames_; }
  /// Fills with the next samples; not more than there are.
  void Next(std::span<float> samples);
  /// Teeth that began so far and are there, without the one at the start.
  std::uint64_t teeth() const { return passed_; }

 private:
  float Sample(double time);
  void TurnTo(double angle);
  double Shape(double phase, double time) const;

  SpeedProfile profile_;
  WheelSettings settings_;
  std::vector<bool> present_;
  NormalNumbers random_;
  Disturbances disturbances_;
  std::uint64_t frames_;
  std::uint64_t at_ = 0;
  std::uint64_t tooth_ = 0;  ///< since the start
  std::uint64_t passed_ = 0;
  double toothBegin_ = 0, toothEnd_ = 0;  ///< in teeth
  bool isPresent_, isBehindGap_;
};

}  // namespace umlauf::tool
