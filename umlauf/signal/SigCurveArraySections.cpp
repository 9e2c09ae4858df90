// Cross-sections, the common axis and what is formed over all curves.

#include <algorithm>
#include <cmath>
#include <limits>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/signal/CurveSpan.h"
#include "umlauf/signal/SigCurveArray.h"

/// An x axis with its samples.
struct CSigCurveArray::Axis {
  double xMin = std::numeric_limits<double>::infinity();
  double xMax = -std::numeric_limits<double>::infinity();
  double step = std::numeric_limits<double>::infinity();
  std::uint64_t samples = 0;  // of all curves together

  void Add(const CSigCurve& curve) {
    if (curve.DLen() == 0) return;
    const double width = double{curve.XMax()} - double{curve.XMin()};
    xMin = std::min(xMin, double{curve.XMin()});
    xMax = std::max(xMax, double{curve.XMax()});
    if (width > 0.0) step = std::min(step, width / static_cast<double>(curve.DLen()));
    samples += curve.DLen();
  }
  std::uint64_t Length() const {
    if (samples == 0 || !(xMax > xMin)) return samples == 0 ? 0 : 1;
    const double length = numeric::round((xMax - xMin) / step);
    return std::clamp<std::uint64_t>(numeric::trunc_sat<std::uint64_t>(length), 1, samples);
  }
};

namespace {

constexpr double kLn10By10 = 0.2302585092994046;

/// Values of a curve at positions between its samples, where its span holds them.
class Reader {
 public:
  explicit Reader(const CSigCurve& curve) : span_(SpanOf(curve)), step_(span_.Step()) {}

  /// Widened by half a sample at both ends: positions of two axes differ by rounding.
  bool Has(double x) const {
    if (span_.length == 0) return false;
    const double i = Index(x);
    return i >= -0.5 && i < static_cast<double>(span_.length) - 0.5;
  }
  float At(double x) const {
    const double i = std::clamp(Index(x), 0.0, static_cast<double>(span_.length - 1));
    const auto before = static_cast<std::uint64_t>(numeric::trunc_sat<std::uint64_t>(i));
    const double part = i - static_cast<double>(before);
    const double a = span_.samples[before];
    if (part == 0.0) return span_.samples[before];
    return static_cast<float>(a + part * (double{span_.samples[before + 1]} - a));
  }

 private:
  double Index(double x) const { return step_ > 0.0 ? (x - double{span_.xMin}) / step_ : 0.0; }

  CurveSpan span_;
  double step_;
};

}  // namespace

CSigCurveArray::Axis CSigCurveArray::CommonAxis() const {
  Axis axis;
  for (const CurvePtr& curve : curves_) axis.Add(*curve);
  return axis;
}

bool CSigCurveArray::Frame(const Axis& axis, CSigCurveExt& out) const {
  out.InitHeader();
  out.Free();
  out.SetName(Name());
  out.SetXUnit(XUnit());
  out.SetYUnit(YUnit());
  const std::uint64_t n = axis.Length();
  if (n == 0) return false;
  out.SetXMinMax(static_cast<float>(axis.xMin), static_cast<float>(axis.xMax));
  return out.Resize(n);
}

template <class Step, class Finish>
bool CSigCurveArray::Fold(CSigCurveExt& out, Step step, Finish finish) const {
  CSigCurveExt result;  // the target may be one of the curves
  if (!Frame(CommonAxis(), result)) {
    out.Free();
    return false;
  }
  std::vector<Reader> readers;
  const bool hadMemory = umlauf::HadMemory([&] {
    for (const CurvePtr& curve : curves_) readers.emplace_back(*curve);
  });
  if (!hadMemory) {
    out.Free();
    return false;
  }
  std::int64_t first = 0, last = -1;
  for (std::int64_t i = 0; i < static_cast<std::int64_t>(result.DLen()); ++i) {
    const double x = double{result.XMin()} + (double{result.XMax()} - double{result.XMin()}) *
                                                 static_cast<double>(i) / static_cast<double>(result.DLen());
    double value = 0.0;
    std::size_t count = 0;
    for (const Reader& reader : readers) {
      if (reader.Has(x)) value = step(value, double{reader.At(x)}, count++);
    }
    if (count == 0) continue;
    result.FData()[i] = static_cast<float>(finish(value, static_cast<double>(count)));
    if (last < 0) first = i;
    last = i;
  }
  result.SetVIMinMax(first, last);
  out = result;
  return out.DLen() == result.DLen();
}

bool CSigCurveArray::Minimum(CSigCurveExt& out) const {
  return Fold(
      out, [](double sum, double v, std::size_t count) { return count == 0 ? v : std::fmin(sum, v); },
      [](double sum, double) { return sum; });
}

bool CSigCurveArray::Maximum(CSigCurveExt& out) const {
  return Fold(
      out, [](double sum, double v, std::size_t count) { return count == 0 ? v : std::fmax(sum, v); },
      [](double sum, double) { return sum; });
}

bool CSigCurveArray::Mean(CSigCurveExt& out) const {
  return Fold(
      out, [](double sum, double v, std::size_t) { return sum + v; },
      [](double sum, double count) { return sum / count; });
}

bool CSigCurveArray::EnergeticMean(CSigCurveExt& out) const {
  if (YUnit().is_db()) {
    return Fold(
        out, [](double sum, double v, std::size_t) { return sum + std::exp(kLn10By10 * v); },
        [](double sum, double count) { return std::log(sum / count) / kLn10By10; });
  }
  return Fold(
      out, [](double sum, double v, std::size_t) { return sum + v * v; },
      [](double sum, double count) { return std::sqrt(sum / count); });
}

bool CSigCurveArray::HasCommonAxis() const {
  return std::all_of(curves_.begin(), curves_.end(),
                     [&](const CurvePtr& curve) { return curve->FitTogether(curves_.front().get()); });
}

bool CSigCurveArray::MakeCommonAxis() {
  if (HasCommonAxis()) return true;
  const Axis axis = CommonAxis();
  for (const CurvePtr& curve : curves_) {
    CSigCurveExt framed;
    framed = *curve;
    framed.SetXMinMax(static_cast<float>(axis.xMin), static_cast<float>(axis.xMax));
    framed.Free();
    if (!framed.Resize(axis.Length())) return false;
    const Reader reader(*curve);
    const CurveSpan whole = SpanOf(static_cast<const CSigCurve&>(framed));
    std::int64_t first = 0, last = -1;
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(framed.DLen()); ++i) {
      const double x = whole.X(static_cast<double>(i));
      if (!reader.Has(x)) continue;
      framed.FData()[i] = reader.At(x);
      if (last < 0) first = i;
      last = i;
    }
    last < 0 ? framed.Invalidate() : framed.SetVIMinMax(first, last);
    *curve = framed;
    if (curve->DLen() != framed.DLen()) return false;
  }
  return true;
}

// Cross-sections

std::size_t CSigCurveArray::SectionAtX(float x, float* points) const {
  std::size_t count = 0;
  for (const CurvePtr& curve : curves_) {
    const Reader reader(*curve);
    if (!reader.Has(x)) continue;
    points[2 * count] = curve->Date();
    points[2 * count + 1] = reader.At(x);
    ++count;
  }
  return count;
}

bool CSigCurveArray::SectionAtX(float x, std::uint64_t n, CSigCurveExt& out) const {
  CAlignedMem<float> points;
  const std::size_t count = points.alloc(2 * Count()) ? SectionAtX(x, points.data()) : 0;
  CSigCurveExt result;
  if (count == 0 || n == 0 || !result.Resize(n)) {
    out.Free();
    return false;
  }
  const double from = points[0], to = points[2 * (count - 1)];
  // The last sample lies at the last curve, so the axis ends a step behind it.
  const double step = n > 1 ? (to - from) / static_cast<double>(n - 1) : to - from;
  for (std::uint64_t i = 0, at = 0; i < n; ++i) {
    const double position = from + step * static_cast<double>(i);
    while (at + 1 < count && double{points[2 * (at + 1)]} <= position) ++at;
    const double y = points[2 * at + 1];
    const double width = at + 1 < count ? double{points[2 * (at + 1)]} - double{points[2 * at]} : 0.0;
    const double part = width > 0.0 ? (position - double{points[2 * at]}) / width : 0.0;
    result.FData()[i] = static_cast<float>(width > 0.0 ? y + part * (double{points[2 * at + 3]} - y) : y);
  }
  result.SetXMinMax(static_cast<float>(from), static_cast<float>(from + step * static_cast<double>(n)));
  result.ResetVMinMax();
  result.SetName(Name());
  result.SetXUnit(arrayUnit_);
  result.SetYUnit(YUnit());
  out = result;
  return out.DLen() == n;
}

bool CSigCurveArray::SectionAt(float position, CSigCurveExt& out) const {
  std::size_t before = FindBefore(position);
  if (before == None) before = 0;
  CSigCurveArray pair;
  if (IsEmpty() || std::isnan(position) || !pair.Append(*curves_[before], 0.0f)) {
    out.Free();
    return false;
  }
  const float start = curves_[before]->Date();
  if (before + 1 < Count() && position > start) {
    if (!pair.Append(*curves_[before + 1], 1.0f) || !pair.MakeCommonAxis()) {
      out.Free();
      return false;
    }
    const float part = (position - start) / (curves_[before + 1]->Date() - start);
    CSigCurveExt& mixed = pair[0];
    const CSigCurveExt& next = pair[1];
    mixed *= 1.0f - part;
    mixed.CSigCurve::AddWithWeight(next, part);
    mixed.Schrumpfen(&next);
  }
  pair[0].Date(position);
  out = pair[0];
  return out.DLen() == pair[0].DLen();
}
