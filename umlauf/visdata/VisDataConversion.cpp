#include "umlauf/visdata/VisDataConversion.h"

#include <cmath>

#include "umlauf/signal/CurveSpan.h"

namespace VisData {
namespace {

SVisDataAxis AxisOf(const CurveSpan& span) { return {span.xMin, span.xMax}; }

void TakeHeader(const CSignal& from, CVisDataItem& to) {
  to.SetName(from.Name());
  to.SetExtName(from.ExtName());
  to.XUnit() = from.XUnit();
  to.YUnit() = from.YUnit();
  to.SetColourCode(from.Color());
}

void TakeHeader(const CSigCurve& from, CVisDataItem& to) {
  TakeHeader(static_cast<const CSignal&>(from), to);
  to.SetScaleFactor(from.ScaleFactor());
  to.SetFileCompressionMode(from.FileCompression() ? CVisDataItem::CompressBytes
                                                   : CVisDataItem::CompressNone);
}

bool SameAxis(const SVisDataAxis& a, const SVisDataAxis& b, std::uint64_t length) {
  const float tolerance = std::abs(a.max - a.min) / static_cast<float>(length) * 0.001f;
  return std::abs(a.min - b.min) <= tolerance && std::abs(a.max - b.max) <= tolerance;
}

/// Appends the samples of a curve through `append`.
template <class Append>
bool AppendSpan(CVisData3dObject& to, const CSigCurve& from, Append append) {
  const CurveSpan span = SpanOf(from);
  const bool first = to.Empty();
  if (!first && !SameAxis(to.Axis(), AxisOf(span), to.Columns())) return false;
  if (!append(span)) return false;
  if (first) {
    TakeHeader(from, to);
    to.SetAxis(AxisOf(span));
  }
  return true;
}

}  // namespace

bool Convert(const CSigCurve& from, CVisDataVector& to) {
  const CurveSpan span = SpanOf(from);
  TakeHeader(from, to);
  to.SetAxis(AxisOf(span));
  const bool done = to.Set(span.samples, span.length);
  to.CalcRange(CVisDataItem::AllAxes);
  return done;
}

bool Convert(const CSigCurve& from, CVisDataIntVector& to, float step) {
  const CurveSpan span = SpanOf(from);
  TakeHeader(from, to);
  to.SetScaleFactor(step == 0.0f ? 1.0f : step);
  to.SetAxis(AxisOf(span));
  const bool done = to.SetValues(span.samples, span.length);
  to.CalcRange(CVisDataItem::AllAxes);
  return done;
}

bool Convert(const CSigCurve& from, CVisDataPolygon& to) {
  const CurveSpan span = SpanOf(from);
  TakeHeader(from, to);
  const SVisDataAxis axis = AxisOf(span);
  const bool done = to.SetSize(span.length);
  for (std::uint64_t i = 0; i < to.Size(); ++i) {
    to.X(i) = axis.Position(static_cast<std::int64_t>(i), span.length);
    to.Y(i) = span.samples[i];
  }
  to.CalcRange(CVisDataItem::AllAxes);
  return done;
}

bool Convert(const CSigPairs& from, CVisDataPolygon& to) {
  TakeHeader(from, to);
  const std::uint64_t n = from.NPaare();
  const bool done = to.Set(n != 0 ? &from.Punkte()->x : nullptr, n);
  to.CalcRange(CVisDataItem::AllAxes);
  return done;
}

bool AppendRow(CVisDataArray& to, const CSigCurve& from, float z) {
  return AppendSpan(to, from,
                    [&](const CurveSpan& span) { return to.AppendRow(span.samples, span.length, z); });
}

bool AppendRow(CVisDataGrid& to, const CSigCurve& from) {
  return AppendSpan(to, from, [&](const CurveSpan& span) { return to.AppendRow(span.samples, span.length); });
}

}  // namespace VisData
