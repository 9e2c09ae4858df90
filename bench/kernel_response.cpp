// Prints the response of the built-in downsampling kernel, for docs/images/kernel.gp: frequency relative to
// the output's Nyquist frequency at the table's largest ratio, level in dB.

#include <cmath>
#include <cstdio>
#include <numbers>

#include "umlauf/rate/DownsamplingInfo.h"

int main() {
  const CDownsamplingInfo info;
  const double nyquist = std::numbers::pi / static_cast<double>(info.MaxRatio());
  for (double f = 0.01; f < static_cast<double>(info.MaxRatio()); f += f < 4.0 ? 0.01 : f * 0.0025) {
    double re = 0.0, im = 0.0;
    for (std::uint32_t i = 0; i < info.FilterLen(); ++i) {
      const double c = static_cast<double>(info.FilterCoefficients()[i]), angle = nyquist * f * i;
      re += c * std::cos(angle);
      im += c * std::sin(angle);
    }
    const double gain = std::hypot(re, im) / (static_cast<double>(info.FilterNorm()) * info.FilterLen());
    std::printf("%.5f %.3f\n", f, 20.0 * std::log10(gain + 1e-20));
  }
}
