#include "tools/plot/Ticks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {
namespace {

/// Labels up to this long are told in full; longer ones get an exponent where that is shorter.
constexpr std::size_t comfortable = 7;
constexpr std::size_t longestLabel = 10;

/// count · 10^exponent without rounding, so that labels neither collide nor show digits of binary fractions.
struct Decimal {
  std::int64_t count;
  int exponent;

  double value() const {
    const double scale = std::pow(10.0, std::abs(exponent));
    return exponent < 0 ? static_cast<double>(count) / scale : static_cast<double>(count) * scale;
  }
  std::string text() const {
    if (count == 0) return "0";
    const char* const sign = count < 0 ? "-" : "";
    const int decimals = std::max(-exponent, 0);
    // At least one digit before the point.
    const std::string digits = fmt::format("{:0{}}", std::abs(count), decimals + 1);
    if (exponent >= 0) return fmt::format("{}{}{:0<{}}", sign, digits, "", exponent);
    const std::string_view all = digits;
    const std::size_t whole = all.size() - static_cast<std::size_t>(decimals);
    return fmt::format("{}{}.{}", sign, all.substr(0, whole), all.substr(whole));
  }
};

std::size_t Longest(const std::vector<std::string>& labels) {
  std::size_t longest = 0;
  for (const std::string& each : labels) longest = std::max(longest, each.size());
  return longest;
}

std::vector<std::string> PlainLabels(const std::vector<Decimal>& values) {
  std::vector<std::string> labels;
  for (const Decimal& each : values) labels.push_back(each.text());
  return labels;
}

/// With the exponent, a multiple of three, of the greatest value.
std::vector<std::string> ExponentLabels(const std::vector<Decimal>& values) {
  double greatest = 0;
  for (const Decimal& each : values) greatest = std::max(greatest, std::abs(each.value()));
  const int exponent = greatest > 0 ? 3 * static_cast<int>(std::floor(std::log10(greatest) / 3)) : 0;
  std::vector<std::string> labels;
  for (const Decimal& each : values) {
    const std::string text = Decimal{each.count, each.exponent - exponent}.text();
    labels.push_back(each.count == 0 ? text : fmt::format("{}e{}", text, exponent));
  }
  return labels;
}

/// The shorter way to tell the values; the plain one when both are as good.
std::vector<std::string> Labels(const std::vector<Decimal>& values) {
  std::vector<std::string> plain = PlainLabels(values);
  if (Longest(plain) <= comfortable) return plain;
  std::vector<std::string> exponent = ExponentLabels(values);
  return Longest(exponent) < Longest(plain) ? exponent : plain;
}

AxisTicks Labelled(const std::vector<Decimal>& values) {
  AxisTicks axis;
  std::vector<std::string> labels = Labels(values);
  if (Longest(labels) > longestLabel && values.size() > 1) {
    // A round number below all of them, as coarse as the range is wide.
    std::int64_t round = 1;
    while (round < values.back().count - values.front().count) round *= 10;
    const std::int64_t first = values.front().count;
    const std::int64_t origin = (first >= 0 ? first / round : -((round - 1 - first) / round)) * round;
    std::vector<Decimal> rest = values;
    for (Decimal& each : rest) each.count -= origin;
    labels = Labels(rest);
    axis.origin =
        Labels({{origin / round, values.front().exponent + static_cast<int>(std::lround(std::log10(round)))}})
            .front();
  }
  for (std::size_t i = 0; i < values.size(); ++i) axis.ticks.push_back({values[i].value(), labels[i]});
  return axis;
}

/// Multiples of `factor` · 10^exponent in the range.
std::vector<Decimal> Multiples(const PlotRange& range, int factor, int exponent) {
  const double step = Decimal{factor, exponent}.value();
  // What lies at an end within rounding belongs to the range.
  const double first = std::ceil(range.low / step - 1e-9), last = std::floor(range.high / step + 1e-9);
  std::vector<Decimal> values;
  for (double i = first; i <= last; ++i)
    values.push_back({numeric::trunc_sat<std::int64_t>(i) * factor, exponent});
  return values;
}

}  // namespace

std::size_t AxisTicks::longest() const {
  std::size_t longest = 0;
  for (const Tick& each : ticks) longest = std::max(longest, each.label.size());
  return longest;
}

AxisTicks LinearTicks(const PlotRange& range, unsigned most, double step) {
  const double greatest = std::max(std::abs(range.low), std::abs(range.high));
  // Nothing to count: no range, or one that the numbers do not resolve.
  if (range.empty() || !(range.span() > 1e-12 * greatest) || !std::isfinite(range.span())) return {};
  if (step > 0 && range.span() / step <= 100) {
    AxisTicks axis;
    for (double i = std::ceil(range.low / step); i <= std::floor(range.high / step); ++i) {
      axis.ticks.push_back({i * step, fmt::format("{:g}", i == 0 ? 0 : i * step)});
    }
    return axis;
  }
  most = std::max(most, 2u);
  std::vector<Decimal> finer;
  for (int exponent = static_cast<int>(std::floor(std::log10(range.span() / most))) - 1;; ++exponent) {
    for (const int factor : {1, 2, 5}) {
      if (range.span() / Decimal{factor, exponent}.value() > 4.0 * most) continue;
      std::vector<Decimal> values = Multiples(range, factor, exponent);
      if (values.size() < 2) return Labelled(finer);
      if (values.size() <= most) return Labelled(values);
      finer = std::move(values);
    }
  }
}

AxisTicks LogarithmicTicks(const PlotRange& range, unsigned most) {
  if (range.empty() || !(range.low > 0)) return {};
  const double decades = std::log10(range.high / range.low);
  if (decades < 1.0) return LinearTicks(range, most);
  const bool halves = 3 * decades <= most;
  const int skip = halves ? 1 : static_cast<int>(std::ceil(decades / std::max(most, 2u)));
  std::vector<Decimal> values;
  for (int exponent = static_cast<int>(std::floor(std::log10(range.low)));
       exponent <= static_cast<int>(std::ceil(std::log10(range.high))); ++exponent) {
    if (exponent % skip != 0) continue;
    for (const int factor : {1, 2, 5}) {
      const Decimal each{factor, exponent};
      if ((factor == 1 || halves) && range.Contains(each.value())) values.push_back(each);
    }
  }
  const bool plain = Longest(PlainLabels(values)) <= comfortable;
  AxisTicks axis;
  for (const Decimal& each : values) {
    const bool handy = plain || each.text().size() <= 4;
    axis.ticks.push_back(
        {each.value(), handy ? each.text() : fmt::format("{}e{}", each.count, each.exponent)});
  }
  return axis;
}

PlotRange ToNearTicks(const PlotRange& range) {
  const AxisTicks axis = LinearTicks(range, 12);
  if (axis.ticks.size() < 2) return range;
  const double step = axis.ticks[1].value - axis.ticks[0].value, near = 0.012 * range.span();
  const double below = axis.ticks.front().value - step, above = axis.ticks.back().value + step;
  // Of great numbers the sum may miss the tick by its rounding.
  return {range.low - below < near ? std::round(below / step) * step : range.low,
          above - range.high < near ? std::round(above / step) * step : range.high};
}

AxisTicks HorizontalTicks(const PlotRange& range, double length, bool logarithmic) {
  for (unsigned most = 15;; --most) {
    AxisTicks axis = logarithmic ? LogarithmicTicks(range, most) : LinearTicks(range, most);
    // Two blanks between labels.
    const double needed = static_cast<double>(axis.ticks.size() * (axis.longest() + 2));
    if (most <= 2 || needed <= length) return axis;
  }
}

}  // namespace umlauf::tool
