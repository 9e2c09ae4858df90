#include "tools/plot/gnuplot/Canvas.h"

#include <fmt/format.h>

#include <algorithm>

namespace umlauf::tool {
namespace {

constexpr double titleWidth = 11.3;  ///< of a character of the title
constexpr double sample = 30;        ///< line or point before a text of the key

/// Whether a byte begins a character of UTF-8.
bool Begins(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) != 0x80; }

/// Bytes that the first `count` characters take.
std::size_t Bytes(const std::string& text, std::size_t count) {
  std::size_t at = 0;
  for (; at < text.size(); ++at) {
    if (Begins(text[at]) && count-- == 0) break;
  }
  return at;
}

double EntryWidth(const std::string& title) {
  return sample + 8 + Canvas::characterWidth * static_cast<double>(Length(title)) + 22;
}

}  // namespace

std::string Quoted(const std::string& text) {
  std::string out = "'";
  for (const char each : text) {
    if (static_cast<unsigned char>(each) < ' ' || each == 127) continue;
    out += each;
    if (each == '\'') out += each;
  }
  return out + "'";
}

std::size_t Length(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), Begins));
}

std::string Shortened(const std::string& text, std::size_t most) {
  const std::size_t length = Length(text);
  if (length <= most || most < 3) return text;
  const std::size_t front = (most - 1) / 2, back = most - 1 - front;
  return text.substr(0, Bytes(text, front)) + "…" + text.substr(Bytes(text, length - back));
}

std::vector<std::string> Wrapped(const std::string& text, double left) {
  constexpr std::size_t mostLines = 3;
  const auto fitting =
      static_cast<std::size_t>((Canvas::width - Canvas::edge - left) / Canvas::characterWidth);
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::string rest = text.substr(at);
    if (Length(rest) <= fitting || lines.size() + 1 == mostLines) {
      lines.push_back(Shortened(rest, fitting));
      break;
    }
    const std::size_t most = Bytes(rest, fitting), space = rest.rfind(' ', most);
    const std::size_t end = space == std::string::npos || space == 0 ? most : space;
    lines.push_back(rest.substr(0, end));
    at += end + (end == space ? 1 : 0);
  }
  return lines;
}

std::string Canvas::Begin(const std::string& file) const {
  const std::string terminal =
      svg_ ? fmt::format(
                 "svg size {:.0f},{:.0f} dynamic background 'white' font 'Helvetica,Arial,sans-serif,16' "
                 "linewidth 1",
                 width, height_)
           : fmt::format("pngcairo size {:.0f},{:.0f} background 'white' font 'sans,15' linewidth 1.3",
                         width * pixelsPerUnit(), height_ * pixelsPerUnit());
  return fmt::format(
      "set encoding utf8\nset terminal {} noenhanced\nset output {}\nunset key\nset clip two\n"
      "set grid lc rgb '#d8d8d8' lt 1 lw 0.8\nset tics nomirror out scale {}\nset multiplot\n",
      terminal, Quoted(file), svg_ ? 0.5 : 0.9);
}

std::string Canvas::At(double x, double y) const {
  return fmt::format("screen {:.5f},{:.5f}", x / width, y / height_);
}

std::string Canvas::Text(const std::string& text, double x, double y, const std::string& place,
                         bool upright) const {
  if (text.empty()) return {};
  return fmt::format("set label {} at {} {}{}\n", Quoted(text), At(x, y), place, upright ? " rotate" : "");
}

std::string Canvas::Lines(const std::vector<std::string>& lines, double left) const {
  std::string script;
  double y = edge + lineHeight * static_cast<double>(lines.size());
  for (const std::string& each : lines) script += Text(each, left, y -= lineHeight, "left");
  return script;
}

std::string Canvas::Area(double left, double right, double bottom, double top) const {
  return fmt::format(
      "set lmargin at screen {:.5f}\nset rmargin at screen {:.5f}\nset bmargin at screen {:.5f}\nset tmargin "
      "at screen {:.5f}\n",
      left / width, right / width, bottom / height_, top / height_);
}

std::string Canvas::Head(const std::string& title, const std::vector<PlotSeries>& key, double left,
                         double right, double& top) const {
  double y = height_ - 30, total = 0;
  const std::string head = Shortened(title, static_cast<std::size_t>((right - left) / titleWidth));
  std::string script;
  if (!head.empty()) {
    script += fmt::format("set label {} at {} left font ',18'\n", Quoted(head), At(left, y));
  }
  const auto mostOfEntry = static_cast<std::size_t>((right - left - EntryWidth("")) / characterWidth);
  for (const PlotSeries& each : key) total += EntryWidth(Shortened(each.title, mostOfEntry));
  const double taken = head.empty() ? 0 : titleWidth * static_cast<double>(Length(head)) + 30;
  const bool beside = left + taken + total <= right;
  double x = beside ? right - total + 22 : left;
  if (!beside && !head.empty()) y -= 28;
  for (const PlotSeries& each : key) {
    const std::string text = Shortened(each.title, mostOfEntry);
    if (x > left && x + EntryWidth(text) > right + 23) {
      x = left;
      y -= lineHeight + 2;
    }
    script += each.look == PlotSeries::Look::points
                  ? fmt::format("set label '' at {} point pt 7 ps 0.8 lc rgb {}\n", At(x + sample / 2, y),
                                Quoted(each.colour))
                  : fmt::format("set arrow from {} to {} nohead {}\n", At(x, y), At(x + sample, y),
                                LineStyle(each));
    script += Text(text, x + sample + 8, y, "left");
    x += EntryWidth(text);
  }
  top = y - 26;
  return script;
}

std::string LineStyle(const PlotSeries& series) {
  const char* width = series.look == PlotSeries::Look::broadLine  ? "6"
                      : series.look == PlotSeries::Look::boldLine ? "2"
                                                                  : "1";
  return fmt::format("lw {} dt {} lc rgb {}", width, series.dash, Quoted(series.colour));
}

std::string AxisCommands(const std::string& axis, const PlotRange& range, const AxisTicks& ticks,
                         bool labels) {
  std::string list;
  for (const Tick& each : ticks.ticks) {
    list += fmt::format("{}{} {}", list.empty() ? "" : ", ", Quoted(labels ? each.label : ""), each.value);
  }
  return fmt::format("set {0}range [{1}:{2}]\nset {0}tics ({3})\n", axis, range.low, range.high, list);
}

std::string AxisTitle(const std::string& label, const AxisTicks& ticks) {
  return ticks.origin.empty() ? label : fmt::format("{}, counted from {}", label, ticks.origin);
}

}  // namespace umlauf::tool
