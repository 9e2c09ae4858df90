#include "umlauf/platform/basis/CTimeFloatScaling.h"

#include <cstdint>

#include "umlauf/platform/vekta/numeric.h"

namespace {

CTime Later(CTime start, double seconds) {
  return start + CTimeSpan(numeric::trunc_sat<std::int64_t>(seconds));
}

}  // namespace

void CTimeFloatScaling::SetzeZeitraum(CTime start, CTime end) {
  start_ = start;
  end_ = end;
  span_ = TimeDifference(end, start);
  inverseSpan_ = span_ == 0.0 ? 1.0 : 1.0 / span_;
}

bool CTimeFloatScaling::SetzeSkalierung(double scale) {
  if (!(scale > 0.0)) return false;
  scale_ = scale;
  inverseScale_ = 1.0 / scale;
  return true;
}

float CTimeFloatScaling::Time2Float(CTime t) const {
  return span_ == 0.0 ? 0.0f : static_cast<float>(TimeDifference(t, start_) * inverseSpan_ * scale_);
}

CTime CTimeFloatScaling::Float2Time(float x) const { return Later(start_, x * span_ * inverseScale_); }

float CTimeFloatScaling::Time2Float(CTime t, CTime start, CTime end) {
  return end == start ? 0.0f : static_cast<float>(TimeDifference(t, start) / TimeDifference(end, start));
}

CTime CTimeFloatScaling::Float2Time(float x, CTime start, CTime end) {
  return Later(start, TimeDifference(end, start) * x);
}
