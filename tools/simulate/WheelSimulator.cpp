#include "tools/simulate/WheelSimulator.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "umlauf/platform/vekta/numeric.h"

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

WheelSimulator::WheelSimulator(SpeedProfile profile, const WheelSettings& settings)
    : profile_(std::move(profile)),
      settings_(settings),
      random_(settings.seed),
      frames_(numeric::trunc_sat<std::uint64_t>(profile_.duration() * settings.rate)) {
  toothEnd_ = 1 + random_.Jitter(settings_.jitter);
}

double NormalNumbers::Next() {
  // Box and Muller, written out: the distributions of the standard library differ from one to the next.
  const auto uniform = [this] { return (static_cast<double>(random_() >> 11) + 0.5) * 0x1p-53; };
  const double radius = std::sqrt(-2 * std::log(uniform()));
  return radius * std::cos(2 * std::numbers::pi * uniform());
}

double NormalNumbers::Jitter(double deviation) {
  return deviation > 0 ? std::clamp(deviation * Next(), -0.4, 0.4) : 0.0;
}

float WheelSimulator::Sample(double time) {
  const double angle = profile_.Turns(time) * settings_.teeth;
  while (angle >= toothEnd_) {
    ++tooth_;
    toothBegin_ = toothEnd_;
    toothEnd_ = static_cast<double>(tooth_ + 1) + random_.Jitter(settings_.jitter);
  }
  const bool present = tooth_ % settings_.teeth < settings_.teeth - settings_.missing;
  const double phase = (angle - toothBegin_) / (toothEnd_ - toothBegin_);
  double value = 0;
  if (settings_.shape == WheelSettings::Shape::ttl) {
    value = present && phase < 0.5 ? settings_.amplitude : 0;
  } else if (present) {
    value = settings_.amplitude * std::pow(profile_.Rpm(time) / profile_.greatest(), settings_.growth) *
            std::sin(2 * std::numbers::pi * phase);
  }
  if (settings_.noise > 0) value += settings_.noise * settings_.amplitude * random_.Next();
  return static_cast<float>(value);
}

void WheelSimulator::Next(std::span<float> samples) {
  for (float& sample : samples) sample = Sample(static_cast<double>(at_++) / settings_.rate);
}

}  // namespace umlauf::tool
