#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "umlauf/orders/OrderTracker.h"
#include "umlauf/platform/basis/CAlignedMem.h"

namespace umlauf::orders {

/// What the ways to follow orders have in common: the last frames channel by channel, and the points that
/// were found. Constructors throw std::bad_alloc without memory.
class TrackMaker {
 public:
  virtual ~TrackMaker() = default;
  /// Takes the next n frames [n, channels] with their places.
  virtual void Take(const float* frames, const CShaftAngle::Passing* passed, std::size_t n) = 0;
  /// No more frames follow.
  virtual void Finish() {}
  virtual bool IsValid() const { return kept_.size() > 0; }
  /// [steps] around which a point lies, and from point to point.
  virtual std::size_t Length() const = 0;
  std::size_t Step() const { return step_; }
  double StepsPerRevolution() const { return shaft_.stepsPerRevolution; }
  /// False when there was no memory to keep a point.
  bool Complete() const { return complete_; }
  const std::vector<COrderTracker::Point>* Track(unsigned c, std::size_t i) const {
    return c < channels_ && i < orders_.size() ? &tracks_[c * orders_.size() + i] : nullptr;
  }
  double Order(std::size_t i) const { return orders_[i]; }

 protected:
  TrackMaker(const OrderTrackSettings& settings, const AngleGrid& grid, unsigned channels,
             const CPulseTrain& pulses, std::size_t capacity, std::size_t step);

  void Put(const float* frames, const CShaftAngle::Passing* passed, std::size_t n);
  void Drop(std::size_t n);
  std::size_t Held() const { return held_; }
  std::size_t Room() const { return places_.size() - held_; }
  const float* Samples(unsigned c) const { return kept_.data() + c * places_.size(); }
  const CShaftAngle::Passing& Passed(std::size_t i) const { return places_[i]; }
  double Revolution(std::size_t i) const { return shaft_.Place(places_[i]).revolution; }
  /// Place of a frame that is held, with the speed of the revolution around it, or of `length` steps.
  ShaftPlace Place(std::size_t i, std::size_t length) const;
  /// Keeps a point of order k in channel c; `envelope` counts from the origin of the angle.
  void Keep(unsigned c, std::size_t k, const ShaftPlace& place, const std::complex<double>& envelope);
  unsigned Channels() const { return channels_; }
  const std::vector<double>& Orders() const { return orders_; }
  void Lose() { complete_ = false; }

 private:
  std::vector<double> orders_;
  std::vector<std::complex<double>> responses_;  ///< [orders] of frames that are means of a step
  std::size_t step_;
  unsigned channels_;
  ShaftAxis shaft_;
  CAlignedMem<float> kept_;  ///< [channels, capacity]
  std::vector<CShaftAngle::Passing> places_;
  std::vector<std::vector<COrderTracker::Point>> tracks_;
  std::size_t held_ = 0;
  bool complete_ = true;
};

}  // namespace umlauf::orders
