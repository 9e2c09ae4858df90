#include "tools/output/Plot.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tools/Error.h"
#include "tools/System.h"

namespace umlauf::tool {
namespace {

/// In single quotes gnuplot takes everything as it stands; a quote is doubled.
std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (const char each : text) {
    if (static_cast<unsigned char>(each) < ' ') continue;
    out += each;
    if (each == '\'') out += each;
  }
  return out + "'";
}

std::string Terminal(const std::filesystem::path& target) {
  return target.extension() == ".svg"
             ? "svg size 1200,640 dynamic background 'white' font 'Helvetica,Arial,sans-serif,16' linewidth 1"
             : "pngcairo size 1600,850 background 'white' font 'sans,15' linewidth 1.3";
}

std::string LookOf(const PlotSeries& series) {
  const std::string colour = fmt::format("lc rgb {}", Quoted(series.colour));
  switch (series.look) {
    case PlotSeries::Look::line:
      return "with lines lw 1 " + colour;
    case PlotSeries::Look::boldLine:
      return "with lines lw 2 " + colour;
    case PlotSeries::Look::broadLine:
      return "with lines lw 6 " + colour;
    case PlotSeries::Look::points:
      return "with points pt 7 ps 0.5 " + colour;
  }
  return {};
}

/// Range of an axis over all points that `coordinate` picks.
struct Range {
  double low = std::numeric_limits<double>::infinity(), high = -std::numeric_limits<double>::infinity();

  void Add(const PlotSeries& series, double PlotPoint::*coordinate) {
    for (const PlotPoint& point : series.points) {
      low = std::min(low, point.*coordinate);
      high = std::max(high, point.*coordinate);
    }
  }
  /// Some room at both ends, but not below 0 for what is never negative.
  void Widen() {
    const double room = high > low ? 0.06 * (high - low) : std::max(0.05 * std::abs(high), 1e-6);
    low = low >= 0 ? std::max(0.0, low - room) : low - room;
    high += room;
  }
};

/// Data blocks and plot command of one panel.
std::string PanelScript(const PlotPanel& panel) {
  std::string data, command;
  for (const PlotSeries& series : panel.series) {
    if (series.points.empty()) continue;
    const std::size_t number = static_cast<std::size_t>(&series - panel.series.data());
    data += fmt::format("$s{} << END_OF_DATA\n", number);
    for (const PlotPoint& point : series.points) data += fmt::format("{:.9g} {:.9g}\n", point.x, point.y);
    data += "END_OF_DATA\n";
    command += fmt::format("{} $s{} using 1:2 axes x1{} {} {}", command.empty() ? "plot" : ",", number,
                           series.rightAxis ? "y2" : "y1", LookOf(series),
                           series.title.empty() ? "notitle" : "title " + Quoted(series.title));
  }
  return data + command + "\n";
}

/// Ranges, labels and tics of a panel's y axes.
std::string YAxes(const PlotPanel& panel) {
  Range left, right;
  for (const PlotSeries& series : panel.series) (series.rightAxis ? right : left).Add(series, &PlotPoint::y);
  left.Widen();
  std::string script =
      fmt::format("set yrange [{:.9g}:{:.9g}]\nset ylabel {}\n", left.low, left.high, Quoted(panel.yLabel));
  if (right.low <= right.high) {
    right.Widen();
    script += fmt::format(
        "set border 11 lc rgb '#505050'\nset y2tics out\nset y2range [{:.9g}:{:.9g}]\nset y2label {}\n",
        right.low, right.high, Quoted(panel.rightLabel));
  } else {
    script += "set border 3 lc rgb '#505050'\nunset y2tics\nunset y2label\n";
  }
  return script;
}

std::string PlotScript(const Plot& plot, const OutputFile& out) {
  const bool twoAxes = std::any_of(plot.panels.begin(), plot.panels.end(),
                                   [](const PlotPanel& panel) { return !panel.rightLabel.empty(); });
  // Edges of the drawing area as parts of the picture.
  constexpr double left = 0.095, top = 0.87, bottom = 0.125, between = 0.05;
  const double right = twoAxes ? 0.91 : 0.98;
  Range x;
  for (const PlotPanel& panel : plot.panels) {
    for (const PlotSeries& series : panel.series) x.Add(series, &PlotPoint::x);
  }
  if (!(x.low < x.high)) x.Widen();
  const auto others = static_cast<double>(plot.panels.size() - 1);
  // Of each further panel, with the space above it.
  const double even = (top - bottom + between) / (others + 1);
  const double below = others > 0 ? plot.alike ? even : std::min(even, 0.28) : 0;
  std::string script = fmt::format(
      "set encoding utf8\nset terminal {} noenhanced\nset output {}\n"
      "set grid lc rgb '#d8d8d8' lt 1 lw 0.8\nset tics nomirror out\n"
      "set xrange [{:.9g}:{:.9g}]\nset multiplot\nset lmargin at screen {}\nset rmargin at screen {}\n",
      Terminal(out.target()), Quoted(out.temporary().string()), x.low, x.high, left, right);
  script += fmt::format(
      "set label 1 {} at screen {},0.95 left font ',18'\nset key at screen {},0.975 right top horizontal "
      "samplen 2\n",
      Quoted(plot.title), left, right);
  double ceiling = top;
  for (const PlotPanel& panel : plot.panels) {
    const bool first = &panel == &plot.panels.front(), last = &panel == &plot.panels.back();
    const double height = first ? top - bottom - others * below : below - between;
    if (!first) ceiling -= between;
    script += fmt::format(
        "set tmargin at screen {:.4f}\nset bmargin at screen {:.4f}\n{}set xlabel {}\nset format x {}\n{}"
        "unset label 1\n",
        ceiling, ceiling - height, YAxes(panel), last ? Quoted(plot.xLabel) : "''", last ? "'% h'" : "''",
        PanelScript(panel));
    ceiling -= height;
  }
  return script + "unset multiplot\nunset output\n";
}

}  // namespace

bool PlotTrace::SameColumn(const Cell& a, const PlotPoint& b) const {
  return width_ > 0 && std::floor(a.low.x / width_) == std::floor(b.x / width_);
}

void PlotTrace::Add(double x, double y) {
  if (!std::isfinite(x) || !std::isfinite(y)) return;
  const PlotPoint point{x, y};
  if (!cells_.empty() && SameColumn(cells_.back(), point)) {
    Cell& cell = cells_.back();
    if (y < cell.low.y) cell.low = point;
    if (y > cell.high.y) cell.high = point;
    return;
  }
  cells_.push_back({point, point});
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
    points.push_back(rising ? cell.low : cell.high);
    if (cell.low.x != cell.high.x) points.push_back(rising ? cell.high : cell.low);
  }
  return points;
}

void CheckPlotName(const std::string& option, const std::filesystem::path& target) {
  const auto ending = target.extension();
  if (ending != ".svg" && ending != ".png") {
    FailUsage("{} {}: a picture is .svg or .png; choose a name that ends so", option, target.string());
  }
}

void DrawPlot(const Plot& plot, OutputFile& out) {
  ProgramPipe gnuplot({"gnuplot"});
  if (!gnuplot.Started()) Fail("cannot draw {}: gnuplot is not installed; install it", out.target().string());
  gnuplot.Write(PlotScript(plot, out));
  if (const int code = gnuplot.Finish(); code != 0) {
    std::string reason = gnuplot.Messages();
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    Fail("cannot draw {}: gnuplot ended with code {}: {}", out.target().string(), code,
         reason.substr(0, 300));
  }
}

}  // namespace umlauf::tool
