#pragma once

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurveExt.h"

/// How two curves of one step are shifted against each other. Of an extended curve only the valid span
/// counts, also when it is passed as CSigCurve. False, with empty results, for curves without samples, with
/// steps that differ by more than a thousandth or are not above 0, and when there is no memory. Safe on
/// several threads.
namespace CurveCorrelation {

/// Correlation coefficient over the delay of y behind x, from −maxDelay to maxDelay [x unit] as far as the
/// curves overlap:
///
///     r(d) = Σ (x[i] − mean x)(y[i + d] − mean y) / √(Σ (x − mean x)² Σ (y − mean y)²)
///
/// The sums of the denominator are over whole curves, so that few overlapping samples do not count much. 0
/// for constant curves. Positions of the axes count: two curves with the same samples, one of which begins 2
/// s later, have their maximum at 2 s.
UMLAUF_API bool Correlation(const CSigCurve& x, const CSigCurve& y, double maxDelay, CSigCurveExt& out);

/// The delay [x unit] of y behind x: where the correlation is greatest, by a parabola between the samples;
/// and the coefficient there.
UMLAUF_API bool Delay(const CSigCurve& x, const CSigCurve& y, double maxDelay, double& delay,
                      double& coefficient);

/// Moves the axis of y so that it lies over x; returns the delay that was taken off through `delay`.
UMLAUF_API bool Align(const CSigCurve& x, CSigCurveExt& y, double maxDelay, double& delay);

}  // namespace CurveCorrelation
