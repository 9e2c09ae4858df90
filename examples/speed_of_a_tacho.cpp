// From tacho voltage to speed, block by block.

#include <umlauf/umlauf.h>

#include <array>
#include <cmath>
#include <cstdio>

int main() {
  constexpr float rate = 10000.0f;  // samples per second

  CDzPulsDetektor detector;
  detector.SchrankenSetzen(0.5f, -0.5f);  // volts: high above the first, low below the second
  detector.QuellenPulseProUmdr(60u);      // teeth of the wheel
  detector.PulsMinLenSetzen(0);
  CDzPulsListe pulses;

  std::array<float, 1000> block;  // 0.1 s of a wheel that turns at 600 rpm
  double angle = 0.0;
  for (int i = 0; i < 5; ++i) {
    for (float& volts : block) {
      volts = 2.0f * static_cast<float>(std::sin(60.0 * angle));
      angle += 2.0 * 3.14159265358979 * (600.0 / 60.0) / static_cast<double>(rate);
    }
    detector.PulseSuchen(block.data(), block.size(), pulses, 1);
    pulses.CalcAverPulsF(rate);
    std::printf("%.1f s: %.1f rpm from %d pulses\n", 0.1 * (i + 1), static_cast<double>(pulses.AverSpeed()),
                static_cast<int>(pulses.NrRealPulses()));
  }
  const bool right = std::fabs(pulses.AverSpeed() - 600.0f) < 0.1f;
  return right ? 0 : 1;
}
