#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurve.h"

/// The samples of a curve that count, with their part of the axis. Valid until the curve changes.
struct CurveSpan {
  const float* samples = nullptr;
  std::uint64_t length = 0;
  std::int64_t first = 0;  ///< index of the first one in the curve
  float xMin = 0.0f;       ///< position of the first one
  float xMax = 1.0f;       ///< end of the last one's step

  /// Step of the axis; 0 without samples.
  double Step() const {
    return length == 0 ? 0.0 : (double{xMax} - double{xMin}) / static_cast<double>(length);
  }
  /// Position of sample i of the span; may lie between or outside the samples.
  double X(double i) const { return double{xMin} + Step() * i; }
};

/// All samples of a curve, of an extended one (CSigCurveExt) those of its valid span, also when it is passed
/// as CSigCurve.
UMLAUF_API CurveSpan SpanOf(const CSigCurve& curve);
