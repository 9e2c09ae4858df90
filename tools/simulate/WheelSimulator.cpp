#include "tools/simulate/WheelSimulator.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {
namespace {

/// Sizes in the unit of the signal.
Disturbances::Settings Scaled(Disturbances::Settings settings, double amplitude) {
  for (double* each : {&settings.level, &settings.drift, &settings.stepSize, &settings.spikeSize,
                       &settings.lowest, &settings.highest, &settings.wrap}) {
    *each *= amplitude;
  }
  return settings;
}

}  // namespace

void WheelSettings::SpreadGaps(const std::vector<unsigned>& missing) {
  gaps.clear();
  for (std::size_t i = 0; i < missing.size(); ++i) {
    const auto end = static_cast<unsigned>(std::uint64_t{teeth} * (i + 1) / missing.size());
    gaps.push_back({end - std::min(end, missing[i]), missing[i]});
  }
}

std::vector<bool> WheelSettings::Present() const {
  std::vector<bool> present(teeth, true);
  for (const Gap& gap : gaps) {
    for (unsigned i = gap.first; i < std::min(teeth, gap.first + gap.count); ++i) present[i] = false;
  }
  return present;
}

WheelSimulator::WheelSimulator(SpeedProfile profile, const WheelSettings& settings)
    : profile_(std::move(profile)),
      settings_(settings),
      present_(settings.Present()),
      random_(settings.seed),
      disturbances_(Scaled(settings.disturbances, settings.amplitude), settings.seed),
      frames_(numeric::trunc_sat<std::uint64_t>(profile_.duration() * settings.rate)),
      isPresent_(present_.front()),
      isBehindGap_(!present_.back()) {
  toothEnd_ = 1 + random_.Jitter(settings_.jitter);
}

void WheelSimulator::TurnTo(double angle) {
  while (angle >= toothEnd_) {
    ++tooth_;
    toothBegin_ = toothEnd_;
    toothEnd_ = static_cast<double>(tooth_ + 1) + random_.Jitter(settings_.jitter);
    isBehindGap_ = !isPresent_;
    isPresent_ = present_[tooth_ % settings_.teeth];
    if (isPresent_) ++passed_;
  }
}

double WheelSimulator::Shape(double phase, double time) const {
  if (!isPresent_ || (settings_.shape != WheelSettings::Shape::sine && phase >= settings_.duty)) return 0;
  if (settings_.shape == WheelSettings::Shape::ttl) return 1;
  const double height = std::pow(profile_.Rpm(time) / profile_.greatest(), settings_.growth) *
                        (isBehindGap_ ? settings_.behindGap : 1);
  if (settings_.shape == WheelSettings::Shape::sine) return height * std::sin(2 * std::numbers::pi * phase);
  return height * (1 - std::cos(2 * std::numbers::pi * phase / settings_.duty)) / 2;
}

float WheelSimulator::Sample(double time) {
  const double turns = profile_.Turns(time);
  const double angle = turns * settings_.teeth;
  TurnTo(angle);
  double value = settings_.amplitude * Shape((angle - toothBegin_) / (toothEnd_ - toothBegin_), time);
  if (settings_.inverted) value = -value;
  if (settings_.noise > 0) value += settings_.noise * settings_.amplitude * random_.Next();
  if (settings_.eccentricity > 0)
    value += settings_.eccentricity * settings_.amplitude * std::sin(2 * std::numbers::pi * turns);
  return static_cast<float>(disturbances_.Apply(value, time));
}

void WheelSimulator::Next(std::span<float> samples) {
  for (float& sample : samples) sample = Sample(static_cast<double>(at_++) / settings_.rate);
}

}  // namespace umlauf::tool
