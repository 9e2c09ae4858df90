#include "umlauf/orders/internal/SegmentTracks.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace umlauf::orders {
namespace {

constexpr std::size_t kBlock = 1024;

std::vector<double> PerStep(const std::vector<double>& orders, double steps) {
  std::vector<double> cycles;
  for (const double order : orders) cycles.push_back(order / steps);
  return cycles;
}

}  // namespace

SegmentTracks::SegmentTracks(const OrderTrackSettings& settings, const AngleGrid& grid, unsigned channels,
                             const CPulseTrain& pulses, const CSpectrumWindow& window, std::size_t step)
    : TrackMaker(settings, grid, channels, pulses, 2 * window.Size() + kBlock, step),
      fit_(PerStep(settings.orders, grid.stepsPerRevolution), window),
      amplitudes_(settings.orders.size()) {}

void SegmentTracks::Take(const float* frames, const CShaftAngle::Passing* passed, std::size_t n) {
  for (std::size_t at = 0; at < n; at += kBlock) {
    const std::size_t some = std::min(kBlock, n - at);
    if (some > Room()) {
      const std::size_t dropped = std::min(next_, Held());
      Drop(dropped);
      next_ -= dropped;
    }
    Put(frames + at * Channels(), passed + at, some);
    for (; next_ + fit_.Length() <= Held(); next_ += Step()) Segment();
  }
}

void SegmentTracks::Segment() {
  const std::int64_t turned = Passed(next_ + fit_.Length() - 1).count - Passed(next_).count;
  const bool backward = turned < 0;
  if (static_cast<std::size_t>(backward ? -turned : turned) != fit_.Length() - 1) return;
  const ShaftPlace place = Place(next_ + fit_.Length() / 2, fit_.Length());
  const double begin = Revolution(next_);
  for (unsigned c = 0; c < Channels(); ++c) {
    fit_.Fit(Samples(c) + next_, amplitudes_.data());
    for (std::size_t k = 0; k < amplitudes_.size(); ++k) {
      // From the start of the segment to the origin of the angle.
      const double cycles = Order(k) * begin;
      const std::complex<double> own = backward ? std::conj(amplitudes_[k]) : amplitudes_[k];
      Keep(c, k, place, own * std::polar(1.0, -2 * std::numbers::pi * (cycles - std::round(cycles))));
    }
  }
}

}  // namespace umlauf::orders
