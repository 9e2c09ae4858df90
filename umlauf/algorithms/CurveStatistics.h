#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/signal/SigCurveExt.h"

/// The line y = intercept + slope x.
struct RegressionLine {
  double slope = 0.0;        ///< [y unit / x unit]
  double intercept = 0.0;    ///< [y unit], at x = 0
  double correlation = 0.0;  ///< −1 to 1; 0 for constant y
  double residual = 0.0;     ///< root of the mean squared distance in y
};

/// A load cycle of rainflow counting.
struct RainflowCycle {
  float range;  ///< greatest minus smallest value
  float mean;   ///< of the two
  float count;  ///< 1 for a whole cycle, 0.5 for half of one
};

/// Statistics of curves. Of an extended curve only the valid span counts, also when it is passed as
/// CSigCurve. Safe on several threads.
namespace CurveStatistics {

/// Least squares over all samples. False for less than two different x.
UMLAUF_API bool Regression(const CSigCurve& curve, RegressionLine& line);
UMLAUF_API bool Regression(const CSigPairs& points, RegressionLine& line);

/// Numbers of samples in `bins` equal parts of [lo, hi], over an axis of the y values; the last part holds
/// hi. Values outside and NaN do not count. False, with an empty result, for no bins, hi <= lo and without
/// memory.
UMLAUF_API bool Histogram(const CSigCurve& curve, float lo, float hi, std::uint64_t bins, CSigCurveExt& out);

/// Load cycles in the order in which they close, by ASTM E1049-85, 5.4.4: a range between two turning points
/// is a whole cycle when the one behind it is at least as large, half a one when it contains the start; what
/// is left at the end are half cycles. NaN are passed over. False, without cycles, when there is no memory.
UMLAUF_API bool Rainflow(const CSigCurve& curve, CAlignedMem<RainflowCycle>& cycles);

}  // namespace CurveStatistics
