#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

/// What a picture shows, apart from how and where it is drawn.
namespace umlauf::tool {

/// A point whose y is not finite breaks the line.
struct PlotPoint {
  double x, y;
};

/// From the smallest to the greatest of the values that were added; empty until the first finite one.
struct PlotRange {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();

  bool empty() const { return !(low <= high); }
  double span() const { return high - low; }
  bool Contains(double value) const { return low <= value && value <= high; }
  void Add(double value) {
    if (!std::isfinite(value)) return;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  void Add(const PlotRange& other) {
    low = std::min(low, other.low);
    high = std::max(high, other.high);
  }
};

struct PlotSeries {
  enum class Look { line, boldLine, broadLine, points };

  std::string title;  ///< empty = not in the key
  Look look = Look::line;
  std::string colour = "#1f5fa8";
  std::vector<PlotPoint> points;
  bool rightAxis = false;
  bool reduced = false;  ///< the points stand for more values than there are points
  bool whole = false;    ///< all its values set the scale, in a robust panel, too
  int dash = 1;          ///< 1 = solid, 2 = dashed, 3 = dotted, 4 = dashes and dots
  int layer = 0;         ///< lower ones are drawn first; within a layer in the order of the series
};

/// One x axis with a y axis and, where a series asks for it, a second one on the right. At least one series
/// is on the left.
struct PlotPanel {
  std::string yLabel;  ///< quantity and unit
  std::vector<PlotSeries> series;
  std::string rightLabel = {};
  /// Values that stand alone (one or two beside each other, a pulse at standstill) do not set the scale; they
  /// are marked at the edge and counted in the caption.
  bool robust = false;
  /// In place of the range of the values, with ticks `tickStep` apart (0 = any).
  std::optional<PlotRange> range = {};
  double tickStep = 0;
  bool logarithmic = false;  ///< both y axes; what is not above 0 is not drawn
};

/// Panels one below the other over the same x axis; the first one is the tallest unless all are alike.
struct Plot {
  std::string title, xLabel;
  std::vector<PlotPanel> panels;
  bool alike = false;
  bool logarithmicX = false;
  std::string caption = {};            ///< lines below the picture
  std::vector<PlotRange> marked = {};  ///< of x: shaded, what is there is doubtful
};

/// Levels over two axes, as colours or as a waterfall: lines one behind the other, the first row in front.
struct PlotMap {
  enum class Look { colours, waterfall };

  std::string title, xLabel, yLabel, levelLabel;
  std::vector<double> x, y;   ///< places of the columns and rows, rising
  std::vector<float> levels;  ///< [y.size() · x.size()], row after row; not finite = nothing there
  Look look = Look::colours;
  /// Levels beyond it are drawn as its ends; empty = from the 5 % of the lowest levels to the greatest one.
  PlotRange range = {};
  /// Lines over the colours, such as orders; the title stands where a line leaves the map.
  std::vector<PlotSeries> lines = {};
  std::string caption = {};  ///< lines below the picture
};

}  // namespace umlauf::tool
