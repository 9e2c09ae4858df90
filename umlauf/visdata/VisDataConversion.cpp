#include "umlauf/visdata/VisDataConversion.h"

#include <algorithm>
#include <cmath>

#include "umlauf/pairs/CurveArraySections.h"
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

void TakeCurveHeader(const CSignal& from, CSigCurve& to) {
  to.SetName(from.Name());
  to.SetExtName(from.ExtName());
  to.SetXUnit(from.XUnit());
  to.SetYUnit(from.YUnit());
  to.SetColor(from.Color());
}

/// Seconds from the start of the time range for an x.
double Seconds(const CSigPairsTm& from, float x) {
  return double{x} / from.Skalierung() *
         static_cast<double>((from.EndZeit() - from.StartZeit()).GetTotalSeconds());
}

/// Points as a curve whose last sample lies at the last x, with their names, units and colour.
bool AsCurve(const CSigPairs& from, std::uint64_t n, CSigCurve& curve) {
  float lo = 0.0f, hi = 0.0f;
  const bool sorted = from.IstSortiert() || from.IstInversSortiert();
  if (n == 0 || !sorted || !from.XBereich(lo, hi) || !curve.Resize(n)) return false;
  const double step = n > 1 ? (double{hi} - double{lo}) / static_cast<double>(n - 1) : 1.0;
  for (std::uint64_t i = 0; i < n; ++i) {
    curve.FData()[i] = from.WertBei(static_cast<float>(double{lo} + step * static_cast<double>(i)));
  }
  curve.SetXMinMax(lo, static_cast<float>(double{lo} + step * static_cast<double>(n)));
  TakeCurveHeader(from, curve);
  return true;
}

bool AsCurve(const CSigPairsTm& from, std::uint64_t n, CSigCurve& curve) {
  if (!AsCurve(static_cast<const CSigPairs&>(from), n, curve)) return false;
  curve.SetXMinMax(static_cast<float>(Seconds(from, curve.XMin())),
                   static_cast<float>(Seconds(from, curve.XMax())));
  curve.SetXUnit(CMeasuringUnit(CMeasuringUnit::second));
  return true;
}

/// Points of either kind as samples of a vector of either kind.
template <class Pairs, class Vector, class... Step>
bool ConvertPairs(const Pairs& from, Vector& to, std::uint64_t n, Step... step) {
  CSigCurve curve;
  const bool done = AsCurve(from, n, curve) && Convert(curve, to, step...);
  if (!done) to.SetSize(0);
  TakeHeader(from, to);
  if (done) to.XUnit() = curve.XUnit();
  return done;
}

/// The curve at a position of an array.
template <class Vector, class... Step>
bool ConvertSection(const CSigCurveArray& from, Vector& to, float position, Step... step) {
  CSigCurveExt curve;
  const bool done = from.SectionAt(position, curve) && Convert(curve, to, step...);
  if (!done) to.SetSize(0);
  TakeHeader(from, to);
  return done;
}

/// The curves with one axis, as they are or copied.
const CSigCurveArray* OnOneAxis(const CSigCurveArray& from, CSigCurveArray& copy) {
  if (from.HasCommonAxis()) return &from;
  copy = from;
  return copy.Count() == from.Count() && copy.MakeCommonAxis() ? &copy : nullptr;
}

/// Copies the valid samples of a curve into a row and clears the others.
void FillRow(const CSigCurve& curve, float* row, std::uint64_t columns) {
  const CurveSpan span = SpanOf(curve);
  std::fill_n(row, columns, 0.0f);
  if (span.length != 0) std::copy_n(span.samples, span.length, row + span.first);
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

bool Convert(const CSigPairsTm& from, CVisDataPolygon& to) {
  const bool done = Convert(static_cast<const CSigPairs&>(from), to);
  for (std::uint64_t i = 0; i < to.Size(); ++i) to.X(i) = static_cast<float>(Seconds(from, to.X(i)));
  to.XUnit() = CMeasuringUnit(CMeasuringUnit::second);
  to.CalcRange(CVisDataItem::AllAxes);
  return done;
}

bool Convert(const CSigPairs& from, CVisDataVector& to, std::uint64_t n) { return ConvertPairs(from, to, n); }

bool Convert(const CSigPairs& from, CVisDataIntVector& to, std::uint64_t n, float step) {
  return ConvertPairs(from, to, n, step);
}

bool Convert(const CSigPairsTm& from, CVisDataVector& to, std::uint64_t n) {
  return ConvertPairs(from, to, n);
}

bool Convert(const CSigPairsTm& from, CVisDataIntVector& to, std::uint64_t n, float step) {
  return ConvertPairs(from, to, n, step);
}

bool Convert(const CSigCurveArray& from, CVisDataVector& to, float position) {
  return ConvertSection(from, to, position);
}

bool Convert(const CSigCurveArray& from, CVisDataIntVector& to, float position, float step) {
  return ConvertSection(from, to, position, step);
}

bool Convert(const CSigCurveArray& from, CVisDataPolygon& to, float x) {
  CSigPairs section;
  const bool done = SectionAtX(from, x, section) && Convert(section, to);
  if (!done) to.SetSize(0);
  TakeHeader(from, to);
  to.XUnit() = from.ArrayUnit();
  return done;
}

bool Convert(const CSigCurveArray& from, CVisDataArray& to) {
  TakeHeader(from, to);
  to.ZUnit() = from.ArrayUnit();
  CSigCurveArray copy;
  const CSigCurveArray* rows = OnOneAxis(from, copy);
  const std::uint64_t columns = from.IsEmpty() || rows == nullptr ? 0 : (*rows)[0].DLen();
  const bool done = to.SetSize(from.Count(), columns) && rows != nullptr;
  for (std::size_t r = 0; r < to.Rows(); ++r) {
    FillRow((*rows)[r], to.Row(r), columns);
    to.SetZ(r, (*rows)[r].Date());
  }
  if (to.Rows() != 0) to.SetAxis({(*rows)[0].XMin(), (*rows)[0].XMax()});
  to.CalcRange(CVisDataItem::AllAxes);
  return done;
}

bool Convert(const CSigCurveArray& from, CVisDataGrid& to, std::uint64_t rows) {
  TakeHeader(from, to);
  to.ZUnit() = from.ArrayUnit();
  CSigCurveArray copy;
  const CSigCurveArray* curves = OnOneAxis(from, copy);
  const std::uint64_t columns = from.IsEmpty() || curves == nullptr ? 0 : (*curves)[0].DLen();
  bool done = to.SetSize(columns == 0 ? 0 : rows, columns) && curves != nullptr;
  float lo = 0.0f, hi = 0.0f;
  from.GetArrayRange(lo, hi);
  const double step = rows > 1 ? (double{hi} - double{lo}) / static_cast<double>(rows - 1) : 1.0;
  CSigCurveExt section;
  for (std::uint64_t r = 0; r < to.Rows() && done; ++r) {
    done = curves->SectionAt(static_cast<float>(double{lo} + step * static_cast<double>(r)), section);
    if (done) FillRow(section, to.Row(r), columns);
  }
  if (!done) to.SetSize(0, 0);
  if (to.Rows() != 0) {
    to.SetAxis({(*curves)[0].XMin(), (*curves)[0].XMax()});
    to.SetZAxis({lo, static_cast<float>(double{lo} + step * static_cast<double>(rows))});
  }
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

bool AppendRow(CVisDataArray& to, const CSigPairs& from, std::uint64_t n, float z) {
  CSigCurve curve;
  return AsCurve(from, n, curve) && AppendRow(to, curve, z);
}

bool AppendRow(CVisDataArray& to, const CSigPairsTm& from, std::uint64_t n, float z) {
  CSigCurve curve;
  return AsCurve(from, n, curve) && AppendRow(to, curve, z);
}

bool AppendRow(CVisDataGrid& to, const CSigPairs& from, std::uint64_t n) {
  CSigCurve curve;
  return AsCurve(from, n, curve) && AppendRow(to, curve);
}

bool AppendRow(CVisDataGrid& to, const CSigPairsTm& from, std::uint64_t n) {
  CSigCurve curve;
  return AsCurve(from, n, curve) && AppendRow(to, curve);
}

}  // namespace VisData
