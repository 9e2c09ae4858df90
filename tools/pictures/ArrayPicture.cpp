#include "tools/pictures/ArrayPicture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/output/UnitText.h"
#include "tools/plot/Raster.h"
#include "umlauf/signal/CurveSpan.h"

namespace umlauf::tool {
namespace {

/// Samples of the common axis that are drawn: their places and the index of the first one.
struct Columns {
  std::size_t first = 0;
  std::vector<double> x;
};

Columns ColumnsOf(const CSigCurve& curve, const ArrayLook& look) {
  Columns columns;
  const double left = static_cast<double>(curve.XMin());
  const double step = (static_cast<double>(curve.XMax()) - left) /
                      static_cast<double>(std::max<std::size_t>(curve.DLen(), 1));
  for (std::size_t i = 0; i < curve.DLen(); ++i) {
    const double x = left + step * static_cast<double>(i);
    if (look.from && x < *look.from) {
      columns.first = i + 1;
    } else if (!look.to || x < *look.to) {
      columns.x.push_back(x);
    }
  }
  return columns;
}

/// Puts the valid samples of a curve over a row, where they are greater.
void Cover(float* row, const Columns& columns, const CSigCurve& curve) {
  const CurveSpan span = SpanOf(curve);
  for (std::size_t i = 0; i < columns.x.size(); ++i) {
    const auto at = static_cast<std::int64_t>(columns.first + i) - span.first;
    if (at < 0 || at >= static_cast<std::int64_t>(span.length)) continue;
    const float value = span.samples[at];
    if (std::isfinite(value) && !(row[i] >= value)) row[i] = value;
  }
}

void Transpose(PlotMap& map) {
  std::vector<float> turned(map.levels.size());
  for (std::size_t r = 0; r < map.y.size(); ++r) {
    for (std::size_t c = 0; c < map.x.size(); ++c)
      turned[c * map.y.size() + r] = map.levels[r * map.x.size() + c];
  }
  map.levels = std::move(turned);
  std::swap(map.x, map.y);
  std::swap(map.xLabel, map.yLabel);
}

}  // namespace

PlotMap ArrayPicture(CSigCurveArray& array, const ArrayLook& look) {
  if (!array.HasCommonAxis() && !array.MakeCommonAxis()) Fail("there is no memory to draw a curve array");
  PlotMap map;
  map.look = look.look;
  map.title = CString(array.Name()).ToUtf8();
  map.xLabel = AxisLabel(array.XUnit(), "x");
  map.yLabel = AxisLabel(array.ArrayUnit(), "array axis");
  map.levelLabel = AxisLabel(array.YUnit(), "value");
  const Columns columns = array.IsEmpty() ? Columns() : ColumnsOf(array[0], look);
  if (columns.x.empty()) Fail("there is nothing to draw: the curve array has no samples there");
  map.x = columns.x;
  for (const auto& curve : array) {
    const auto position = static_cast<double>(curve->Date());
    if (!std::isfinite(position)) continue;
    if (map.y.empty() || position > map.y.back()) {
      map.y.push_back(position);
      map.levels.resize(map.levels.size() + map.x.size(), std::numeric_limits<float>::quiet_NaN());
    }
    Cover(map.levels.data() + map.levels.size() - map.x.size(), columns, *curve);
  }
  if (map.y.empty()) Fail("there is nothing to draw: no curve of the array has a position");
  if (look.arrayAxisRight && look.look == PlotMap::Look::colours) Transpose(map);
  map.range = look.levels;
  if (map.range.empty() && look.deepest > 0) {
    map.range = LevelRange(map);
    map.range.low = std::max(map.range.low, map.range.high - look.deepest);
  }
  return map;
}

}  // namespace umlauf::tool
