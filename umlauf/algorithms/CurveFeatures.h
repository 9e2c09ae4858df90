#pragma once

#include <cstdint>
#include <limits>

#include "umlauf/Export.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/signal/SigCurve.h"

/// A local maximum of a curve.
struct CurvePeak {
  std::int64_t index;  ///< sample of the curve; of equal ones the middle
  float x, y;          ///< vertex of the parabola through the sample and its neighbours
  float prominence;    ///< height above the higher of the two least values on the ways to a higher sample, or
                       ///< to the end, on either side
};

/// What peaks must have. As it stands: nothing.
struct PeakCriteria {
  float height = -std::numeric_limits<float>::infinity();  ///< least value of the sample
  double distance = 0.0;    ///< least distance of two peaks, in x; the lower one of two goes
  float prominence = 0.0f;  ///< least prominence
};

/// Places in curves. Of an extended curve only the valid span counts, also when it is passed as CSigCurve.
/// Samples that are NaN are no peaks and cross nothing. False, with no results, when there is no memory. Safe
/// on several threads.
namespace CurveFeatures {

/// Peaks in ascending x. The first and the last sample are none. Criteria are applied in the order height,
/// distance, prominence.
UMLAUF_API bool Peaks(const CSigCurve& curve, const PeakCriteria& criteria, CAlignedMem<CurvePeak>& peaks);
/// The vertices as points, with name and units.
UMLAUF_API bool Peaks(const CSigCurve& curve, const PeakCriteria& criteria, CSigPairs& points);

enum class Direction { Rising, Falling, Both };
/// Where a curve reaches a level from below (leaves it downward), on the straight line between two samples:
/// points at the level, with name and units.
UMLAUF_API bool Crossings(const CSigCurve& curve, float level, Direction direction, CSigPairs& points);

}  // namespace CurveFeatures
