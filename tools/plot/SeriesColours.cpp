#include "tools/plot/SeriesColours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "tools/plot/Limits.h"

namespace umlauf::tool {
namespace {

/// The way that the line goes up and down, in heights of its axis.
double Ink(const PlotSeries& series, double height) {
  double way = 0;
  for (std::size_t i = 1; i < series.points.size(); ++i) {
    const double step = std::abs(series.points[i].y - series.points[i - 1].y);
    if (std::isfinite(step)) way += step / height;
  }
  return way;
}

}  // namespace

void DistinctLook(PlotSeries& series, std::size_t index) {
  constexpr std::array colours = {"#1f5fa8", "#d9480f", "#2b8a3e", "#862e9c", "#0aa2c0",
                                  "#7a4b12", "#e64980", "#8a8a00", "#6b6b6b", "#e8a400"};
  series.colour = colours[index % colours.size()];
  series.dash = static_cast<int>(index / colours.size() % 4) + 1;
}

void DenserBelow(PlotPanel& panel) {
  PlotRange left, right;
  for (const PlotSeries& each : panel.series) (each.rightAxis ? right : left).Add(FullRange(each.points));
  std::vector<std::pair<double, PlotSeries*>> byInk;
  for (PlotSeries& each : panel.series) {
    const double height = each.rightAxis ? right.span() : left.span();
    byInk.emplace_back(height > 0 ? Ink(each, height) : 0, &each);
  }
  std::stable_sort(byInk.begin(), byInk.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  for (std::size_t i = 0; i < byInk.size(); ++i) byInk[i].second->layer = static_cast<int>(i);
}

}  // namespace umlauf::tool
