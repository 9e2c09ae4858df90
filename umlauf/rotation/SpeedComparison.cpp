#include "umlauf/rotation/SpeedComparison.h"

#include <algorithm>
#include <cmath>

#include "umlauf/platform/memory/WithoutMemory.h"

void CSpeedComparison::Take(const CPulseTrain& pulses) {
  if (known_.size() < 2) return;
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    if (!pulse.HasSpeed()) continue;
    const double time = pulses.Time(pulse.Middle());
    while (at_ + 2 < known_.size() && known_[at_ + 1].time < time) ++at_;
    const Point& a = known_[at_];
    const Point& b = known_[at_ + 1];
    if (time < a.time || time > b.time || !(b.time > a.time)) continue;
    const double truth = a.rpm + (b.rpm - a.rpm) * (time - a.time) / (b.time - a.time);
    if (!(truth > 0)) continue;
    const double signedDeviation = pulse.Rpm(pulses.SampleRate()) - truth;
    const double deviation = std::abs(signedDeviation);
    complete_ &= umlauf::HadMemory([&] { found_.push_back({time, 100 * signedDeviation / truth}); });
    ++count_;
    maxRpm_ = std::max(maxRpm_, deviation);
    maxPercent_ = std::max(maxPercent_, 100 * deviation / truth);
    sumRpm_ += deviation;
    sumPercent_ += 100 * deviation / truth;
  }
}
