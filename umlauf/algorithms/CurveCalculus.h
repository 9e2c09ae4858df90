#pragma once

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurveExt.h"

/// Integrals and derivatives of curves over their x. Of an extended curve only the valid span counts, also
/// when it is passed as CSigCurve; the result is that part of the axis. Name and units are taken along, the
/// unit as UnitAlgebra forms it: the derivative of "m/s" over "s" is in "m/s²". The result may be the source.
/// False, with an empty result, for a curve without samples or step, and when there is no memory. Safe on
/// several threads.
namespace CurveCalculus {

/// From the first sample on, by the trapezoidal rule: 0 there.
UMLAUF_API bool Integral(const CSigCurve& curve, CSigCurveExt& out);
/// Central differences, (y[i+1] − y[i−1]) / (2 step); at both ends the difference to the neighbour.
UMLAUF_API bool Derivative(const CSigCurve& curve, CSigCurveExt& out);

/// Multiplies the spectrum by (jω)^exponent: 1 is the derivative, −1 the integral, 2 leads from displacement
/// to acceleration; parts of whole numbers are fine. Below `lowest` [1/x unit] nothing passes, and nothing at
/// 0 unless the exponent is 0. The curve counts as one period: at its ends it should be alike or fade out.
/// Lengths up to CRealTransform::kMaxSize / 2. The unit changes for whole exponents, else it is cleared.
UMLAUF_API bool OmegaFactor(const CSigCurve& curve, double exponent, double lowest, CSigCurveExt& out);

}  // namespace CurveCalculus
