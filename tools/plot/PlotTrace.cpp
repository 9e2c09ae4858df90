#include "tools/plot/PlotTrace.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace umlauf::tool {

bool PlotTrace::SameColumn(const Cell& a, const PlotPoint& b) const {
  return width_ > 0 && std::floor(a.low.x / width_) == std::floor(b.x / width_);
}

void PlotTrace::Add(double x, double y) {
  if (!std::isfinite(x) || !std::isfinite(y)) {
    ++missing_;
    broken_ = true;
    return;
  }
  const PlotPoint point{x, y};
  const bool afterBreak = std::exchange(broken_, false) && !cells_.empty();
  if (!cells_.empty() && SameColumn(cells_.back(), point)) {
    Cell& cell = cells_.back();
    if (y < cell.low.y) cell.low = point;
    if (y > cell.high.y) cell.high = point;
    return;
  }
  cells_.push_back({point, point, afterBreak});
  // Twice as many as there are columns in the picture before they are joined: the spread stays even.
  if (cells_.size() > 2 * columns_) Widen();
}

void PlotTrace::Widen() {
  const double span = cells_.back().low.x - cells_.front().low.x;
  width_ = std::max({2 * width_, span / static_cast<double>(columns_), 1e-300});
  std::vector<Cell> joined;
  for (const Cell& each : cells_) {
    if (joined.empty() || !SameColumn(joined.back(), each.low)) {
      joined.push_back(each);
    } else {
      if (each.low.y < joined.back().low.y) joined.back().low = each.low;
      if (each.high.y > joined.back().high.y) joined.back().high = each.high;
    }
  }
  cells_ = std::move(joined);
}

std::vector<PlotPoint> PlotTrace::Points() const {
  std::vector<PlotPoint> points;
  points.reserve(2 * cells_.size());
  for (const Cell& cell : cells_) {
    const bool rising = cell.low.x <= cell.high.x;
    const PlotPoint& first = rising ? cell.low : cell.high;
    if (cell.afterBreak) points.push_back({first.x, std::numeric_limits<double>::quiet_NaN()});
    points.push_back(first);
    if (cell.low.x != cell.high.x) points.push_back(rising ? cell.high : cell.low);
  }
  return points;
}

}  // namespace umlauf::tool
