#include "tools/plot/Limits.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace umlauf::tool {
namespace {

constexpr std::size_t window = 5;  ///< of the running median

/// The running median: what it spans, and how far nine of ten values lie from it at most.
struct Course {
  PlotRange range;
  double scatter = 0;
};

/// At the ends the window is that of the first and last values.
Course CourseOf(const std::vector<double>& values) {
  Course course;
  if (values.size() < window) return course;
  std::vector<double> distances;
  distances.reserve(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::size_t first =
        std::clamp<std::size_t>(i, window / 2, values.size() - 1 - window / 2) - window / 2;
    std::array<double, window> part{};
    std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(first), window, part.begin());
    std::nth_element(part.begin(), part.begin() + window / 2, part.end());
    course.range.Add(part[window / 2]);
    distances.push_back(std::abs(values[i] - part[window / 2]));
  }
  const auto most = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() * 9 / 10);
  std::nth_element(distances.begin(), most, distances.end());
  course.scatter = *most;
  return course;
}

}  // namespace

PlotRange FullRange(const std::vector<PlotPoint>& points) {
  PlotRange range;
  for (const PlotPoint& each : points) range.Add(each.y);
  return range;
}

PlotRange RobustRange(const std::vector<PlotPoint>& points) {
  std::vector<double> values;
  for (const PlotPoint& each : points) {
    if (std::isfinite(each.y)) values.push_back(each.y);
  }
  const PlotRange full = FullRange(points);
  const Course course = CourseOf(values);
  if (course.range.empty()) return full;
  // Of a signal that rests at 0 the peaks are all there is to see; one that rests elsewhere has a scale.
  const double rest = course.range.span() > 0 ? 0 : 0.05 * std::abs(course.range.low);
  const double allowed = std::max({0.15 * course.range.span(), 4 * course.scatter, rest});
  if (!(allowed > 0)) return full;
  const PlotRange inside{course.range.low - allowed, course.range.high + allowed};
  PlotRange robust;
  std::size_t outside = 0;
  for (const double each : values) {
    if (inside.Contains(each)) {
      robust.Add(each);
    } else {
      ++outside;
    }
  }
  const bool few = outside <= std::max<std::size_t>(2, values.size() / 50);
  return few && full.span() > 1.3 * robust.span() ? robust : full;
}

PlotRange Widened(const PlotRange& range) {
  if (range.empty()) return {0, 1};
  const double greatest = std::max(std::abs(range.low), std::abs(range.high));
  if (!(range.span() > 1e-10 * greatest)) {
    const double room = greatest > 0 ? 0.05 * greatest : 1;
    return {range.low - room, range.high + room};
  }
  // A lowest value of 0 stays off the edge, where it could not be told from the frame.
  const auto lower = [](double low, double high) {
    if (low >= 0 && low < 0.25 * high) return -0.03 * high;
    return low - 0.06 * (high - low);
  };
  return {lower(range.low, range.high), -lower(-range.high, -range.low)};
}

PlotRange WidenedLogarithmic(const PlotRange& range) {
  if (range.empty() || !(range.low > 0)) return {0.1, 10};
  const double room = range.low < range.high ? std::pow(range.high / range.low, 0.04) : 2;
  return {range.low / room, range.high * room};
}

void Outside::Add(const PlotSeries& series, const PlotRange& shown) {
  for (const PlotPoint& each : series.points) {
    if (!std::isfinite(each.y) || shown.Contains(each.y)) continue;
    atLeast = atLeast || series.reduced;
    if (each.y < shown.low) {
      lowest = below++ == 0 ? each.y : std::min(lowest, each.y);
    } else {
      highest = above++ == 0 ? each.y : std::max(highest, each.y);
    }
  }
}

std::string Outside::Text() const {
  std::string text;
  const auto tell = [&](std::uint64_t count, const char* where, const char* until, double extreme) {
    if (count == 0) return;
    text += fmt::format("{}{}{} value{} {} the scale{} {:.5g}", text.empty() ? "" : "; ",
                        atLeast ? "at least " : "", count, count == 1 ? "" : "s", where,
                        count == 1 ? ":" : until, extreme);
  };
  tell(below, "below", ", down to", lowest);
  tell(above, "above", ", up to", highest);
  return text;
}

}  // namespace umlauf::tool
