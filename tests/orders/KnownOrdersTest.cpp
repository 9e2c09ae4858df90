// The table of docs/orders.md: a run-up whose orders are known.

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <cstdio>
#include <random>

#include "orders/OrderSupport.h"
#include "umlauf/orders/OrderAnalysis.h"
#include "umlauf/recording/MemorySource.h"

namespace {

constexpr double kRate = 25600, kSeconds = 10;
const RunUp kShaft{10, 9};  // 600 to 6000 rpm

/// The response of a mass on a spring at a frequency over its own one, damped by 8 %.
std::complex<double> Resonance(double ratio) {
  return 1.0 / std::complex<double>(1 - ratio * ratio, 2 * 0.08 * ratio);
}

struct Order {
  double order, amplitude, degrees;
  bool resonant;

  std::complex<double> At(double t) const {
    const std::complex<double> own = std::polar(amplitude, degrees * std::numbers::pi / 180);
    return resonant ? own * Resonance(order * kShaft.Speed(t) / 130) : own;
  }
};
const Order kOrders[] = {{1, 1.0, 30, false}, {2.5, 0.5, -60, true}, {16, 0.2, 100, false}};

std::vector<float> Vibration() {
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, 0.001);
  return Sampled(kRate, kSeconds, [&](double t) {
    double sum = noise(random);
    for (const Order& each : kOrders) {
      sum += std::real(each.At(t) * std::polar(1.0, 2 * std::numbers::pi * each.order * kShaft.Angle(t)));
    }
    return sum;
  });
}

/// Order of the highest bin around one, from the parabola through its level and those beside it.
double Peak(const CSigCurve& spectrum, double order) {
  const double step = static_cast<double>(spectrum.XDelta());
  const auto near = static_cast<std::size_t>(order / step + 0.5);
  const auto level = [&](std::size_t k) { return std::log(static_cast<double>(spectrum.FData()[k])); };
  std::size_t top = near;
  for (std::size_t k = near - 3; k <= near + 3; ++k) top = level(k) > level(top) ? k : top;
  const double a = level(top - 1), b = level(top), c = level(top + 1);
  return (static_cast<double>(top) + (a - c) / (2 * (a - 2 * b + c))) * step;
}

class KnownOrders : public testing::TestWithParam<OrderTrackSettings::Method> {};

TEST_P(KnownOrders, AreWhereTheyAreAndAsLargeAsTheyAre) {
  const std::vector<float> samples = Vibration();
  CMemorySource recording(samples, kRate);
  COrderAnalysis::Settings settings;
  settings.map = {.maxOrder = 20, .resolution = 0.1};
  settings.tracks = {.orders = {1, 2.5, 16}, .bandwidth = 0.5, .method = GetParam()};
  COrderAnalysis analysis(settings);
  ASSERT_TRUE(analysis.Analyse(recording, kShaft.Pulses(kRate, kSeconds, 60), 60))
      << analysis.Failure().ToUtf8();
  CSigCurveArray map;
  ASSERT_TRUE(analysis.Map()->Map(0, {.scaling = SpectrumScaling::Amplitude}, map));
  EXPECT_GT(map.Count(), 90u);

  std::printf(
      "| order | amplitude | worst amplitude [%%] | worst phase [°] | worst place [orders] | points |\n");
  std::printf("|--:|--:|--:|--:|--:|--:|\n");
  for (std::size_t i = 0; i < std::size(kOrders); ++i) {
    double percent = 0, degrees = 0, place = 0;
    for (const COrderTracker::Point& point : analysis.Tracks()->Track(0, i)) {
      const std::complex<double> known = kOrders[i].At(point.place.time);
      const std::complex<double> found = std::polar(point.amplitude, point.phase * std::numbers::pi / 180);
      percent = std::max(percent, 100 * std::abs(std::abs(found) / std::abs(known) - 1));
      degrees = std::max(degrees, std::abs(std::arg(found / known)) * 180 / std::numbers::pi);
      EXPECT_NEAR(point.place.rpm / 60 / kShaft.Speed(point.place.time), 1, 0.002);
    }
    for (const auto& row : map)
      place = std::max(place, std::abs(Peak(*row, kOrders[i].order) - kOrders[i].order));
    const std::size_t points = analysis.Tracks()->Track(0, i).size();
    std::printf("| %g | %s%g | %.3f | %.2f | %.4f | %zu |\n", kOrders[i].order,
                kOrders[i].resonant ? "resonance of " : "", kOrders[i].amplitude, percent, degrees, place,
                points);
    EXPECT_GT(points, 500u);
    EXPECT_LT(percent, 0.2) << kOrders[i].order;
    EXPECT_LT(degrees, 1) << kOrders[i].order;
    EXPECT_LT(place, 0.01) << kOrders[i].order;
  }
}

INSTANTIATE_TEST_SUITE_P(Methods, KnownOrders,
                         testing::Values(OrderTrackSettings::Method::segments,
                                         OrderTrackSettings::Method::voldKalman));

}  // namespace
