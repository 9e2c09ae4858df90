#pragma once

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf/spectrum/SpectrumScaling.h"
#include "umlauf/units/MeasuringUnit.h"

/// Spectra as levels, their units, and what they hold in all. Safe on several threads.
namespace SpectrumLevels {

/// Level [dB] of a mean square or of a density: 10 lg(square / reference²); −∞ for 0.
UMLAUF_API double Of(double square, double reference);
/// The reference of levels that ISO 1683 prefers for samples in a unit: 20 µPa of sound pressure, 1 µm/s² and
/// 1 nm/s of vibration, 1 µN, 1 pW; 1 for others.
UMLAUF_API double StandardReference(const CMeasuringUnit& unit);
/// Unit of levels of samples in a unit: dB of it with the reference in it, of densities plain "dB".
UMLAUF_API CMeasuringUnit LevelUnit(SpectrumScaling scaling, const CMeasuringUnit& unit, double reference);
/// Unit of scaled values of samples in a unit, for densities over an axis in `axis`.
UMLAUF_API CMeasuringUnit ValueUnit(SpectrumScaling scaling, const CMeasuringUnit& unit,
                                    const CMeasuringUnit& axis);

/// Values become levels: 20 lg(value / reference), of powers and densities 10 lg(value / reference²); −∞ for
/// 0. The reference is in the unit of the samples (sound pressure: 20 µPa = 2e-5); the unit becomes its
/// level, of densities plain "dB". A reference that is not above 0 changes nothing.
UMLAUF_API void Apply(CSigCurve& spectrum, SpectrumScaling scaling, double reference);
/// The same for every curve of an array.
UMLAUF_API void Apply(CSigCurveArray& spectra, SpectrumScaling scaling, double reference);

/// Root of Σ density · step: the effective value of what the spectrum holds, by Parseval's theorem.
UMLAUF_API double EffectiveValue(const CSigCurve& density);

}  // namespace SpectrumLevels
