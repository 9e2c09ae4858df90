#include "tools/simulate/SpeedProfile.h"

#include <algorithm>
#include <utility>

namespace umlauf::tool {

SpeedProfile::SpeedProfile(std::vector<Point> points) : points_(std::move(points)) {
  turns_.push_back(0);
  for (std::size_t i = 1; i < points_.size(); ++i) {
    const double minutes = (points_[i].time - points_[i - 1].time) / 60;
    turns_.push_back(turns_.back() + minutes * (points_[i].rpm + points_[i - 1].rpm) / 2);
  }
}

double SpeedProfile::greatest() const {
  return std::max_element(points_.begin(), points_.end(), [](auto& a, auto& b) { return a.rpm < b.rpm; })
      ->rpm;
}

std::size_t SpeedProfile::Segment(double time) const {
  const auto after = std::upper_bound(points_.begin() + 1, points_.end() - 1, time,
                                      [](double t, const Point& point) { return t < point.time; });
  return static_cast<std::size_t>(after - points_.begin()) - 1;
}

double SpeedProfile::Rpm(double time) const {
  const Point& a = points_[Segment(time)];
  const Point& b = points_[Segment(time) + 1];
  return a.rpm + (b.rpm - a.rpm) * (time - a.time) / (b.time - a.time);
}

double SpeedProfile::Turns(double time) const {
  const std::size_t i = Segment(time);
  return turns_[i] + (time - points_[i].time) / 60 * (points_[i].rpm + Rpm(time)) / 2;
}

}  // namespace umlauf::tool
