#pragma once

#include "umlauf/Export.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/spectrum/SpectrumScaling.h"

/// Frequency weightings of sound, by the formulas of IEC 61672-1, annex E, with f in Hz:
///
///     A(f) = 20 lg( 12194² f⁴ / ((f² + 20.6²) √((f² + 107.7²)(f² + 737.9²)) (f² + 12194²)) ) + 2.000 dB
///     C(f) = 20 lg( 12194² f² / ((f² + 20.6²)(f² + 12194²)) ) + 0.062 dB
///
/// Z is 0 dB at every frequency. Safe on several threads.
namespace FrequencyWeighting {

enum class Kind { Z, A, C };

/// The gain [dB] at a frequency [Hz], whose sign does not count; −∞ at 0 Hz (but 0 for Z).
UMLAUF_API double Gain(Kind kind, double frequency);

/// Weights a spectrum over Hz in place: powers and densities by the square of the gain.
UMLAUF_API void Apply(Kind kind, CSigCurve& spectrum, SpectrumScaling scaling);
/// Weights mean squares over their frequencies, such as those of octave bands.
UMLAUF_API void Apply(Kind kind, CSigPairs& meanSquares);

}  // namespace FrequencyWeighting
