#include "umlauf/signal/CurveSpan.h"

#include <algorithm>

#include "umlauf/signal/SigCurveExt.h"

CurveSpan SpanOf(const CSigCurve& curve) {
  const auto length = static_cast<std::int64_t>(curve.DLen());
  const auto* extended = dynamic_cast<const CSigCurveExt*>(&curve);
  if (extended == nullptr) return {curve.FData(), curve.DLen(), 0, curve.XMin(), curve.XMax()};
  const std::int64_t first = std::max<std::int64_t>(extended->IMin(), 0);
  const std::int64_t end = std::min<std::int64_t>(extended->IMax(), length - 1) + 1;
  if (first >= end) return {};
  const float xEnd = end == length ? curve.XMax() : curve.GetPoint(end);
  return {curve.FData() + first, static_cast<std::uint64_t>(end - first), first, curve.GetPoint(first), xEnd};
}
