#pragma once

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf/spectrum/SpectrumScaling.h"

/// Spectra as levels, and what they hold in all. Safe on several threads.
namespace SpectrumLevels {

/// Values become levels [dB]: 20 lg(value / reference), of powers and densities 10 lg(value / reference²); −∞
/// for 0. The reference is in the unit of the samples (sound pressure: 20 µPa = 2e-5); the unit becomes its
/// level, of densities plain "dB". A reference that is not above 0 changes nothing.
UMLAUF_API void Apply(CSigCurve& spectrum, SpectrumScaling scaling, double reference);
/// The same for every curve of an array.
UMLAUF_API void Apply(CSigCurveArray& spectra, SpectrumScaling scaling, double reference);

/// Root of Σ density · step: the effective value of what the spectrum holds, by Parseval's theorem.
UMLAUF_API double EffectiveValue(const CSigCurve& density);

}  // namespace SpectrumLevels
