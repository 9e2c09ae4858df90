#include "umlauf/algorithms/CurveCorrelation.h"

#include <algorithm>
#include <cmath>

#include "umlauf/algorithms/internal/CurveResult.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/spectrum/RealTransform.h"

namespace CurveCorrelation {

using umlauf::algorithms::CurveResult;
using umlauf::algorithms::Failed;

namespace {

/// Fills the samples of a transform with those of a curve less their mean and zeros behind; returns the sum
/// of their squares.
double Load(const CurveSpan& span, CRealTransform& t) {
  double mean = 0.0;
  for (std::uint64_t i = 0; i < span.length; ++i) mean += double{span.samples[i]};
  mean /= static_cast<double>(span.length);
  double squares = 0.0;
  for (std::uint64_t i = 0; i < span.length; ++i) {
    const double value = double{span.samples[i]} - mean;
    t.Samples()[i] = static_cast<float>(value);
    squares += value * value;
  }
  std::fill(t.Samples() + span.length, t.Samples() + t.Size(), 0.0f);
  return squares;
}

bool HasOneStep(const CurveSpan& x, const CurveSpan& y) {
  return x.length != 0 && y.length != 0 && x.Step() > 0.0 && std::abs(y.Step() / x.Step() - 1.0) < 1e-3;
}

}  // namespace

bool Correlation(const CSigCurve& x, const CSigCurve& y, double maxDelay, CSigCurveExt& out) {
  const CurveSpan sx = SpanOf(x), sy = SpanOf(y);
  if (!HasOneStep(sx, sy) || !(maxDelay >= 0.0)) return Failed(out);
  const double step = sx.Step();
  const double offset = double{sy.xMin} - double{sx.xMin};
  // Shifts in samples: delay = shift · step + offset.
  const auto first = std::max(numeric::trunc_sat<std::int64_t>(std::ceil((-maxDelay - offset) / step - 1e-3)),
                              1 - static_cast<std::int64_t>(sx.length));
  const auto last = std::min(numeric::trunc_sat<std::int64_t>(std::floor((maxDelay - offset) / step + 1e-3)),
                             static_cast<std::int64_t>(sy.length) - 1);
  if (first > last || sx.length + sy.length > CRealTransform::kMaxSize) return Failed(out);
  const double xMin = static_cast<double>(first) * step + offset;
  const auto n = static_cast<std::uint64_t>(last - first + 1);
  CurveResult result(x, n, xMin, xMin + step * static_cast<double>(n));
  const std::size_t size = CRealTransform::FastSize(static_cast<std::size_t>(sx.length + sy.length));
  CRealTransform a(size, true), b(size);
  if (!result.IsValid() || !a.IsValid() || !b.IsValid()) return Failed(out);
  const double squares = Load(sx, a) * Load(sy, b);
  a.Forward();
  b.Forward();
  for (std::size_t k = 0; k < a.Bins(); ++k) a.Spectrum()[k] = std::conj(a.Spectrum()[k]) * b.Spectrum()[k];
  a.Inverse();
  const double factor = squares > 0.0 ? 1.0 / std::sqrt(squares) : 0.0;
  for (std::int64_t shift = first; shift <= last; ++shift) {
    const auto i = static_cast<std::size_t>(shift < 0 ? shift + static_cast<std::int64_t>(size) : shift);
    result.Samples()[shift - first] = static_cast<float>(double{a.Samples()[i]} * factor);
  }
  result.Curve().SetYUnit(CMeasuringUnit());
  return result.MoveTo(out);
}

bool Delay(const CSigCurve& x, const CSigCurve& y, double maxDelay, double& delay, double& coefficient) {
  CSigCurveExt correlation;
  if (!Correlation(x, y, maxDelay, correlation)) return false;
  std::size_t least = 0, most = 0;
  const float* r = correlation.FData();
  QVL::VectorMinMaxIndex(r, static_cast<std::size_t>(correlation.DLen()), least, most);
  double shift = 0.0;
  coefficient = double{r[most]};
  if (most > 0 && most + 1 < correlation.DLen()) {
    const double before = r[most - 1], behind = r[most + 1];
    const double bend = before - 2.0 * coefficient + behind;
    shift = bend < 0.0 ? std::clamp(0.5 * (before - behind) / bend, -0.5, 0.5) : 0.0;
    coefficient -= 0.25 * (before - behind) * shift;
  }
  delay = SpanOf(correlation).X(static_cast<double>(most) + shift);
  return true;
}

bool Align(const CSigCurve& x, CSigCurveExt& y, double maxDelay, double& delay) {
  double coefficient = 0.0;
  if (!Delay(x, y, maxDelay, delay, coefficient)) return false;
  const std::int64_t first = y.IMin(), last = y.IMax();
  y.SetXMinMax(static_cast<float>(double{y.XMin()} - delay), static_cast<float>(double{y.XMax()} - delay));
  y.SetVIMinMax(first, last);
  return true;
}

}  // namespace CurveCorrelation
