#pragma once

#include <cstdint>
#include <vector>

#include "umlauf/orders/VoldKalman.h"
#include "umlauf/orders/internal/TrackMaker.h"

namespace umlauf::orders {

/// Orders by a Vold-Kalman filter, stretch after stretch: what the ends of one do to the envelopes is over
/// within six times 1 / bandwidth, and is left to the stretches beside it.
class EnvelopeTracks : public TrackMaker {
 public:
  static bool CanFollow(const OrderTrackSettings& settings, const AngleGrid& grid);
  /// `step` from point to point.
  EnvelopeTracks(const OrderTrackSettings& settings, const AngleGrid& grid, unsigned channels,
                 const CPulseTrain& pulses, std::size_t step);
  void Take(const float* frames, const CShaftAngle::Passing* passed, std::size_t n) override;
  void Finish() override;
  std::size_t Length() const override { return length_; }

 private:
  void Solve(std::size_t from, std::size_t to);

  CVoldKalman filter_;
  std::size_t length_;   ///< 1 / bandwidth
  std::size_t overlap_;  ///< of stretches, on either side
  std::vector<double> phases_;
  std::uint64_t begin_ = 0, next_ = 0;  ///< frames in front of what is held; that of the next point
};

}  // namespace umlauf::orders
