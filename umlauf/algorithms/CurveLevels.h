#pragma once

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurveExt.h"

/// Effective values, levels, smoothing and envelope of curves. Of an extended curve only the valid span
/// counts, also when it is passed as CSigCurve; the result is that part of the axis, with name and units. The
/// result may be the source. False, with an empty result, for a curve without samples or step, widths that
/// are not above 0, and when there is no memory. Safe on several threads.
namespace CurveLevels {

/// Time constants of sound level meters [s], IEC 61672-1.
constexpr double kFast = 0.125;
constexpr double kSlow = 1.0;

/// Root of the mean square of all samples; 0 without samples.
UMLAUF_API double EffectiveValue(const CSigCurve& curve);
/// Effective value over a window [x unit] around each sample, at the ends over what there is of it.
UMLAUF_API bool MovingEffectiveValue(const CSigCurve& curve, double width, CSigCurveExt& out);
/// Effective value with exponential weighting of the past: the mean square e follows τ de/dt = y² − e from 0
/// at the start on.
UMLAUF_API bool ExponentialEffectiveValue(const CSigCurve& curve, double timeConstant, CSigCurveExt& out);
/// Levels [dB] of effective values: 20 lg(|y| / reference), −∞ for 0. `reference` above 0.
UMLAUF_API bool Levels(const CSigCurve& curve, double reference, CSigCurveExt& out);

/// Means over a window [x unit] around each sample, at the ends over what there is of it; again and again for
/// several passes, which comes close to a Gaussian window from 3 on.
UMLAUF_API bool Smooth(const CSigCurve& curve, double width, unsigned passes, CSigCurveExt& out);
/// Magnitude of the analytic signal, √(y² + H(y)²) with the Hilbert transform H over the curve as one period.
/// Subtract a mean first. Lengths up to CRealTransform::kMaxSize / 2.
UMLAUF_API bool Envelope(const CSigCurve& curve, CSigCurveExt& out);

}  // namespace CurveLevels
