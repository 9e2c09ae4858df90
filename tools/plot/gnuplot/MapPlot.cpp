#include "tools/plot/gnuplot/MapPlot.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "tools/plot/Palette.h"
#include "tools/plot/Raster.h"
#include "tools/plot/gnuplot/Canvas.h"

namespace umlauf::tool {
namespace {

constexpr std::size_t columns = 1280, rows = 720;  // of the raster: about the pixels of the drawing area

struct Area {
  double left, right, bottom, top;
};

/// Rounded outward to ticks, so that the ends of the colour bar are told.
PlotRange ToTicks(const PlotRange& range, unsigned most) {
  const AxisTicks ticks = LinearTicks(range, most);
  if (ticks.ticks.size() < 2) return range;
  const double step =
      (ticks.ticks.back().value - ticks.ticks.front().value) / static_cast<double>(ticks.ticks.size() - 1);
  return {std::floor(range.low / step + 1e-6) * step, std::ceil(range.high / step - 1e-6) * step};
}

/// The lowest and greatest label tell when they stand for levels beyond.
void MarkEnds(AxisTicks& ticks, const PlotRange& shown, const std::vector<float>& levels) {
  if (ticks.ticks.empty()) return;
  const auto beyond = [&](auto isBeyond) { return std::any_of(levels.begin(), levels.end(), isBeyond); };
  const double close = 1e-6 * shown.span();
  if (ticks.ticks.front().value < shown.low + close &&
      beyond([&](float each) { return static_cast<double>(each) < shown.low - close; })) {
    ticks.ticks.front().label.insert(0, "≤ ");
  }
  if (ticks.ticks.back().value > shown.high - close && beyond([&](float each) {
        return static_cast<double>(each) > shown.high + close && std::isfinite(each);
      })) {
    ticks.ticks.back().label.insert(0, "≥ ");
  }
}

std::string PaletteCommand() {
  std::string list;
  const auto palette = LevelPalette();
  for (std::size_t i = 0; i < palette.size(); ++i) {
    list += fmt::format("{}{} '#{:02x}{:02x}{:02x}'", i == 0 ? "" : ", ", i, palette[i].red, palette[i].green,
                        palette[i].blue);
  }
  return fmt::format("set palette maxcolors 256 defined ({})\n", list);
}

/// Where a line that begins within the map leaves it, as part of its width and height; its last point when
/// it stays within. Nothing for a line that is never within.
struct LineEnd {
  double x, y;
};

std::optional<LineEnd> EndOf(const PlotSeries& line, const Raster& raster) {
  std::optional<LineEnd> end;
  const auto place = [&](const PlotPoint& point) {
    return LineEnd{(point.x - raster.x.low) / raster.x.span(), (point.y - raster.y.low) / raster.y.span()};
  };
  const auto inside = [](const LineEnd& at) { return at.x >= 0 && at.x <= 1 && at.y >= 0 && at.y <= 1; };
  for (std::size_t i = 0; i < line.points.size(); ++i) {
    const LineEnd a = place(line.points[i]);
    if (!std::isfinite(a.y) || !inside(a)) continue;
    end = a;
    if (i + 1 == line.points.size()) continue;
    const LineEnd b = place(line.points[i + 1]);
    if (!std::isfinite(b.x) || !std::isfinite(b.y) || inside(b)) continue;
    // The part of the way to the next point that lies within.
    const auto part = [](double from, double to) {
      return to > 1 ? (1 - from) / (to - from) : to < 0 ? from / (from - to) : 1.0;
    };
    const double t = std::min(part(a.x, b.x), part(a.y, b.y));
    end = LineEnd{a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
  }
  return end;
}

/// The names of the lines where these end: beside the map, above it, or within. One that would cover another
/// is left out.
std::string LineNames(const Canvas& canvas, const PlotMap& map, const Raster& raster, const Area& area) {
  struct Taken {
    double x, y, width;
  };
  std::vector<Taken> taken;
  std::string script;
  for (const PlotSeries& line : map.lines) {
    const auto end = EndOf(line, raster);
    if (line.title.empty() || !end) continue;
    const double width = Canvas::characterWidth * static_cast<double>(Length(line.title));
    const bool atRight = end->x > 0.98, atTop = !atRight && end->y > 0.98;
    const double x = atRight
                         ? area.right + 6
                         : area.left + end->x * (area.right - area.left) - (atTop ? width / 2 : width + 6);
    const double y = atTop ? area.top + 12 : area.bottom + end->y * (area.top - area.bottom);
    const bool covers = std::any_of(taken.begin(), taken.end(), [&](const Taken& each) {
      return std::abs(each.y - y) < 17 && x < each.x + each.width + 6 && each.x < x + width + 6;
    });
    if (covers) continue;
    taken.push_back({x, y, width});
    const char* colour = atRight || atTop ? "#202020" : "#ffffff";
    script += fmt::format("set label {} at {} left front textcolor rgb '{}'\n", Quoted(line.title),
                          canvas.At(x, y), colour);
  }
  return script;
}

/// Data blocks of the lines, and how they are drawn over the colours: light with a dark rim.
std::string LineData(const PlotMap& map, std::string& commands) {
  std::string data;
  for (std::size_t i = 0; i < map.lines.size(); ++i) {
    if (map.lines[i].points.empty()) continue;
    data += fmt::format("$line{} << END_OF_DATA\n", i);
    for (const PlotPoint& each : map.lines[i].points) {
      data += std::isfinite(each.y) ? fmt::format("{} {}\n", each.x, each.y) : "\n";
    }
    data += "END_OF_DATA\n";
    commands += fmt::format(
        ", $line{0} using 1:2 with lines lw 2.4 lc rgb '#70000000', $line{0} using 1:2 "
        "with lines lw 1 lc rgb '#ffffff'",
        i);
  }
  return data;
}

/// `ticked` is the part of the vertical axis that has ticks: of a waterfall the lines rise beyond the last
/// row.
std::string AxesScript(const Canvas& canvas, const PlotMap& map, const Raster& raster,
                       const PlotRange& ticked, const Area& area) {
  const AxisTicks x = HorizontalTicks(raster.x, (area.right - area.left) / Canvas::characterWidth);
  const AxisTicks y = LinearTicks(ticked, 12);
  const double middle = ((ticked.low + ticked.high) / 2 - raster.y.low) / raster.y.span();
  return AxisCommands("x", raster.x, x) + AxisCommands("y", raster.y, y) +
         canvas.Text(AxisTitle(map.xLabel, x), (area.left + area.right) / 2, area.bottom - 50, "center") +
         canvas.Text(AxisTitle(map.yLabel, y), Canvas::edge + 4,
                     area.bottom + middle * (area.top - area.bottom), "center", true) +
         canvas.Area(area.left, area.right, area.bottom, area.top);
}

double LeftOf(const PlotRange& y) {
  return Canvas::edge + Canvas::lineHeight + 18 +
         Canvas::characterWidth * static_cast<double>(std::max<std::size_t>(1, LinearTicks(y, 12).longest()));
}

/// Height that is left above the caption and the title of the axis.
double BottomOf(const PlotMap& map, double left) {
  return 72 + Canvas::lineHeight * static_cast<double>(Wrapped(map.caption, left).size());
}

std::string ColourScript(const PlotMap& map, bool svg, const std::string& file) {
  const Canvas canvas(svg);
  const Raster raster = Rasterised(map, columns, rows);
  const PlotRange shown = ToTicks(LevelRange(map), 9);
  AxisTicks levels = LinearTicks(shown, 11);
  MarkEnds(levels, shown, raster.levels);
  std::size_t names = 0;
  for (const PlotSeries& each : map.lines) names = std::max(names, Length(each.title));

  Area area{LeftOf(raster.y), 0, BottomOf(map, LeftOf(raster.y)), 0};
  const double bar = 18;
  const double barRight =
      Canvas::width - Canvas::edge - Canvas::lineHeight - 22 -
      Canvas::characterWidth * static_cast<double>(std::max<std::size_t>(3, levels.longest()));
  area.right =
      barRight - bar - 20 - (names > 0 ? 8 + Canvas::characterWidth * static_cast<double>(names) : 0);
  const std::string head = canvas.Head(map.title, {}, area.left, barRight, area.top);
  if (names > 0) area.top -= Canvas::lineHeight - 4;

  std::string script =
      canvas.Begin(file) + head + canvas.Lines(Wrapped(map.caption, area.left), area.left) + PaletteCommand();
  script += "set border 15 lc rgb '#505050'\nset tics front\nunset grid\n" +
            AxesScript(canvas, map, raster, raster.y, area) + AxisCommands("cb", shown, levels);
  script += fmt::format("set colorbox user origin {} size screen {:.5f},{:.5f} border\n",
                        canvas.At(barRight - bar, area.bottom), bar / Canvas::width,
                        (area.top - area.bottom) / canvas.height());
  script += canvas.Text(AxisTitle(map.levelLabel, levels), Canvas::width - Canvas::edge,
                        (area.bottom + area.top) / 2, "center", true);
  script += LineNames(canvas, map, raster, area);
  std::string lines;
  script += LineData(map, lines);
  script += fmt::format(
      "plot '-' binary array=({},{}) dx={} dy={} origin=({},{}) format='%float' endian=little with image{}\n",
      raster.columns, raster.rows, raster.x.span() / static_cast<double>(raster.columns),
      raster.y.span() / static_cast<double>(raster.rows), raster.columnX(0), raster.rowY(0), lines);
  const std::size_t at = script.size();
  script.resize(at + raster.levels.size() * sizeof(float));
  std::memcpy(script.data() + at, raster.levels.data(), raster.levels.size() * sizeof(float));
  return script + "unset multiplot\nunset output\n";
}

// Waterfall

constexpr std::size_t waterfallLines = 60;

/// Lines from the back to the front, each hiding what stands behind it.
struct Waterfall {
  Raster raster;
  PlotRange shown;      ///< levels
  PlotRange y;          ///< of the drawing area
  double perLevel = 0;  ///< in units of y

  double Height(float level) const {
    return perLevel * (std::clamp(static_cast<double>(level), shown.low, shown.high) - shown.low);
  }
  double Base(std::size_t row) const { return raster.rowY(row); }
};

Waterfall MakeWaterfall(const PlotMap& map) {
  Waterfall fall{Rasterised(map, std::min(map.x.size(), columns), std::min(map.y.size(), waterfallLines)),
                 ToTicks(LevelRange(map), 5),
                 {},
                 0};
  const double whole = fall.raster.y.span(), line = whole / static_cast<double>(fall.raster.rows);
  const double highest = std::max(3 * line, 0.2 * whole);
  fall.perLevel = highest / fall.shown.span();
  fall.y = {fall.Base(0) - 0.02 * whole, fall.Base(0) + highest};
  for (std::size_t i = 0; i < fall.raster.levels.size(); ++i) {
    const float level = fall.raster.levels[i];
    if (std::isfinite(level)) fall.y.Add(fall.Base(i / fall.raster.columns) + fall.Height(level));
  }
  fall.y.high += 0.02 * whole;
  return fall;
}

std::string WaterfallLines(const Waterfall& fall) {
  std::string data, commands = "plot";
  for (std::size_t row = fall.raster.rows; row-- > 0;) {
    data += fmt::format("$row{} << END_OF_DATA\n", row);
    for (std::size_t i = 0; i < fall.raster.columns; ++i) {
      const float level = fall.raster.levels[row * fall.raster.columns + i];
      data += std::isfinite(level) ? fmt::format("{:.9g} {:.9g}\n", fall.raster.columnX(i),
                                                 fall.Base(row) + fall.Height(level))
                                   : "\n";
    }
    data += "END_OF_DATA\n";
    commands += fmt::format(
        "{0} $row{1} using 1:2 with filledcurves y1={2} fc rgb 'white', $row{1} using 1:2 "
        "with lines lw 1 lc rgb '#1f5fa8'",
        row + 1 == fall.raster.rows ? "" : ",", row, fall.Base(row));
  }
  return data + commands + "\n";
}

/// The scale of the levels stands at the right of the line in front.
std::string LevelScale(const Canvas& canvas, const PlotMap& map, const Waterfall& fall, const Area& area) {
  const double unit = (area.top - area.bottom) / fall.y.span();
  const double zero = area.bottom + (fall.Base(0) - fall.y.low) * unit;
  const double height = fall.perLevel * fall.shown.span() * unit;
  AxisTicks ticks = LinearTicks(fall.shown, static_cast<unsigned>(std::clamp(height / 22, 2.0, 6.0)));
  MarkEnds(ticks, fall.shown, fall.raster.levels);
  const double x = area.right + 10;
  std::string script = fmt::format("set arrow from {} to {} nohead lc rgb '#505050'\n", canvas.At(x, zero),
                                   canvas.At(x, zero + height));
  for (const Tick& each : ticks.ticks) {
    const double y = zero + height * (each.value - fall.shown.low) / fall.shown.span();
    script += fmt::format("set arrow from {} to {} nohead lc rgb '#505050'\n", canvas.At(x, y),
                          canvas.At(x + 6, y));
    script += canvas.Text(each.label, x + 12, y, "left");
  }
  // It reads upward beside the scale, which it may exceed.
  const double text = Canvas::characterWidth * static_cast<double>(Length(map.levelLabel));
  return script + canvas.Text(AxisTitle(map.levelLabel, ticks), Canvas::width - Canvas::edge,
                              std::max(zero + height / 2, zero + text / 2), "center", true);
}

std::string WaterfallScript(const PlotMap& map, bool svg, const std::string& file) {
  const Canvas canvas(svg, 760);
  const Waterfall fall = MakeWaterfall(map);
  const double left = LeftOf(fall.raster.y);
  Area area{left, Canvas::width - 110, BottomOf(map, left), 0};
  Raster axes = fall.raster;
  axes.y = fall.y;
  std::string script = canvas.Begin(file) + canvas.Head(map.title, {}, area.left, area.right, area.top);
  script += canvas.Lines(Wrapped(map.caption, area.left), area.left) +
            "set border 3 lc rgb '#505050'\nunset grid\n";
  script += AxesScript(canvas, map, axes, fall.raster.y, area) + LevelScale(canvas, map, fall, area);
  return script + WaterfallLines(fall) + "unset multiplot\nunset output\n";
}

}  // namespace

std::string MapPlotScript(const PlotMap& map, bool svg, const std::string& file) {
  return map.look == PlotMap::Look::colours ? ColourScript(map, svg, file) : WaterfallScript(map, svg, file);
}

}  // namespace umlauf::tool
