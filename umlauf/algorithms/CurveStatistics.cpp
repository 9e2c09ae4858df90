#include "umlauf/algorithms/CurveStatistics.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "umlauf/algorithms/internal/CurveResult.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace CurveStatistics {

using umlauf::algorithms::CurveResult;
using umlauf::algorithms::Failed;

namespace {

/// In two passes, so that a far origin costs no digits.
template <class X, class Y>
bool Fit(std::uint64_t n, X x, Y y, RegressionLine& line) {
  line = RegressionLine();
  if (n < 2) return false;
  double meanX = 0.0, meanY = 0.0;
  for (std::uint64_t i = 0; i < n; ++i) {
    meanX += x(i);
    meanY += y(i);
  }
  meanX /= static_cast<double>(n);
  meanY /= static_cast<double>(n);
  double xx = 0.0, xy = 0.0, yy = 0.0;
  for (std::uint64_t i = 0; i < n; ++i) {
    const double dx = x(i) - meanX, dy = y(i) - meanY;
    xx += dx * dx;
    xy += dx * dy;
    yy += dy * dy;
  }
  if (!(xx > 0.0)) return false;
  line.slope = xy / xx;
  line.intercept = meanY - line.slope * meanX;
  line.correlation = yy > 0.0 ? xy / std::sqrt(xx * yy) : 0.0;
  line.residual = std::sqrt(std::max(0.0, yy - line.slope * xy) / static_cast<double>(n));
  return true;
}

/// The first and last value and all between that are greater or less than both neighbours.
std::vector<float> TurningPoints(const CurveSpan& span) {
  std::vector<float> points;
  for (std::uint64_t i = 0; i < span.length; ++i) {
    const float y = span.samples[i];
    if (std::isnan(y) || (!points.empty() && y == points.back())) continue;
    const std::size_t n = points.size();
    const bool goesOn = n >= 2 && (points[n - 1] > points[n - 2]) == (y > points[n - 1]);
    if (goesOn) {
      points.back() = y;
    } else {
      points.push_back(y);
    }
  }
  return points;
}

RainflowCycle Cycle(float a, float b, float count) { return {std::abs(b - a), 0.5f * a + 0.5f * b, count}; }

std::vector<RainflowCycle> Count(const std::vector<float>& turningPoints) {
  std::vector<RainflowCycle> cycles;
  std::vector<float> open;  // turning points whose ranges have not been counted
  for (const float y : turningPoints) {
    open.push_back(y);
    while (open.size() >= 3) {
      const std::size_t n = open.size();
      const float newest = std::abs(open[n - 1] - open[n - 2]);
      const float before = std::abs(open[n - 2] - open[n - 3]);
      if (newest < before) break;
      const bool containsStart = n == 3;
      cycles.push_back(Cycle(open[n - 3], open[n - 2], containsStart ? 0.5f : 1.0f));
      open.erase(open.end() - 3, containsStart ? open.end() - 2 : open.end() - 1);
    }
  }
  for (std::size_t i = 1; i < open.size(); ++i) cycles.push_back(Cycle(open[i - 1], open[i], 0.5f));
  return cycles;
}

}  // namespace

bool Regression(const CSigCurve& curve, RegressionLine& line) {
  const CurveSpan span = SpanOf(curve);
  return Fit(
      span.length, [&](std::uint64_t i) { return span.X(static_cast<double>(i)); },
      [&](std::uint64_t i) { return double{span.samples[i]}; }, line);
}

bool Regression(const CSigPairs& points, RegressionLine& line) {
  return Fit(
      points.NPaare(), [&](std::uint64_t i) { return double{points.Punkt(static_cast<std::size_t>(i))}; },
      [&](std::uint64_t i) { return double{points.Wert(static_cast<std::size_t>(i))}; }, line);
}

bool Histogram(const CSigCurve& curve, float lo, float hi, std::uint64_t bins, CSigCurveExt& out) {
  const double width = double{hi} - double{lo};
  if (bins == 0 || !(width > 0.0) || std::isinf(width)) return Failed(out);
  CurveResult result(curve, bins, lo, hi);
  CAlignedMem<std::uint64_t> counts;  // a float counts to 16 million only
  if (!result.IsValid() || !counts.alloc(bins)) return Failed(out);
  const CurveSpan span = SpanOf(curve);
  for (std::uint64_t i = 0; i < span.length; ++i) {
    const float y = span.samples[i];
    if (!(y >= lo && y <= hi)) continue;
    const double place = (double{y} - double{lo}) / width * static_cast<double>(bins);
    ++counts[static_cast<std::size_t>(std::min(numeric::trunc_sat<std::uint64_t>(place), bins - 1))];
  }
  std::transform(counts.begin(), counts.end(), result.Samples(),
                 [](std::uint64_t count) { return static_cast<float>(count); });
  result.Curve().SetXUnit(curve.YUnit());
  result.Curve().SetYUnit(CMeasuringUnit(CMeasuringUnit::number));
  return result.MoveTo(out);
}

bool Rainflow(const CSigCurve& curve, CAlignedMem<RainflowCycle>& cycles) {
  cycles.alloc(0);
  return umlauf::WithMemory(false, [&] {
    const std::vector<RainflowCycle> counted = Count(TurningPoints(SpanOf(curve)));
    return cycles.assign(counted.size(), counted.data());
  });
}

}  // namespace CurveStatistics
