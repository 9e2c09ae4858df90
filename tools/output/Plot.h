#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/output/OutputFile.h"

namespace umlauf::tool {

struct PlotPoint {
  double x, y;
};

/// Points of any number in bounded memory: beyond `columns` points each column of the picture keeps its
/// smallest and greatest one. x must not fall.
class PlotTrace {
 public:
  explicit PlotTrace(std::size_t columns = 1600) : columns_(columns) {}

  /// A point that is not finite is left out.
  void Add(double x, double y);
  bool empty() const { return cells_.empty(); }
  /// What is left to draw, by rising x.
  std::vector<PlotPoint> Points() const;

 private:
  struct Cell {
    PlotPoint low, high;
  };

  bool SameColumn(const Cell& a, const PlotPoint& b) const;
  void Widen();

  std::size_t columns_;
  double width_ = 0;  ///< of a column in x; 0 = every point has its own cell
  std::vector<Cell> cells_;
};

struct PlotSeries {
  enum class Look { line, boldLine, broadLine, points };

  std::string title;  ///< empty = not in the key
  Look look = Look::line;
  std::string colour = "#1f5fa8";
  std::vector<PlotPoint> points;
  bool rightAxis = false;
};

/// One x axis with a y axis and, where a series asks for it, a second one on the right; later series are
/// drawn over earlier ones. At least one series is on the left.
struct PlotPanel {
  std::string yLabel;
  std::vector<PlotSeries> series;
  std::string rightLabel = {};
};

/// Panels one below the other over the same x axis; the first one is the tallest unless all are alike.
struct Plot {
  std::string title, xLabel;
  std::vector<PlotPanel> panels;
  bool alike = false;
};

/// Refuses names that end neither in .svg nor in .png, before any work is done for them.
void CheckPlotName(const std::string& option, const std::filesystem::path& target);

/// Draws through gnuplot into `out` (SVG or PNG by its name); does not commit it. Throws ToolError when
/// gnuplot is missing or fails.
void DrawPlot(const Plot& plot, OutputFile& out);

}  // namespace umlauf::tool
