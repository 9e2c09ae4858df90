#pragma once

#include <cstddef>
#include <optional>

#include "umlauf/Export.h"
#include "umlauf/spectrum/SpectrumScaling.h"
#include "umlauf/units/MeasuringUnit.h"

/// What the values of a map or a spectrum over orders are. With P the mean square of a bin:
///
/// | scaling | value | unit |
/// |---|---|---|
/// | Density | P / noise bandwidth of a bin | unit²/ord, over frequency unit²/Hz |
/// | Power | P | unit² |
/// | Amplitude | √(2P) (at 0 √P) | unit, peak of a sine in the bin |
/// | Effective | √P | unit, root mean square of a sine in the bin |
///
/// With a reference r they are levels, as SpectrumLevels makes them: 10 lg(P / r²), of 2P for amplitudes and
/// of densities likewise; −∞ for 0.
struct UMLAUF_API MapScale {
  SpectrumScaling scaling = SpectrumScaling::Effective;
  std::optional<double> reference = {};  ///< above 0, in `unit`: 2e-5 for sound pressure in Pa
  CMeasuringUnit unit = {};              ///< of the samples

  bool IsValid() const;
  /// Value of a mean square; `width` is the noise bandwidth of a bin, `atZero` tells the bin of 0.
  double Value(double power, double width, bool atZero) const;
  /// Unit of the values over an axis in `axis`.
  CMeasuringUnit ValueUnit(const CMeasuringUnit& axis) const;
};
