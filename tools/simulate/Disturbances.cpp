#include "tools/simulate/Disturbances.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace umlauf::tool {

Disturbances::Disturbances(const Settings& settings, std::uint64_t seed)
    : settings_(settings),
      // Each draws numbers of its own, so that one does not change what another does.
      random_(seed + 1),
      steps_(settings.stepRate, seed + 2),
      spikes_(settings.spikeRate, seed + 3),
      dropouts_(settings.dropoutRate, seed + 4) {}

double Disturbances::Level(double time) {
  while (steps_.Reached(time)) step_ = settings_.stepSize * (2 * random_.Uniform() - 1);
  return settings_.level + step_ +
         settings_.drift * std::sin(2 * std::numbers::pi * time / settings_.driftPeriod);
}

bool Disturbances::IsLost(double time) {
  while (dropouts_.Reached(time)) lostUntil_ = time + settings_.dropoutLength;
  return time < lostUntil_;
}

double Disturbances::Apply(double value, double time) {
  if (IsLost(time)) value = 0;
  value += Level(time);
  while (spikes_.Reached(time)) value += random_.Uniform() < 0.5 ? -settings_.spikeSize : settings_.spikeSize;
  value = std::clamp(value, settings_.lowest, settings_.highest);
  if (settings_.wrap > 0) value -= settings_.wrap * std::floor(value / settings_.wrap + 0.5);
  return value;
}

}  // namespace umlauf::tool
