#include "tools/plot/gnuplot/LinePlot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include "tools/plot/Limits.h"
#include "tools/plot/gnuplot/Canvas.h"

namespace umlauf::tool {
namespace {

using Look = PlotSeries::Look;

/// A y axis of a panel: left or right.
struct Side {
  bool used = false;
  PlotRange range;
  AxisTicks ticks;
  Outside outside;
};

struct PanelAxes {
  Side left, right;
};

bool IsDrawn(const PlotPanel& panel, const PlotPoint& point) {
  return std::isfinite(point.y) && (!panel.logarithmic || point.y > 0);
}

/// What the values of one side span; points only count where there are no lines, because they repeat values
/// of lines.
PlotRange ValueRange(const PlotPanel& panel, bool right, bool lines) {
  PlotRange range;
  for (const PlotSeries& each : panel.series) {
    if (each.rightAxis != right || (each.look != Look::points) != lines) continue;
    if (panel.logarithmic) {
      for (const PlotPoint& point : each.points) {
        if (IsDrawn(panel, point)) range.Add(point.y);
      }
    } else {
      range.Add(panel.robust && !each.whole ? RobustRange(each.points) : FullRange(each.points));
    }
  }
  return range;
}

Side MakeSide(const PlotPanel& panel, bool right, double height) {
  Side side;
  side.used = std::any_of(panel.series.begin(), panel.series.end(),
                          [right](const PlotSeries& each) { return each.rightAxis == right; });
  PlotRange values = ValueRange(panel, right, true);
  const bool lines = !values.empty();
  if (!lines || !panel.robust) values.Add(ValueRange(panel, right, false));
  side.range = panel.range ? *panel.range : panel.logarithmic ? WidenedLogarithmic(values) : Widened(values);
  const auto most = static_cast<unsigned>(std::clamp(height / 40, 2.0, 12.0));
  side.ticks =
      panel.logarithmic ? LogarithmicTicks(side.range, most) : LinearTicks(side.range, most, panel.tickStep);
  for (const PlotSeries& each : panel.series) {
    if (each.rightAxis == right && (!lines || each.look != Look::points) && !panel.logarithmic) {
      side.outside.Add(each, side.range);
    }
  }
  return side;
}

PlotRange XRange(const Plot& plot) {
  PlotRange x;
  for (const PlotPanel& panel : plot.panels) {
    for (const PlotSeries& series : panel.series) {
      for (const PlotPoint& each : series.points) {
        if (!plot.logarithmicX || each.x > 0) x.Add(each.x);
      }
    }
  }
  const bool single = !(x.span() > 1e-12 * std::max(std::abs(x.low), std::abs(x.high)));
  if (single) return plot.logarithmicX ? WidenedLogarithmic(x) : Widened(x);
  return plot.logarithmicX ? x : ToNearTicks(x);
}

/// Data blocks and what to draw of them.
class DataBlocks {
 public:
  void Draw(const std::vector<PlotPoint>& points, const std::string& how) {
    if (points.empty()) return;
    data_ += fmt::format("$data{} << END_OF_DATA\n", count_);
    for (const PlotPoint& each : points) {
      data_ += std::isfinite(each.y) ? fmt::format("{} {}\n", each.x, each.y) : "\n";
    }
    data_ += "END_OF_DATA\n";
    commands_ += fmt::format("{} $data{} using 1:2 {}", commands_.empty() ? "plot" : ",", count_++, how);
  }
  std::string Script() const { return data_ + (commands_.empty() ? "plot NaN" : commands_) + "\n"; }

 private:
  int count_ = 0;
  std::string data_, commands_;
};

/// Points without neighbours, which a line does not show.
std::vector<PlotPoint> LonePoints(const std::vector<PlotPoint>& points) {
  std::vector<PlotPoint> alone;
  const auto there = [&](std::size_t i) { return i < points.size() && std::isfinite(points[i].y); };
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (there(i) && !(i > 0 && there(i - 1)) && !there(i + 1)) alone.push_back(points[i]);
  }
  return alone;
}

/// Marks at the edge for values beyond it, one for each stretch of the axis that a mark covers.
std::vector<PlotPoint> EdgeMarks(const PlotSeries& series, const PlotRange& x, const PlotRange& shown,
                                 bool above) {
  constexpr double marks = 150;  // side by side
  std::map<double, PlotPoint> found;
  const double y = above ? shown.high - 0.012 * shown.span() : shown.low + 0.012 * shown.span();
  for (const PlotPoint& each : series.points) {
    if (above ? each.y > shown.high : each.y < shown.low) {
      found.try_emplace(std::floor((each.x - x.low) / x.span() * marks), PlotPoint{each.x, y});
    }
  }
  std::vector<PlotPoint> points;
  for (const auto& [column, point] : found) points.push_back(point);
  return points;
}

void DrawSeries(DataBlocks& blocks, const PlotSeries& series, const PlotPanel& panel, const Side& side,
                const PlotRange& x) {
  const std::string axes = series.rightAxis ? "axes x1y2" : "axes x1y1",
                    colour = "lc rgb " + Quoted(series.colour);
  std::vector<PlotPoint> points = series.points;
  if (panel.logarithmic) {
    for (PlotPoint& each : points) {
      if (!IsDrawn(panel, each)) each.y = std::numeric_limits<double>::quiet_NaN();
    }
  }
  if (series.look == Look::points) {
    const char* size = points.size() == 1 ? "1.2" : "0.5";
    blocks.Draw(points, fmt::format("{} with points pt 7 ps {} {}", axes, size, colour));
  } else {
    blocks.Draw(points, fmt::format("{} with lines {}", axes, LineStyle(series)));
    const char* size = points.size() == 1 ? "1.2" : "0.6";
    blocks.Draw(LonePoints(points), fmt::format("{} with points pt 7 ps {} {}", axes, size, colour));
  }
  if (panel.logarithmic) return;
  blocks.Draw(EdgeMarks(series, x, side.range, true),
              fmt::format("{} with points pt 9 ps 1.5 {}", axes, colour));
  blocks.Draw(EdgeMarks(series, x, side.range, false),
              fmt::format("{} with points pt 11 ps 1.5 {}", axes, colour));
}

std::string PanelData(const PlotPanel& panel, const PanelAxes& axes, const PlotRange& x) {
  std::vector<const PlotSeries*> order;
  for (const PlotSeries& each : panel.series) order.push_back(&each);
  std::stable_sort(order.begin(), order.end(),
                   [](const PlotSeries* a, const PlotSeries* b) { return a->layer < b->layer; });
  DataBlocks blocks;
  for (const PlotSeries* each : order) {
    DrawSeries(blocks, *each, panel, each->rightAxis ? axes.right : axes.left, x);
  }
  return blocks.Script();
}

std::string Scales(const Plot& plot, const PlotPanel& panel) {
  std::string script = "unset logscale\n";
  if (plot.logarithmicX) script += "set logscale x 10\n";
  if (panel.logarithmic) script += "set logscale y 10\nset logscale y2 10\n";
  return script;
}

std::string YAxes(const PanelAxes& axes) {
  std::string script = AxisCommands("y", axes.left.range, axes.left.ticks);
  if (axes.right.used) {
    script += "set border 11 lc rgb '#505050'\n" + AxisCommands("y2", axes.right.range, axes.right.ticks);
  } else {
    script += "set border 3 lc rgb '#505050'\nunset y2tics\n";
  }
  return script;
}

/// What is not seen, panel by panel, and what the caller has to say.
std::string Caption(const Plot& plot, const std::vector<PanelAxes>& axes) {
  std::string caption;
  for (std::size_t i = 0; i < axes.size(); ++i) {
    for (const bool right : {false, true}) {
      const std::string text = (right ? axes[i].right : axes[i].left).outside.Text();
      if (text.empty()) continue;
      const std::string& label = right ? plot.panels[i].rightLabel : plot.panels[i].yLabel;
      const bool several = axes.size() > 1 || axes[i].right.used;
      caption += fmt::format("{}{}{}", caption.empty() ? "" : "; ", several ? label + ": " : "", text);
    }
  }
  if (!caption.empty() && !plot.caption.empty()) caption += "; ";
  return caption + plot.caption;
}

/// Sheet, drawing areas and axes of a plot.
struct Layout {
  Canvas canvas;
  double left = 0, right = 0, bottom = 0, top = 0;
  std::vector<double> heights = {};
  std::vector<PanelAxes> axes = {};
};

constexpr double betweenPanels = 26;
constexpr const char* markColour = "#f9dcd6";

void ShareHeight(const Plot& plot, Layout& layout) {
  const auto count = static_cast<double>(plot.panels.size());
  const double room = layout.top - layout.bottom - (count - 1) * betweenPanels;
  const double other = plot.alike ? room / count : std::min(room / count, 0.27 * room);
  layout.heights.assign(plot.panels.size(), other);
  layout.heights.front() = room - (count - 1) * other;
  for (std::size_t i = 0; i < plot.panels.size(); ++i) {
    layout.axes.push_back({MakeSide(plot.panels[i], false, layout.heights[i]),
                           MakeSide(plot.panels[i], true, layout.heights[i])});
  }
}

/// Room for the labels of the ticks and the upright title of an axis.
double SideWidth(std::size_t longest) {
  return Canvas::edge + Canvas::lineHeight + 18 + Canvas::characterWidth * static_cast<double>(longest);
}

/// Where something is doubtful, however short that is.
std::string Marks(const Plot& plot, const PlotRange& x) {
  std::string script;
  const double least = 0.0015 * x.span();
  for (const PlotRange& each : plot.marked) {
    const double middle = (each.low + each.high) / 2, half = std::max(least, each.span() / 2);
    if (middle + half < x.low || middle - half > x.high) continue;
    script +=
        fmt::format("set object rectangle from {},graph 0 to {},graph 1 behind fc rgb {} fs solid noborder\n",
                    std::max(x.low, middle - half), std::min(x.high, middle + half), Quoted(markColour));
  }
  return script;
}

Layout MakeLayout(const Plot& plot, bool svg, std::string& head, std::vector<std::string>& caption) {
  const double height = std::max(640.0, 120.0 + 125.0 * static_cast<double>(plot.panels.size()));
  Layout layout{Canvas(svg, height)};
  layout.top = height - 30;
  layout.bottom = 72;
  ShareHeight(plot, layout);  // for the labels; once more when the head is known
  std::size_t left = 1, right = 0;
  bool twoAxes = false;
  for (const PanelAxes& each : layout.axes) {
    left = std::max(left, each.left.ticks.longest());
    right = std::max(right, each.right.ticks.longest());
    twoAxes = twoAxes || each.right.used;
  }
  layout.left = SideWidth(left);
  layout.right = Canvas::width - (twoAxes ? SideWidth(right) : 36);
  std::vector<PlotSeries> key;
  for (const PlotPanel& panel : plot.panels) {
    for (const PlotSeries& each : panel.series) {
      if (!each.title.empty())
        key.push_back({each.title, each.look, each.colour, {}, false, false, false, each.dash});
    }
  }
  if (!plot.marked.empty()) key.push_back({"doubtful", Look::broadLine, markColour, {}});
  head = layout.canvas.Head(plot.title, key, layout.left, layout.right, layout.top);
  caption = Wrapped(Caption(plot, layout.axes), layout.left);
  layout.bottom += Canvas::lineHeight * static_cast<double>(caption.size());
  layout.axes.clear();
  ShareHeight(plot, layout);
  return layout;
}

}  // namespace

std::string LinePlotScript(const Plot& plot, bool svg, const std::string& file) {
  std::string head;
  std::vector<std::string> caption;
  const Layout layout = MakeLayout(plot, svg, head, caption);
  const Canvas& canvas = layout.canvas;
  const PlotRange x = XRange(plot);
  const AxisTicks xTicks =
      HorizontalTicks(x, (layout.right - layout.left) / Canvas::characterWidth, plot.logarithmicX);
  const double middle = (layout.left + layout.right) / 2;
  std::string script = canvas.Begin(file) + head;
  script += canvas.Text(AxisTitle(plot.xLabel, xTicks), middle, layout.bottom - 50, "center");
  script += canvas.Lines(caption, layout.left);
  double ceiling = layout.top;
  for (std::size_t i = 0; i < plot.panels.size(); ++i) {
    const PlotPanel& panel = plot.panels[i];
    const PanelAxes& axes = layout.axes[i];
    const double floor = ceiling - layout.heights[i], centre = (ceiling + floor) / 2;
    const auto fitting =
        static_cast<std::size_t>((layout.heights[i] + betweenPanels) / Canvas::characterWidth);
    const auto title = [&](const std::string& label, const AxisTicks& ticks) {
      return Shortened(AxisTitle(label, ticks), fitting);
    };
    script += canvas.Text(title(panel.yLabel, axes.left.ticks), Canvas::edge + 4, centre, "center", true);
    if (axes.right.used) {
      script += canvas.Text(title(panel.rightLabel, axes.right.ticks), Canvas::width - Canvas::edge, centre,
                            "center", true);
    }
    script += canvas.Area(layout.left, layout.right, floor, ceiling) + Scales(plot, panel) + YAxes(axes) +
              AxisCommands("x", x, xTicks, i + 1 == plot.panels.size()) + Marks(plot, x) +
              PanelData(panel, axes, x) + "unset label\nunset arrow\nunset object\n";
    ceiling = floor - betweenPanels;
  }
  return script + "unset multiplot\nunset output\n";
}

}  // namespace umlauf::tool
