#include "umlauf/algorithms/CurveResampling.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "umlauf/algorithms/internal/CurveResult.h"
#include "umlauf/platform/vekta/numeric.h"

namespace CurveResampling {

using umlauf::algorithms::CurveResult;
using umlauf::algorithms::Failed;

namespace {

constexpr int kZeros = 32;      // of the kernel, to each side
constexpr int kPhases = 512;    // of its table, from zero to zero
constexpr double kBeta = 10.0;  // Kaiser window: side lobes below -100 dB

double BesselI0(double x) { return std::cyl_bessel_i(0.0, x); }

/// One side of the kernel, with one value more for the line to the next.
struct Kernel {
  std::array<double, kZeros * kPhases + 2> values{};
  Kernel() {
    for (int i = 0; i < kZeros * kPhases; ++i) {
      const double t = static_cast<double>(i) / kPhases;
      const double angle = std::numbers::pi * t;
      const double r = t / kZeros;
      const double window = BesselI0(kBeta * std::sqrt(1.0 - r * r)) / BesselI0(kBeta);
      values[static_cast<std::size_t>(i)] = (i == 0 ? 1.0 : std::sin(angle) / angle) * window;
    }
  }
  double At(double t) const {
    const double place = std::abs(t) * kPhases;
    const auto i = static_cast<std::size_t>(numeric::trunc_sat<std::uint32_t>(place));
    if (i >= kZeros * kPhases) return 0.0;
    return values[i] + (place - static_cast<double>(i)) * (values[i + 1] - values[i]);
  }
};

/// Samples of a curve by index, those of the ends beyond them.
class Samples {
 public:
  explicit Samples(const CurveSpan& span) : span_(span), last_(static_cast<std::int64_t>(span.length) - 1) {}
  double At(std::int64_t i) const { return double{span_.samples[std::clamp<std::int64_t>(i, 0, last_)]}; }

 private:
  const CurveSpan& span_;
  std::int64_t last_;
};

double Linear(const Samples& s, double position) {
  const double whole = std::floor(position);
  const auto i = numeric::trunc_sat<std::int64_t>(whole);
  return s.At(i) + (position - whole) * (s.At(i + 1) - s.At(i));
}

double Cubic(const Samples& s, double position) {
  const double whole = std::floor(position);
  const auto i = numeric::trunc_sat<std::int64_t>(whole);
  const double t = position - whole;
  const double a = s.At(i - 1), b = s.At(i), c = s.At(i + 1), d = s.At(i + 2);
  return b + 0.5 * t * (c - a + t * (2.0 * a - 5.0 * b + 4.0 * c - d + t * (3.0 * (b - c) + d - a)));
}

/// `stretch` >= 1: steps of the finer axis in one of the coarser.
double BandLimited(const Samples& s, double position, double stretch) {
  static const Kernel kernel;
  const double reach = kZeros * stretch;
  const auto first = numeric::trunc_sat<std::int64_t>(std::ceil(position - reach));
  const auto last = numeric::trunc_sat<std::int64_t>(std::floor(position + reach));
  double sum = 0.0, weights = 0.0;
  for (std::int64_t i = first; i <= last; ++i) {
    const double weight = kernel.At((static_cast<double>(i) - position) / stretch);
    sum += weight * s.At(i);
    weights += weight;
  }
  return weights == 0.0 ? 0.0 : sum / weights;
}

}  // namespace

bool Resample(const CSigCurve& curve, float xMin, float xMax, std::uint64_t n, Method method,
              CSigCurveExt& out) {
  const CurveSpan span = SpanOf(curve);
  const double step = span.Step();
  if (span.length == 0 || !(step > 0.0) || !(xMax > xMin) || std::isinf(double{xMax} - double{xMin})) {
    return Failed(out);
  }
  CurveResult result(curve, n, xMin, xMax);
  if (!result.IsValid()) return Failed(out);
  const Samples samples(span);
  const double newStep = (double{xMax} - double{xMin}) / static_cast<double>(n);
  // A kernel never reaches further than over the curve and as much again on each side.
  const double stretch = std::clamp(newStep / step, 1.0, static_cast<double>(span.length));
  const double end = static_cast<double>(span.length - 1);
  std::int64_t first = 0, last = -1;
  for (std::uint64_t j = 0; j < n; ++j) {
    const double exact = (double{xMin} + newStep * static_cast<double>(j) - double{span.xMin}) / step;
    if (exact > -1e-3 && exact < end + 1e-3) {
      if (last < 0) first = static_cast<std::int64_t>(j);
      last = static_cast<std::int64_t>(j);
    }
    const double position = std::clamp(exact, 0.0, end);
    const double value = method == Method::Linear  ? Linear(samples, position)
                         : method == Method::Cubic ? Cubic(samples, position)
                                                   : BandLimited(samples, position, stretch);
    result.Samples()[j] = static_cast<float>(value);
  }
  last < 0 ? result.Curve().Invalidate() : result.Curve().SetVIMinMax(first, last);
  return result.MoveTo(out);
}

}  // namespace CurveResampling
