#pragma once

#include <cstddef>
#include <vector>

#include "tools/plot/PlotTypes.h"

namespace umlauf::tool {

/// Equal cells over the whole of a map.
struct Raster {
  std::size_t columns = 0, rows = 0;
  PlotRange x, y;             ///< from edge to edge
  std::vector<float> levels;  ///< [rows · columns], row after row; NaN = nothing there

  double columnX(std::size_t column) const {
    return x.low + x.span() * (static_cast<double>(column) + 0.5) / static_cast<double>(columns);
  }
  double rowY(std::size_t row) const {
    return y.low + y.span() * (static_cast<double>(row) + 0.5) / static_cast<double>(rows);
  }
};

/// Whether axes and levels of a map fit each other: places finite and rising, a level for each.
bool IsValid(const PlotMap& map);

/// A map on cells of the picture: each place reaches half-way to its neighbours; of several levels in a cell
/// the greatest one counts. The map must be valid.
Raster Rasterised(const PlotMap& map, std::size_t columns, std::size_t rows);

/// The range in which the levels are shown: that of the map, or else from the level that 5 % of them do not
/// reach to the greatest one. Never empty.
PlotRange LevelRange(const PlotMap& map);

}  // namespace umlauf::tool
