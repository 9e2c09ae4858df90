#include "umlauf/rate/internal/BuiltInKernel.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "umlauf/rate/internal/Kaiser.h"

// The kernel is a sine cardinal under a Kaiser window, smoothed by a second, much shorter one:
//
//  - The zeros of the first lie kCutoffSpacing coefficients apart, which puts its half-amplitude frequency at
//    0.84 of the output's Nyquist frequency at ratio 200. Its window sets the stop band.
//  - A Kaiser window ends in a step, so the stop band alone would fall by no more than 6 dB an octave. The
//    smoothing, a low-pass that begins to cut at about 17 times the output's Nyquist frequency, takes the
//    step away: from 20 times that frequency on the stop band is deeper than 160 dB. There lie the images
//    that a filter meets which takes every step-th coefficient, so its gain at 0 Hz hardly depends on the
//    phase.
//
// Where the window ended the kernel now rings out to 0, with the smoothing's fourteen zeros on each side; of
// its 42 sign changes 28 lie there, more than 160 dB below the peak.

namespace umlauf::rate {
namespace {

constexpr std::size_t kCount = 4440;
constexpr std::size_t kCentre = 2211;  // index of the peak; the kernel is symmetric around it
constexpr std::size_t kSmoothing = 160, kCore = kCentre - kSmoothing;  // half lengths
constexpr double kCutoffSpacing = 237.236;
constexpr double kCoreShape = 9.0;
constexpr double kSmoothingSpacing = static_cast<double>(kSmoothing) / 14.0;
constexpr double kSmoothingShape = 6.0;
constexpr double kPeak = 0.0863844;
constexpr float kMaxRatio = 200.0f;

/// Right half of a sine cardinal with zeros `spacing` apart under a Kaiser window that ends at index kHalf.
template <std::size_t kHalf>
std::array<double, kHalf + 1> WindowedSinc(double spacing, double shape) {
  std::array<double, kHalf + 1> half{};
  const double norm = 1.0 / BesselI0(shape);
  half[0] = 1.0;
  for (std::size_t i = 1; i < kHalf; ++i) {
    const double x = static_cast<double>(i) / static_cast<double>(kHalf);
    const double angle = std::numbers::pi * static_cast<double>(i) / spacing;
    half[i] = std::sin(angle) / angle * BesselI0(shape * std::sqrt(1.0 - x * x)) * norm;
  }
  return half;
}

std::array<float, kCount> Compute() {
  const auto core = WindowedSinc<kCore>(kCutoffSpacing, kCoreShape);
  const auto smoothing = WindowedSinc<kSmoothing>(kSmoothingSpacing, kSmoothingShape);
  const auto coreAt = [&](std::ptrdiff_t i) {
    const auto distance = static_cast<std::size_t>(i < 0 ? -i : i);
    return distance < core.size() ? core[distance] : 0.0;
  };
  std::array<double, kCentre + 1> half{};  // distance from the centre
  for (std::size_t i = 0; i < half.size(); ++i) {
    const auto at = static_cast<std::ptrdiff_t>(i);
    half[i] = coreAt(at);
    for (std::size_t k = 1; k < smoothing.size(); ++k) {
      const auto offset = static_cast<std::ptrdiff_t>(k);
      half[i] += smoothing[k] * (coreAt(at - offset) + coreAt(at + offset));
    }
  }
  std::array<float, kCount> kernel{};
  const double scale = kPeak / half[0];
  for (std::size_t i = 0; i < half.size(); ++i) {
    kernel[kCentre - i] = kernel[kCentre + i] = static_cast<float>(half[i] * scale);
  }
  return kernel;
}

}  // namespace

const CDownsamplingInfo::coefs_t& BuiltInKernel() {
  static const std::array<float, kCount> kernel = Compute();
  static const CDownsamplingInfo::coefs_t table{kernel.data(), kCount, kMaxRatio};
  return table;
}

}  // namespace umlauf::rate
