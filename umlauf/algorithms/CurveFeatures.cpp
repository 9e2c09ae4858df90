#include "umlauf/algorithms/CurveFeatures.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/signal/CurveSpan.h"

namespace CurveFeatures {
namespace {

using Places = std::vector<std::uint64_t>;

/// Middle samples of all plateaus that are higher than what lies on both sides.
Places LocalMaxima(const CurveSpan& s) {
  Places places;
  for (std::uint64_t i = 1; i + 1 < s.length; ++i) {
    if (!(s.samples[i] > s.samples[i - 1])) continue;
    std::uint64_t end = i + 1;
    while (end + 1 < s.length && s.samples[end] == s.samples[i]) ++end;
    if (s.samples[end] < s.samples[i]) places.push_back((i + end - 1) / 2);
    i = end - 1;
  }
  return places;
}

/// Of peaks closer than `distance` samples the lower one goes, beginning beside the highest.
void KeepDistant(const CurveSpan& s, double distance, Places& places) {
  std::vector<std::size_t> order(places.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](auto a, auto b) { return s.samples[places[a]] > s.samples[places[b]]; });
  std::vector<bool> gone(places.size());
  for (const std::size_t p : order) {
    if (gone[p]) continue;
    const auto close = [&](std::size_t q) {
      const std::uint64_t apart = places[p] > places[q] ? places[p] - places[q] : places[q] - places[p];
      return static_cast<double>(apart) < distance;
    };
    for (std::size_t q = p; q-- > 0 && close(q);) gone[q] = true;
    for (std::size_t q = p + 1; q < places.size() && close(q); ++q) gone[q] = true;
  }
  std::size_t kept = 0;
  for (std::size_t p = 0; p < places.size(); ++p) {
    if (!gone[p]) places[kept++] = places[p];
  }
  places.resize(kept);
}

/// For each peak of the reference list the least sample on the way to the next higher one, walking from
/// `at(0)` on. A stack of ever lower peaks makes it one pass, however long the ways are.
template <class At>
void LeastOnTheWay(const CurveSpan& s, std::size_t count, At at, std::uint64_t start,
                   std::vector<float>& least) {
  std::vector<std::size_t> higher;
  std::uint64_t from = start;
  for (std::size_t p = 0; p < count; ++p) {
    const std::uint64_t place = at(p);
    float low = s.samples[place];
    for (std::uint64_t i = std::min(from, place); i <= std::max(from, place); ++i)
      low = std::fmin(low, s.samples[i]);
    while (!higher.empty() && s.samples[at(higher.back())] <= s.samples[place]) {
      low = std::fmin(low, least[higher.back()]);
      higher.pop_back();
    }
    least[p] = low;
    higher.push_back(p);
    from = place;
  }
}

std::vector<float> Prominences(const CurveSpan& s, const Places& all) {
  const std::size_t count = all.size();
  std::vector<float> left(count), right(count), prominences(count);
  LeastOnTheWay(
      s, count, [&](std::size_t p) { return all[p]; }, 0, left);
  LeastOnTheWay(
      s, count, [&](std::size_t p) { return all[count - 1 - p]; }, s.length - 1, right);
  for (std::size_t p = 0; p < count; ++p) {
    prominences[p] = s.samples[all[p]] - std::fmax(left[p], right[count - 1 - p]);
  }
  return prominences;
}

CurvePeak PeakAt(const CurveSpan& s, std::uint64_t i, float prominence) {
  const double before = s.samples[i - 1], here = s.samples[i], behind = s.samples[i + 1];
  const double bend = before - 2.0 * here + behind;
  const double shift = bend < 0.0 ? std::clamp(0.5 * (before - behind) / bend, -0.5, 0.5) : 0.0;
  return {s.first + static_cast<std::int64_t>(i), static_cast<float>(s.X(static_cast<double>(i) + shift)),
          static_cast<float>(here - 0.25 * (before - behind) * shift), prominence};
}

std::vector<CurvePeak> Find(const CurveSpan& s, const PeakCriteria& criteria) {
  const Places all = LocalMaxima(s);
  const std::vector<float> prominences = Prominences(s, all);
  Places kept;
  std::copy_if(all.begin(), all.end(), std::back_inserter(kept),
               [&](std::uint64_t i) { return s.samples[i] >= criteria.height; });
  const double step = std::abs(s.Step());
  if (criteria.distance > 0.0 && step > 0.0) {
    // Whole samples, as positions are: a distance that rounding makes a little longer is none.
    KeepDistant(s, std::ceil(criteria.distance / step - 1e-3), kept);
  }
  std::vector<CurvePeak> peaks;
  std::size_t p = 0;
  for (const std::uint64_t i : kept) {
    while (all[p] != i) ++p;
    if (prominences[p] >= criteria.prominence) peaks.push_back(PeakAt(s, i, prominences[p]));
  }
  return peaks;
}

void TakeHeader(const CSigCurve& curve, CSigPairs& points) {
  points.InitHeader();
  points.SetName(curve.Name());
  points.SetXUnit(curve.XUnit());
  points.SetYUnit(curve.YUnit());
}

}  // namespace

bool Peaks(const CSigCurve& curve, const PeakCriteria& criteria, CAlignedMem<CurvePeak>& peaks) {
  peaks.alloc(0);
  const CurveSpan span = SpanOf(curve);
  if (span.length < 3) return true;
  return umlauf::WithMemory(false, [&] {
    const std::vector<CurvePeak> found = Find(span, criteria);
    return peaks.assign(found.size(), found.data());
  });
}

bool Peaks(const CSigCurve& curve, const PeakCriteria& criteria, CSigPairs& points) {
  TakeHeader(curve, points);
  CAlignedMem<CurvePeak> peaks;
  bool done = Peaks(curve, criteria, peaks);
  for (const CurvePeak& peak : peaks) done = done && points.NeuesPaar(peak.x, peak.y);
  if (!done) points.Neustart();
  return done;
}

bool Crossings(const CSigCurve& curve, float level, Direction direction, CSigPairs& points) {
  TakeHeader(curve, points);
  const CurveSpan s = SpanOf(curve);
  for (std::uint64_t i = 0; i + 1 < s.length; ++i) {
    const float a = s.samples[i], b = s.samples[i + 1];
    const bool rises = a < level && b >= level;
    const bool falls = a >= level && b < level;
    if (!(rises && direction != Direction::Falling) && !(falls && direction != Direction::Rising)) continue;
    const double part = (double{level} - double{a}) / (double{b} - double{a});
    if (!points.NeuesPaar(static_cast<float>(s.X(static_cast<double>(i) + part)), level)) {
      points.Neustart();
      return false;
    }
  }
  return true;
}

}  // namespace CurveFeatures
