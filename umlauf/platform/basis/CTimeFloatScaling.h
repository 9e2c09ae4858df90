#pragma once

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CTime.h"

/// Maps calendar time onto a float axis: a time range goes to 0 ... scale.
///
///     x = (t - start) / span * scale        t = start + trunc(x * span / scale)
///
/// with span = end - start in seconds. A range of span 0 takes every time to x = 0. Times are whole seconds,
/// so t comes back truncated toward `start`.
class UMLAUF_API CTimeFloatScaling {
 public:
  /// Span 0 at the epoch, scale 1.
  CTimeFloatScaling() = default;

  CTime StartZeit() const { return start_; }
  CTime EndZeit() const { return end_; }
  /// Seconds; negative when the end lies before the start.
  double Spanne() const { return span_; }
  /// 1 / span; 1 for span 0.
  double InverseSpanne() const { return inverseSpan_; }
  double Skalierung() const { return scale_; }
  /// 1 / scale.
  double InverseSkalierung() const { return inverseScale_; }

  void SetzeZeitraum(CTime start, CTime end);
  /// False, and nothing changed, unless scale > 0.
  bool SetzeSkalierung(double scale);

  float Time2Float(CTime t) const;
  CTime Float2Time(float x) const;
  /// The same for a range at scale 1: 0 when end = start.
  static float Time2Float(CTime t, CTime start, CTime end);
  static CTime Float2Time(float x, CTime start, CTime end);

 private:
  CTime start_ = 0;
  CTime end_ = 0;
  double span_ = 0.0;
  double inverseSpan_ = 1.0;
  double scale_ = 1.0;
  double inverseScale_ = 1.0;
};
