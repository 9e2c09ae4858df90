// Pulse search beside a plain loop over the same samples that finds the same edges and keeps minimum,
// maximum, sum and sum of squares. Counters: samples/s of the detector, and vs_plain, its speed relative to
// the plain loop in the same run.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

#include "support/Bandwidth.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace {

constexpr std::size_t kBlock = 65536;
constexpr float kUpper = 0.3f;
constexpr float kLower = -0.3f;

/// A sine tacho with a little noise; the pulse length is no whole number of samples.
std::vector<float> Tacho(double samplesPerPulse, unsigned stride) {
  std::vector<float> x(kBlock * stride);
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0.0, 0.01);
  for (std::size_t i = 0; i < kBlock; ++i) {
    const double phase = 2.0 * std::numbers::pi * static_cast<double>(i) / (samplesPerPulse * 1.0037);
    x[i * stride] = static_cast<float>(std::sin(phase) + noise(random));
  }
  return x;
}

struct Plain {
  float min, max, sum, sumSquares;
  std::vector<std::uint64_t> edges;
};

void PlainSearch(const float* x, std::size_t n, std::size_t stride, Plain& out) {
  float min = x[0];
  float max = x[0];
  float sum = 0.0f;
  float sumSquares = 0.0f;
  bool high = x[0] > kUpper;
  out.edges.clear();
  for (std::size_t i = 0; i < n; ++i) {
    const float v = x[i * stride];
    min = std::min(min, v);
    max = std::max(max, v);
    sum += v;
    sumSquares += v * v;
    if (!high) {
      if (v > kUpper) {
        high = true;
        out.edges.push_back(i);
      }
    } else if (kLower > v) {
      high = false;
    }
  }
  out.min = min;
  out.max = max;
  out.sum = sum;
  out.sumSquares = sumSquares;
}

double Median(std::vector<double>& times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

void PulseSearch(benchmark::State& state) {
  const auto samplesPerPulse = static_cast<double>(state.range(0));
  const auto stride = static_cast<unsigned>(state.range(1));
  const std::vector<float> x = Tacho(samplesPerPulse, stride);

  CDzPulsListe list;
  Plain plain{};
  CDzPulsDetektor detector;
  detector.SchrankenSetzen(kUpper, kLower);
  detector.PulsMinLenSetzen(0);
  PlainSearch(x.data(), kBlock, stride, plain);
  detector.PulseSuchen(x.data(), kBlock, list, stride);
  if (list.NrRealPulses() != plain.edges.size()) state.SkipWithError("the two searches differ");

  // Both in turn within one loop, so that whatever slows the machine down slows both.
  std::vector<double> fast, slow;
  for (auto _ : state) {
    fast.push_back(bandwidth::Seconds([&] {
      detector.PulseSuchen(x.data(), kBlock, list, stride);
      benchmark::DoNotOptimize(list.data());
    }));
    slow.push_back(bandwidth::Seconds([&] {
      PlainSearch(x.data(), kBlock, stride, plain);
      benchmark::DoNotOptimize(plain);
    }));
    state.SetIterationTime(fast.back());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kBlock));
  state.counters["vs_plain"] = Median(slow) / Median(fast);
}

}  // namespace

BENCHMARK(PulseSearch)
    ->ArgNames({"samples_per_pulse", "stride"})
    ->ArgsProduct({{10, 1000}, {1, 2, 3, 4, 5, 8, 16}})
    ->UseManualTime()
    ->MinTime(0.1);
