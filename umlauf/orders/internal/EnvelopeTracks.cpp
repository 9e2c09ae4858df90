#include "umlauf/orders/internal/EnvelopeTracks.h"

#include <algorithm>
#include <cmath>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::orders {
namespace {

std::size_t Steps(const OrderTrackSettings& settings, const AngleGrid& grid, double bandwidths) {
  return numeric::trunc_sat<std::size_t>(
      std::ceil(bandwidths * grid.stepsPerRevolution / settings.bandwidth));
}

constexpr double kOverlap = 6;   ///< [1 / bandwidth]
constexpr double kStretch = 36;  ///< of them three quarters are kept, or more

CVoldKalman Filter(const OrderTrackSettings& settings, const AngleGrid& grid) {
  CVoldKalman filter(settings.bandwidth / grid.stepsPerRevolution, settings.poles);
  filter.FollowLevel(true);
  return filter;
}

}  // namespace

bool EnvelopeTracks::CanFollow(const OrderTrackSettings& settings, const AngleGrid& grid) {
  return Filter(settings, grid).Fits(settings.orders.size());
}

EnvelopeTracks::EnvelopeTracks(const OrderTrackSettings& settings, const AngleGrid& grid, unsigned channels,
                               const CPulseTrain& pulses, std::size_t step)
    : TrackMaker(settings, grid, channels, pulses, Steps(settings, grid, kStretch), step),
      filter_(Filter(settings, grid)),
      length_(Steps(settings, grid, 1)),
      overlap_(Steps(settings, grid, kOverlap)),
      phases_(settings.orders.size() * Steps(settings, grid, kStretch)),
      next_(length_ / 2) {}

void EnvelopeTracks::Take(const float* frames, const CShaftAngle::Passing* passed, std::size_t n) {
  for (std::size_t at = 0; at < n;) {
    const std::size_t some = std::min(n - at, Room());
    Put(frames + at * Channels(), passed + at, some);
    at += some;
    if (Room() > 0) continue;
    Solve(begin_ == 0 ? 0 : overlap_, Held() - overlap_);
    const std::size_t done = Held() - 2 * overlap_;
    Drop(done);
    begin_ += done;
  }
}

void EnvelopeTracks::Finish() {
  // What an envelope is at the very ends rests on half as many samples.
  if (Held() > length_) Solve(begin_ == 0 ? 0 : overlap_, Held() - length_ / 2);
  Drop(Held());
}

void EnvelopeTracks::Solve(std::size_t from, std::size_t to) {
  const std::size_t n = Held();
  for (std::size_t k = 0; k < Orders().size(); ++k) {
    for (std::size_t i = 0; i < n; ++i) phases_[k * n + i] = Order(k) * Revolution(i);
  }
  const std::uint64_t first = std::max<std::uint64_t>(next_, begin_ + from);
  for (unsigned c = 0; c < Channels(); ++c) {
    if (!filter_.Fit(Samples(c), n, phases_.data(), Orders().size())) return Lose();
    for (next_ = first; next_ < begin_ + to; next_ += Step()) {
      const std::size_t i = next_ - begin_;
      const ShaftPlace place = Place(i, length_);
      for (std::size_t k = 0; k < Orders().size(); ++k) Keep(c, k, place, filter_.Envelope(k)[i]);
    }
  }
}

}  // namespace umlauf::orders
