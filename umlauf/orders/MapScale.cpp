#include "umlauf/orders/MapScale.h"

#include <cmath>

#include "umlauf/spectrum/SpectrumLevels.h"

bool MapScale::IsValid() const { return !reference || (*reference > 0 && std::isfinite(*reference)); }

double MapScale::Value(double power, double width, bool atZero) const {
  const bool amplitude = scaling == SpectrumScaling::Amplitude;
  double square = scaling == SpectrumScaling::Density ? power / width : power;
  if (amplitude && !atZero) square *= 2;
  if (reference) return SpectrumLevels::Of(square, *reference);
  return amplitude || scaling == SpectrumScaling::Effective ? std::sqrt(square) : square;
}

CMeasuringUnit MapScale::ValueUnit(const CMeasuringUnit& axis) const {
  return reference ? SpectrumLevels::LevelUnit(scaling, unit, *reference)
                   : SpectrumLevels::ValueUnit(scaling, unit, axis);
}
