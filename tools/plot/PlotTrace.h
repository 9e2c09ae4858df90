#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tools/plot/PlotTypes.h"

namespace umlauf::tool {

/// Points of any number in bounded memory: beyond `columns` points each column of the picture keeps its
/// smallest and greatest one. x must not fall.
class PlotTrace {
 public:
  explicit PlotTrace(std::size_t columns = 1600) : columns_(columns) {}

  /// A point that is not finite breaks the line, unless others share its column.
  void Add(double x, double y);
  bool empty() const { return cells_.empty(); }
  /// Whether columns stand for several points.
  bool reduced() const { return width_ > 0; }
  /// Points that were not finite.
  std::uint64_t missing() const { return missing_; }
  /// What is left to draw, by rising x; between the parts of a broken line stands a point whose y is NaN.
  std::vector<PlotPoint> Points() const;

 private:
  struct Cell {
    PlotPoint low, high;
    bool afterBreak;
  };

  bool SameColumn(const Cell& a, const PlotPoint& b) const;
  void Widen();

  std::size_t columns_;
  double width_ = 0;  ///< of a column in x; 0 = every point has its own cell
  std::uint64_t missing_ = 0;
  bool broken_ = false;  ///< since the last point
  std::vector<Cell> cells_;
};

}  // namespace umlauf::tool
