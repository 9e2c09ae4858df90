#include "umlauf/orders/MapScale.h"

#include <algorithm>
#include <cmath>

#include "umlauf/units/UnitAlgebra.h"

bool MapScale::IsValid() const { return !reference || (*reference > 0 && std::isfinite(*reference)); }

double MapScale::Value(double power, double width, bool atZero) const {
  const bool amplitude = scaling == SpectrumScaling::Amplitude;
  double square = scaling == SpectrumScaling::Density ? power / width : power;
  if (amplitude && !atZero) square *= 2;
  if (reference) return std::max(-200.0, 10 * std::log10(square / (*reference * *reference)));
  return amplitude || scaling == SpectrumScaling::Effective ? std::sqrt(square) : square;
}

CMeasuringUnit MapScale::ValueUnit(const CMeasuringUnit& axis) const {
  if (reference) {
    CMeasuringUnit level = unit;
    level.set_db(true);
    level.logref(static_cast<float>(*reference));
    return level;
  }
  if (scaling == SpectrumScaling::Amplitude || scaling == SpectrumScaling::Effective) return unit;
  const CMeasuringUnit square = UnitAlgebra::Power(unit, 2);
  return scaling == SpectrumScaling::Power ? square : UnitAlgebra::Quotient(square, axis);
}

double MapScale::StandardReference(const CMeasuringUnit& unit) {
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
