#pragma once

#include <complex>
#include <vector>

#include "umlauf/orders/internal/OrderFit.h"
#include "umlauf/orders/internal/TrackMaker.h"

namespace umlauf::orders {

/// Orders by least squares in overlapping windowed segments. Those in which the shaft turns back are left
/// out.
class SegmentTracks : public TrackMaker {
 public:
  SegmentTracks(const OrderTrackSettings& settings, const AngleGrid& grid, unsigned channels,
                const CPulseTrain& pulses, const CSpectrumWindow& window, std::size_t step);
  void Take(const float* frames, const CShaftAngle::Passing* passed, std::size_t n) override;
  bool IsValid() const override { return fit_.IsValid() && TrackMaker::IsValid(); }
  std::size_t Length() const override { return fit_.Length(); }

 private:
  void Segment();

  OrderFit fit_;
  std::vector<std::complex<double>> amplitudes_;
  std::size_t next_ = 0;  ///< begin of the next segment in what is held
};

}  // namespace umlauf::orders
