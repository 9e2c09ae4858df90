#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurveExt.h"

/// Curves on another x axis. For streams, and for integer or other fixed ratios, there is
/// CDownsamplingStream.
namespace CurveResampling {

enum class Method {
  Linear,      ///< straight lines between the samples
  Cubic,       ///< third-order polynomials by the four samples around (Catmull-Rom), with a continuous slope
  BandLimited  ///< sine cardinal under a Kaiser window, 32 zeros to each side; a coarser axis is filtered for
               ///< its own Nyquist frequency first
};

/// n samples over [xMin, xMax) of the curve (of an extended one of its valid span, also when it is passed as
/// CSigCurve), with name and units. The first and last sample are held beyond the ends; valid is what lies
/// between them. The result may be the source. False, with an empty result, for a curve without samples or
/// step, n = 0, xMax <= xMin, and when there is no memory. Safe on several threads.
UMLAUF_API bool Resample(const CSigCurve& curve, float xMin, float xMax, std::uint64_t n, Method method,
                         CSigCurveExt& out);

}  // namespace CurveResampling
