#include "umlauf/algorithms/CurveCalculus.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "umlauf/algorithms/internal/CurveResult.h"
#include "umlauf/algorithms/internal/PeriodicTransform.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/units/UnitAlgebra.h"

namespace CurveCalculus {

using umlauf::algorithms::CurveResult;
using umlauf::algorithms::Failed;
using umlauf::algorithms::PeriodicTransform;

namespace {

bool HasAxis(const CurveSpan& span) { return span.length != 0 && std::abs(span.Step()) > 0.0; }

/// The unit of values that were divided by the x unit n times; n may be negative.
CMeasuringUnit Divided(const CSigCurve& curve, int n) {
  CMeasuringUnit unit(curve.YUnit());
  for (; n > 0; --n) unit = UnitAlgebra::Quotient(unit, curve.XUnit());
  for (; n < 0; ++n) unit = UnitAlgebra::Product(unit, curve.XUnit());
  return unit;
}

}  // namespace

bool Integral(const CSigCurve& curve, CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  CurveResult result(curve, span);
  if (!HasAxis(span) || !result.IsValid()) return Failed(out);
  const double half = 0.5 * span.Step();
  double sum = 0.0;
  for (std::uint64_t i = 1; i < span.length; ++i) {
    sum += half * (double{span.samples[i - 1]} + double{span.samples[i]});
    result.Samples()[i] = static_cast<float>(sum);
  }
  result.Curve().SetYUnit(Divided(curve, -1));
  return result.MoveTo(out);
}

bool Derivative(const CSigCurve& curve, CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  CurveResult result(curve, span);
  if (!HasAxis(span) || !result.IsValid()) return Failed(out);
  const double step = span.Step();
  const std::uint64_t last = span.length - 1;
  for (std::uint64_t i = 0; i <= last && last > 0; ++i) {
    const std::uint64_t from = i == 0 ? 0 : i - 1, to = std::min(i + 1, last);
    result.Samples()[i] = static_cast<float>((double{span.samples[to]} - double{span.samples[from]}) /
                                             (step * static_cast<double>(to - from)));
  }
  result.Curve().SetYUnit(Divided(curve, 1));
  return result.MoveTo(out);
}

bool OmegaFactor(const CSigCurve& curve, double exponent, double lowest, CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  CurveResult result(curve, span);
  PeriodicTransform periodic(span.samples, span.length);
  if (!HasAxis(span) || !result.IsValid() || !periodic.IsValid() || !std::isfinite(exponent))
    return Failed(out);
  CRealTransform& t = periodic.Transform();
  const double spacing = 1.0 / (std::abs(span.Step()) * static_cast<double>(t.Size()));
  const double turn = 0.5 * std::numbers::pi * exponent;
  for (std::size_t k = 0; k < t.Bins(); ++k) {
    const double frequency = spacing * static_cast<double>(k);
    const bool stopped = frequency < lowest || (k == 0 && exponent != 0.0);
    const double magnitude =
        stopped || k == 0 ? (stopped ? 0.0 : 1.0) : std::pow(2.0 * std::numbers::pi * frequency, exponent);
    t.Spectrum()[k] *= std::complex<float>(std::polar(magnitude, k == 0 ? 0.0 : turn));
  }
  std::copy_n(periodic.Back(), span.length, result.Samples());
  const bool whole = exponent == std::round(exponent) && std::abs(exponent) <= 16.0;
  result.Curve().SetYUnit(whole ? Divided(curve, numeric::trunc_sat<int>(exponent)) : CMeasuringUnit());
  return result.MoveTo(out);
}

}  // namespace CurveCalculus
