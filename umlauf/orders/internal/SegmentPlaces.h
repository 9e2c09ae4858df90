#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/orders/ShaftPlace.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::orders {

/// The speed over the revolution around a place, or as much of it as a segment has: free of what the teeth of
/// a wheel do to single pulses.
inline std::size_t HalfTurn(double steps, std::size_t length) {
  return std::max<std::size_t>(1, std::min(numeric::trunc_sat<std::size_t>(steps / 2), length / 2));
}
inline double SpeedBetween(const ShaftAxis& shaft, const CShaftAngle::Passing& a,
                           const CShaftAngle::Passing& b) {
  const double turns = static_cast<double>(b.count - a.count) / shaft.stepsPerRevolution;
  return b.position > a.position ? 60 * shaft.rate * turns / (b.position - a.position) : 0;
}

/// The places of the middles of segments, from the places of all frames.
class SegmentPlaces {
 public:
  SegmentPlaces(const ShaftAxis& shaft, std::size_t length, std::size_t step)
      : shaft_(shaft), half_(HalfTurn(shaft.stepsPerRevolution, length)), step_(step), middle_(length / 2) {}

  /// Takes the places of the next n frames. False when there was no memory for a row.
  bool Take(const CShaftAngle::Passing* places, std::size_t n) {
    return HadMemory([&] {
      for (std::size_t i = 0; i < n; ++i) Take(places[i]);
    });
  }
  /// All whose middle was passed; those of complete segments have their speed.
  const std::vector<ShaftPlace>& Found() const { return found_; }

 private:
  void Take(const CShaftAngle::Passing& place) {
    const std::uint64_t before = middle_ - half_;
    if (frame_ >= before && (frame_ - before) % step_ == 0) begins_.push_back(place);
    if (frame_ >= middle_ && (frame_ - middle_) % step_ == 0) found_.push_back(shaft_.Place(place));
    if (frame_ + 1 >= middle_ + half_ && (frame_ + 1 - middle_ - half_) % step_ == 0) {
      const CShaftAngle::Passing& begin = begins_[ended_ - forgotten_];
      found_[ended_++].rpm = SpeedBetween(shaft_, begin, place);
      if (ended_ - forgotten_ >= 1024) {
        begins_.erase(begins_.begin(), begins_.begin() + static_cast<std::ptrdiff_t>(ended_ - forgotten_));
        forgotten_ = ended_;
      }
    }
    ++frame_;
  }

  ShaftAxis shaft_;
  std::size_t half_, step_, middle_;
  std::uint64_t frame_ = 0;
  std::vector<ShaftPlace> found_;
  std::vector<CShaftAngle::Passing> begins_;
  std::size_t ended_ = 0, forgotten_ = 0;
};

}  // namespace umlauf::orders
