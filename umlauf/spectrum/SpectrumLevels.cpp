#include "umlauf/spectrum/SpectrumLevels.h"

#include <algorithm>
#include <cmath>

#include "umlauf/signal/CurveSpan.h"
#include "umlauf/spectrum/internal/Bins.h"
#include "umlauf/units/UnitAlgebra.h"

namespace SpectrumLevels {

namespace spectrum = umlauf::spectrum;

namespace {

/// Of values as they are: the unit of the samples is the root of that of powers.
CMeasuringUnit LevelUnitOfValues(SpectrumScaling scaling, CMeasuringUnit unit, double reference) {
  if (scaling == SpectrumScaling::Power && !unit.root(2)) unit.clear();
  return LevelUnit(scaling, unit, reference);
}

}  // namespace

double Of(double square, double reference) { return 10 * std::log10(square / (reference * reference)); }

double StandardReference(const CMeasuringUnit& unit) {
  switch (unit.unit()) {
    case CMeasuringUnit::pascal:
      return 2e-5;
    case CMeasuringUnit::metre_per_second_squared:
    case CMeasuringUnit::newton:
      return 1e-6;
    case CMeasuringUnit::metre_per_second:
      return 1e-9;
    case CMeasuringUnit::watt:
      return 1e-12;
    default:
      return 1;
  }
}

CMeasuringUnit LevelUnit(SpectrumScaling scaling, const CMeasuringUnit& unit, double reference) {
  CMeasuringUnit level(unit);
  if (scaling == SpectrumScaling::Density) level.clear();
  level.logref(static_cast<float>(reference));
  level.set_db(true);
  return level;
}

CMeasuringUnit ValueUnit(SpectrumScaling scaling, const CMeasuringUnit& unit, const CMeasuringUnit& axis) {
  if (spectrum::IsRoot(scaling)) return unit;
  const CMeasuringUnit power = UnitAlgebra::Power(unit, 2);
  return scaling == SpectrumScaling::Power ? power : UnitAlgebra::Quotient(power, axis);
}

void Apply(CSigCurve& spectrum, SpectrumScaling scaling, double reference) {
  if (!(reference > 0.0)) return;
  const bool root = spectrum::IsRoot(scaling);
  std::transform(spectrum.FData(), spectrum.FData() + spectrum.DLen(), spectrum.FData(), [=](float value) {
    const double number{value};
    return static_cast<float>(Of(root ? number * number : number, reference));
  });
  spectrum.SetYUnit(LevelUnitOfValues(scaling, spectrum.YUnit(), reference));
}

void Apply(CSigCurveArray& spectra, SpectrumScaling scaling, double reference) {
  if (!(reference > 0.0)) return;
  for (const auto& curve : spectra) Apply(*curve, scaling, reference);
  spectra.SetYUnit(LevelUnitOfValues(scaling, spectra.YUnit(), reference));
}

double EffectiveValue(const CSigCurve& density) {
  const CurveSpan span = SpanOf(density);
  double sum = 0.0;
  for (std::uint64_t k = 0; k < span.length; ++k) sum += double{span.samples[k]};
  return std::sqrt(sum * span.Step());
}

}  // namespace SpectrumLevels
