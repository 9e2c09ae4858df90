#pragma once

#include <cmath>
#include <numbers>
#include <vector>

#include "umlauf/rotation/PulseTrain.h"

/// Pulses of the given lengths [samples], one pitch each of a wheel of `teeth`, from position `begin` on.
inline CPulseTrain Train(const std::vector<double>& lengths, double teeth, double begin = 0) {
  CPulseTrain train(1000);
  for (const double length : lengths) {
    CPulseTrain::Pulse pulse;
    pulse.begin = begin;
    pulse.end = begin += length;
    pulse.revolutionTime = length * teeth;
    train.Append(pulse);
  }
  return train;
}

/// The tacho voltage of a wheel that turns by angle(t) [rev], t in seconds: a sine for each tooth, level 0 in
/// place of the last `missing` of each revolution.
template <class Angle>
std::vector<float> Tacho(double seconds, double rate, unsigned teeth, unsigned missing, Angle angle) {
  std::vector<float> samples;
  for (double t = 0; t < seconds; t += 1 / rate) {
    const double turns = angle(t), tooth = (turns - std::floor(turns)) * teeth;
    samples.push_back(tooth < teeth - missing ? static_cast<float>(std::sin(2 * std::numbers::pi * tooth))
                                              : 0.0f);
  }
  return samples;
}
