#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

namespace umlauf::tool {

/// Speed over time in straight lines between points, from time 0 on.
class SpeedProfile {
 public:
  struct Point {
    double time;  ///< [s], rising from 0
    double rpm;   ///< >= 0
  };
  /// At least two points.
  explicit SpeedProfile(std::vector<Point> points);

  const std::vector<Point>& points() const { return points_; }
  double duration() const { return points_.back().time; }
  double greatest() const;
  double Rpm(double time) const;
  /// Angle since time 0 in revolutions: the exact integral.
  double Turns(double time) const;

 private:
  std::size_t Segment(double time) const;

  std::vector<Point> points_;
  std::vector<double> turns_;  ///< at each point
};

struct WheelSettings {
  enum class Shape { sine, ttl };

  unsigned teeth = 60;
  unsigned missing = 2;   ///< the last ones of a revolution
  double rate = 50000;    ///< [samples/s]
  double amplitude = 1;   ///< of the sine at the greatest speed; level of TTL
  double growth = 0.2;    ///< the sine's amplitude goes with speed to this power
  double noise = 0.005;   ///< standard deviation, as part of the amplitude
  double jitter = 0.001;  ///< standard deviation of an edge's place, in teeth
  Shape shape = Shape::sine;
  std::uint64_t seed = 1;
};

/// Normally distributed numbers, the same on every system for the same seed.
class NormalNumbers {
 public:
  explicit NormalNumbers(std::uint64_t seed) : random_(seed) {}
  /// Of mean 0 and standard deviation 1.
  double Next();
  /// Of an edge's place, in teeth; limited so that edges keep their order. Draws nothing for 0.
  double Jitter(double deviation);

 private:
  std::mt19937_64 random_;
};

/// The signal of a sensor at a toothed wheel, sample after sample; the same for the same settings. A tooth
/// begins with the rising zero crossing of its sine, or with the rising edge of its TTL pulse.
class WheelSimulator {
 public:
  WheelSimulator(SpeedProfile profile, const WheelSettings& settings);

  std::uint64_t frames() const { return frames_; }
  /// Fills with the next samples; not more than there are.
  void Next(std::span<float> samples);

 private:
  float Sample(double time);

  SpeedProfile profile_;
  WheelSettings settings_;
  NormalNumbers random_;
  std::uint64_t frames_;
  std::uint64_t at_ = 0;
  std::uint64_t tooth_ = 0;               ///< since the start
  double toothBegin_ = 0, toothEnd_ = 0;  ///< in teeth
};

}  // namespace umlauf::tool
