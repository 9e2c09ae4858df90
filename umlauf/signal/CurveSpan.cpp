#include "umlauf/signal/CurveSpan.h"

CurveSpan SpanOf(const CSigCurve& curve) {
  const auto length = static_cast<std::int64_t>(curve.DLen());
  const auto [first, count] = curve.ValidSamples();
  if (count == length) return {curve.FData(), curve.DLen(), 0, curve.XMin(), curve.XMax()};
  if (count == 0) return {};
  const std::int64_t end = first + count;
  const float xEnd = end == length ? curve.XMax() : curve.GetPoint(end);
  return {curve.FData() + first, static_cast<std::uint64_t>(count), first, curve.GetPoint(first), xEnd};
}
