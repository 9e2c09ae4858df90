#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/plot/PlotTypes.h"
#include "tools/plot/Ticks.h"

namespace umlauf::tool {

/// What is common to all pictures: a sheet 1200 units wide, measured from its lower left corner, on which the
/// texts have known sizes, so that nothing overlaps. PNG has 4/3 pixels per unit, SVG one. All of it as text
/// for gnuplot.
class Canvas {
 public:
  static constexpr double width = 1200, lineHeight = 20, characterWidth = 9.4, edge = 16;

  Canvas(bool svg, double height = 640) : svg_(svg), height_(height) {}

  bool svg() const { return svg_; }
  double height() const { return height_; }
  double pixelsPerUnit() const { return svg_ ? 1 : 4.0 / 3; }

  /// Kind, size and fonts of the picture, and the file it goes to.
  std::string Begin(const std::string& file) const;
  std::string At(double x, double y) const;
  /// `place` is left, center or right; with `upright` the text runs upward, centred.
  std::string Text(const std::string& text, double x, double y, const std::string& place,
                   bool upright = false) const;
  /// Lines at the lower edge of the sheet, from `left` on.
  std::string Lines(const std::vector<std::string>& lines, double left) const;
  /// Edges of the drawing area that follows.
  std::string Area(double left, double right, double bottom, double top) const;

  /// Title and key, the key below the title where it does not fit beside it; `top` becomes the height that is
  /// left below them.
  std::string Head(const std::string& title, const std::vector<PlotSeries>& key, double left, double right,
                   double& top) const;

 private:
  bool svg_;
  double height_;
};

/// In single quotes gnuplot takes everything as it stands.
std::string Quoted(const std::string& text);
/// Characters of UTF-8 text.
std::size_t Length(const std::string& text);
/// Cut to `most` characters, with an ellipsis in place of its middle.
std::string Shortened(const std::string& text, std::size_t most);

/// In lines of a sheet from `left` on, parted between words; three at most, the last one shortened.
std::vector<std::string> Wrapped(const std::string& text, double left);

/// Colour, width and dash of the lines of a series.
std::string LineStyle(const PlotSeries& series);
/// Range and ticks of an axis (x, y, y2, cb); without labels when they stand below another panel.
std::string AxisCommands(const std::string& axis, const PlotRange& range, const AxisTicks& ticks,
                         bool labels = true);
/// Quantity and unit, and where the labels count from.
std::string AxisTitle(const std::string& label, const AxisTicks& ticks);

}  // namespace umlauf::tool
