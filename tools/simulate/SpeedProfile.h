#pragma once

#include <cstddef>
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

}  // namespace umlauf::tool
