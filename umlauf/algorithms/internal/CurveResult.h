#pragma once

#include "umlauf/signal/CurveSpan.h"
#include "umlauf/signal/SigCurveExt.h"

namespace umlauf::algorithms {

/// A curve in the making, apart from its target, which may be the source.
class CurveResult {
 public:
  /// n zero samples over an axis, with name, units and date of a source.
  CurveResult(const CSigCurve& source, std::uint64_t n, double xMin, double xMax);
  /// The axis of the source's span.
  CurveResult(const CSigCurve& source, const CurveSpan& span)
      : CurveResult(source, span.length, span.xMin, span.xMax) {}

  bool IsValid() const { return valid_; }
  CSigCurveExt& Curve() { return curve_; }
  float* Samples() { return curve_.FData(); }
  /// Hands the curve over. False, with an empty target, when it is not valid or there is no memory.
  bool MoveTo(CSigCurveExt& out);

 private:
  CSigCurveExt curve_;
  bool valid_;
};

/// Empties the target of an operation that failed; returns false.
bool Failed(CSigCurveExt& out);

}  // namespace umlauf::algorithms
