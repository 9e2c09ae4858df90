#include "umlauf/spectrum/FrequencyWeighting.h"

#include <cmath>

namespace FrequencyWeighting {
namespace {

/// The formulas without their constant, as a factor of amplitudes.
double Factor(Kind kind, double frequency) {
  constexpr double low = 20.598997 * 20.598997;
  constexpr double second = 107.65265 * 107.65265;
  constexpr double third = 737.86223 * 737.86223;
  constexpr double high = 12194.217 * 12194.217;
  const double f2 = frequency * frequency;
  const double c = high * f2 / ((f2 + low) * (f2 + high));
  return kind == Kind::C ? c : c * f2 / std::sqrt((f2 + second) * (f2 + third));
}

/// Factor of amplitudes, 1 at 1 kHz.
double Weight(Kind kind, double frequency) {
  if (kind == Kind::Z) return 1.0;
  static const double a = 1.0 / Factor(Kind::A, 1000.0);
  static const double c = 1.0 / Factor(Kind::C, 1000.0);
  return Factor(kind, frequency) * (kind == Kind::A ? a : c);
}

}  // namespace

double Gain(Kind kind, double frequency) { return 20.0 * std::log10(Weight(kind, frequency)); }

void Apply(Kind kind, CSigCurve& spectrum, SpectrumScaling scaling) {
  const bool squared = scaling == SpectrumScaling::Density || scaling == SpectrumScaling::Power;
  for (std::uint64_t k = 0; k < spectrum.DLen(); ++k) {
    const double weight = Weight(kind, static_cast<double>(spectrum.GetPoint(static_cast<std::int64_t>(k))));
    spectrum.FData()[k] *= static_cast<float>(squared ? weight * weight : weight);
  }
}

void Apply(Kind kind, CSigPairs& meanSquares) {
  for (SPunkt* p = meanSquares.Punkte(); p != meanSquares.PunkteEnd(); ++p) {
    const double weight = Weight(kind, static_cast<double>(p->x));
    p->y *= static_cast<float>(weight * weight);
  }
}

}  // namespace FrequencyWeighting
