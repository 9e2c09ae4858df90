// Prints the least time of several searches for pulses in one block in nanoseconds per sample, for
// compare.py.

#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>
#include <vector>

#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/tacho/DzPulsDetektor.h"

int main() {
  constexpr std::size_t samples = 1 << 20;
  std::vector<float> x(samples);
  for (std::size_t i = 0; i < samples; ++i)
    x[i] = static_cast<float>(std::sin(2.0 * std::numbers::pi * (static_cast<double>(i) + 0.25) / 100.37));
  CDzPulsDetektor detector;
  detector.SchrankenSetzen(0.3f, -0.3f);
  detector.PulsMinLenSetzen(0);
  CDzPulsListe list;
  double least = std::numeric_limits<double>::infinity();
  for (int i = 0; i < 50; ++i) {
    const auto start = std::chrono::steady_clock::now();
    detector.PulseSuchen(x.data(), static_cast<unsigned>(x.size()), list, 1);
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
    least = std::fmin(least, time.count() / static_cast<double>(samples));
  }
  std::printf("%.6f\n", least);
  return list.NrRealPulses() > 10'000 ? 0 : 1;
}
