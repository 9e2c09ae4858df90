#pragma once

#include <cmath>
#include <cstddef>
#include <functional>
#include <numbers>
#include <vector>

#include "umlauf/orders/AngleResampler.h"
#include "umlauf/rotation/PulseTrain.h"

/// A shaft whose speed rises or falls steadily: angle [rev] and its inverse over seconds.
struct RunUp {
  double start = 10;  ///< [rev/s]
  double rise = 9;    ///< [rev/s²], not 0

  double Angle(double t) const { return t * (start + rise * t / 2); }
  double Speed(double t) const { return start + rise * t; }
  double Time(double angle) const { return (std::sqrt(start * start + 2 * rise * angle) - start) / rise; }

  /// Its pulses of a wheel of `teeth`, exact, from t = 0 on.
  CPulseTrain Pulses(double rate, double seconds, unsigned teeth) const {
    CPulseTrain train(rate);
    CPulseTrain::Pulse pulse;
    for (double k = 1; Time(k / teeth) < seconds; ++k) {
      pulse.begin = pulse.end;
      pulse.end = Time(k / teeth) * rate;
      pulse.revolutionTime = pulse.Length() * teeth;
      train.Append(pulse);
    }
    return train;
  }
};

/// Samples of a signal over time.
inline std::vector<float> Sampled(double rate, double seconds, const std::function<double(double)>& signal) {
  std::vector<float> samples(static_cast<std::size_t>(rate * seconds));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<float>(signal(static_cast<double>(i) / rate));
  }
  return samples;
}

inline double Cosine(double turns) { return std::cos(2 * std::numbers::pi * turns); }

/// What a recording over angle holds.
struct OverAngle {
  std::vector<float> frames;
  std::vector<CShaftAngle::Passing> places;
};

/// All frames over angle, the samples put in blocks of `block`.
inline OverAngle Resampled(
    CAngleResampler& resampler, const CShaftAngle& angle, const std::vector<float>& samples,
    unsigned channels = 1, const std::function<std::size_t()>& block = [] { return std::size_t{5000}; }) {
  OverAngle result;
  std::vector<float> frames(300 * channels);
  std::vector<CShaftAngle::Passing> places(300);
  const auto take = [&] {
    while (const std::size_t n = resampler.Get(angle, frames.data(), 300, places.data())) {
      result.frames.insert(result.frames.end(), frames.begin(),
                           frames.begin() + static_cast<long>(n * channels));
      result.places.insert(result.places.end(), places.begin(), places.begin() + static_cast<long>(n));
    }
  };
  const std::size_t all = samples.size() / channels;
  for (std::size_t at = 0; at < all;) {
    const std::size_t n = std::min(block(), all - at);
    at += resampler.Put(samples.data() + at * channels, n, channels);
    take();
  }
  resampler.Finish();
  take();
  return result;
}
