#include "tools/plot/Raster.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>

namespace umlauf::tool {
namespace {

bool Rises(const std::vector<double>& places) {
  if (!std::all_of(places.begin(), places.end(), [](double each) { return std::isfinite(each); }))
    return false;
  return std::adjacent_find(places.begin(), places.end(), std::greater_equal<>()) == places.end();
}

/// Edges between places, and beyond the outer ones as far as on their other side.
std::vector<double> Edges(const std::vector<double>& places) {
  const std::size_t n = places.size();
  if (n == 1) return {places[0] - 0.5, places[0] + 0.5};
  std::vector<double> edges(n + 1);
  for (std::size_t i = 1; i < n; ++i) edges[i] = places[i - 1] + (places[i] - places[i - 1]) / 2;
  edges[0] = places[0] - (edges[1] - places[0]);
  edges[n] = places[n - 1] + (places[n - 1] - edges[n - 1]);
  return edges;
}

/// The places, first and behind the last, that share a cell of the raster; at least one each.
struct Span {
  std::size_t first, end;
};

std::vector<Span> Spans(const std::vector<double>& edges, std::size_t cells) {
  const std::size_t places = edges.size() - 1;
  const double width = (edges.back() - edges.front()) / static_cast<double>(cells);
  // The place in which x lies.
  const auto placeAt = [&](double x) {
    const auto above =
        static_cast<std::size_t>(std::upper_bound(edges.begin(), edges.end(), x) - edges.begin());
    return std::clamp<std::size_t>(above, 1, places) - 1;
  };
  std::vector<Span> spans(cells);
  for (std::size_t i = 0; i < cells; ++i) {
    const double left = edges.front() + width * static_cast<double>(i);
    const std::size_t middle = placeAt(left + 0.5 * width);
    const auto isWide = [&](std::size_t place) { return edges[place + 1] - edges[place] >= width; };
    Span span{placeAt(left + 1e-6 * width), placeAt(left + (1 - 1e-6) * width) + 1};
    // Wide places belong to the cells whose middle they hold; of narrow ones none may get lost.
    while (span.first < middle && isWide(span.first)) ++span.first;
    while (span.end > middle + 1 && isWide(span.end - 1)) --span.end;
    spans[i] = span;
  }
  return spans;
}

float Greater(float a, float b) {
  if (!std::isfinite(a)) return b;
  return std::isfinite(b) ? std::max(a, b) : a;
}

}  // namespace

bool IsValid(const PlotMap& map) {
  return !map.x.empty() && !map.y.empty() && map.levels.size() / map.x.size() == map.y.size() &&
         map.levels.size() % map.x.size() == 0 && Rises(map.x) && Rises(map.y);
}

Raster Rasterised(const PlotMap& map, std::size_t columns, std::size_t rows) {
  const std::vector<double> xEdges = Edges(map.x), yEdges = Edges(map.y);
  const std::vector<Span> across = Spans(xEdges, columns), up = Spans(yEdges, rows);
  Raster raster{columns, rows, {xEdges.front(), xEdges.back()}, {yEdges.front(), yEdges.back()}, {}};
  constexpr float nothing = std::numeric_limits<float>::quiet_NaN();
  raster.levels.reserve(columns * rows);
  std::vector<float> joined(map.x.size());
  for (std::size_t row = 0; row < rows; ++row) {
    std::fill(joined.begin(), joined.end(), nothing);
    for (std::size_t y = up[row].first; y < up[row].end; ++y) {
      const float* levels = map.levels.data() + y * map.x.size();
      for (std::size_t x = 0; x < joined.size(); ++x) joined[x] = Greater(joined[x], levels[x]);
    }
    for (const Span& span : across) {
      float greatest = nothing;
      for (std::size_t x = span.first; x < span.end; ++x) greatest = Greater(greatest, joined[x]);
      raster.levels.push_back(greatest);
    }
  }
  return raster;
}

PlotRange LevelRange(const PlotMap& map) {
  if (!map.range.empty() && map.range.span() > 0) return map.range;
  std::vector<float> levels;
  levels.reserve(map.levels.size());
  std::copy_if(map.levels.begin(), map.levels.end(), std::back_inserter(levels),
               [](float each) { return std::isfinite(each); });
  if (levels.empty()) return {0, 1};
  const auto quantile = levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 20);
  std::nth_element(levels.begin(), quantile, levels.end());
  const double low = static_cast<double>(*quantile);
  const double high = static_cast<double>(*std::max_element(quantile, levels.end()));
  if (high - low > 1e-6 * std::max(std::abs(low), std::abs(high))) return {low, high};
  const double room = std::max(0.05 * std::abs(high), 1e-6);
  return {high - room, high + room};
}

}  // namespace umlauf::tool
