#include "umlauf/orders/internal/TrackMaker.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "umlauf/orders/internal/SegmentPlaces.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::orders {

TrackMaker::TrackMaker(const OrderTrackSettings& settings, const AngleGrid& grid, unsigned channels,
                       const CPulseTrain& pulses, std::size_t capacity, std::size_t step)
    : orders_(settings.orders),
      step_(step),
      channels_(channels),
      shaft_(pulses, grid.stepsPerRevolution),
      places_(capacity),
      tracks_(channels * settings.orders.size()) {
  kept_.alloc(numeric::mul_sat(capacity, std::size_t{channels}));
  for (const double order : orders_) {
    const double turns = grid.stepMeans ? order / grid.stepsPerRevolution / 2 : 0;
    responses_.push_back(std::polar(1 / grid.MeanGain(order), 2 * std::numbers::pi * turns));
  }
}

void TrackMaker::Put(const float* frames, const CShaftAngle::Passing* passed, std::size_t n) {
  for (unsigned c = 0; c < channels_; ++c) {
    QVL::Interleave(kept_.data() + c * places_.size() + held_, 1, frames + c, channels_, n);
  }
  std::copy_n(passed, n, places_.begin() + static_cast<std::ptrdiff_t>(held_));
  held_ += n;
}

void TrackMaker::Drop(std::size_t n) {
  held_ -= n;
  for (unsigned c = 0; c < channels_; ++c) {
    float* plane = kept_.data() + c * places_.size();
    std::memmove(plane, plane + n, held_ * sizeof(float));
  }
  std::copy_n(places_.begin() + static_cast<std::ptrdiff_t>(n), held_, places_.begin());
}

ShaftPlace TrackMaker::Place(std::size_t i, std::size_t length) const {
  const std::size_t half = HalfTurn(shaft_.stepsPerRevolution, length);
  ShaftPlace place = shaft_.Place(places_[i]);
  place.rpm = SpeedBetween(shaft_, places_[i > half ? i - half : 0], places_[std::min(i + half, held_) - 1]);
  return place;
}

void TrackMaker::Keep(unsigned c, std::size_t k, const ShaftPlace& place,
                      const std::complex<double>& envelope) {
  const std::complex<double> own = envelope / responses_[k];
  const COrderTracker::Point point{place, std::abs(own), std::arg(own) * 180 / std::numbers::pi};
  if (!HadMemory([&] { tracks_[c * orders_.size() + k].push_back(point); })) complete_ = false;
}

}  // namespace umlauf::orders
