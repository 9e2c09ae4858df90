#include "umlauf/algorithms/CurveLevels.h"

#include <algorithm>
#include <cmath>
#include <complex>

#include "umlauf/algorithms/internal/CurveResult.h"
#include "umlauf/algorithms/internal/PeriodicTransform.h"
#include "umlauf/platform/vekta/numeric.h"

namespace CurveLevels {

using umlauf::algorithms::CurveResult;
using umlauf::algorithms::Failed;
using umlauf::algorithms::PeriodicTransform;

namespace {

double Square(float y) { return double{y} * double{y}; }

/// Samples on either side of the middle that a window of this width reaches.
std::uint64_t Reach(const CurveSpan& span, double width) {
  return numeric::trunc_sat<std::uint64_t>(std::min(width / std::abs(span.Step()) / 2.0, 9e18));
}

bool IsUsable(const CurveSpan& span, double width) {
  return span.length != 0 && std::abs(span.Step()) > 0.0 && width > 0.0;
}

/// out[i] = finish(mean of term(y) over the window around i), by sums that samples enter and leave. These are
/// formed anew from time to time, so that nothing adds up that has left.
template <class Term, class Finish>
void MovingMeans(const float* y, std::uint64_t n, std::uint64_t reach, float* out, Term term, Finish finish) {
  constexpr std::uint64_t kRenewed = 4096;
  double sum = 0.0;
  for (std::uint64_t i = 0; i < n; ++i) {
    const std::uint64_t first = i > reach ? i - reach : 0;
    const std::uint64_t last = reach < n - 1 - i ? i + reach : n - 1;
    if (i % std::max(kRenewed, reach) == 0) {
      sum = 0.0;
      for (std::uint64_t j = first; j <= last; ++j) sum += term(y[j]);
    } else {
      if (i > reach) sum -= term(y[first - 1]);
      if (reach <= n - 1 - i) sum += term(y[last]);
    }
    out[i] = static_cast<float>(finish(sum / static_cast<double>(last - first + 1)));
  }
}

}  // namespace

double EffectiveValue(const CSigCurve& curve) {
  const CurveSpan span = SpanOf(curve);
  double sum = 0.0;
  for (std::uint64_t i = 0; i < span.length; ++i) sum += Square(span.samples[i]);
  return span.length == 0 ? 0.0 : std::sqrt(sum / static_cast<double>(span.length));
}

bool MovingEffectiveValue(const CSigCurve& curve, double width, CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  CurveResult result(curve, span);
  if (!IsUsable(span, width) || !result.IsValid()) return Failed(out);
  MovingMeans(span.samples, span.length, Reach(span, width), result.Samples(), Square,
              [](double mean) { return std::sqrt(std::max(mean, 0.0)); });
  return result.MoveTo(out);
}

bool ExponentialEffectiveValue(const CSigCurve& curve, double timeConstant, CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  CurveResult result(curve, span);
  if (!IsUsable(span, timeConstant) || !result.IsValid()) return Failed(out);
  const double share = -std::expm1(-std::abs(span.Step()) / timeConstant);
  double mean = 0.0;
  for (std::uint64_t i = 0; i < span.length; ++i) {
    mean += share * (Square(span.samples[i]) - mean);
    result.Samples()[i] = static_cast<float>(std::sqrt(mean));
  }
  return result.MoveTo(out);
}

bool Levels(const CSigCurve& curve, double reference, CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  CurveResult result(curve, span);
  if (span.length == 0 || !(reference > 0.0) || !result.IsValid()) return Failed(out);
  std::transform(span.samples, span.samples + span.length, result.Samples(), [=](float y) {
    return static_cast<float>(20.0 * std::log10(std::abs(double{y}) / reference));
  });
  CMeasuringUnit unit(curve.YUnit());
  unit.logref(static_cast<float>(reference));
  unit.set_db(true);
  result.Curve().SetYUnit(unit);
  return result.MoveTo(out);
}

bool Smooth(const CSigCurve& curve, double width, unsigned passes, CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  CurveResult result(curve, span);
  CAlignedMem<float> before;
  if (!IsUsable(span, width) || !result.IsValid() || !before.assign(span.length, span.samples)) {
    return Failed(out);
  }
  std::copy_n(span.samples, span.length, result.Samples());
  const auto same = [](auto v) { return static_cast<double>(v); };
  for (unsigned pass = 0; pass < std::min(passes, 100u); ++pass) {
    MovingMeans(before.data(), span.length, Reach(span, width), result.Samples(), same, same);
    std::copy_n(result.Samples(), span.length, before.data());
  }
  return result.MoveTo(out);
}

bool Envelope(const CSigCurve& curve, CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  CurveResult result(curve, span);
  PeriodicTransform periodic(span.samples, span.length);
  if (span.length == 0 || !result.IsValid() || !periodic.IsValid()) return Failed(out);
  CRealTransform& t = periodic.Transform();
  for (std::size_t k = 0; k < t.Bins(); ++k) {
    const bool turns = k != 0 && 2 * k != t.Size();
    t.Spectrum()[k] *= turns ? std::complex<float>(0.0f, -1.0f) : std::complex<float>(0.0f);
  }
  const float* hilbert = periodic.Back();
  for (std::uint64_t i = 0; i < span.length; ++i) {
    result.Samples()[i] = static_cast<float>(std::sqrt(Square(span.samples[i]) + Square(hilbert[i])));
  }
  return result.MoveTo(out);
}

}  // namespace CurveLevels
