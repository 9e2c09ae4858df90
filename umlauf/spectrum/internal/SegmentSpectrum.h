#pragma once

#include <cmath>
#include <complex>

#include "umlauf/spectrum/RealTransform.h"
#include "umlauf/spectrum/SpectrumSettings.h"

namespace umlauf::spectrum {

/// Whether all samples of a spectrum were finite numbers: any other one is in every bin.
inline bool IsFinite(const float* bins) { return std::isfinite(bins[0]); }

/// The windowed, detrended spectrum of one segment.
class SegmentSpectrum {
 public:
  SegmentSpectrum() = default;
  /// IsValid tells whether there was memory; settings must be valid.
  explicit SegmentSpectrum(const SpectrumSettings& settings);
  bool IsValid() const { return valid_; }

  std::size_t Bins() const { return transform_.Bins(); }
  /// Spectrum of settings.length samples, [Bins()] complex numbers interleaved, until the next call.
  const float* Of(const float* segment);
  const CSpectrumWindow& Window() const { return window_; }

 private:
  SpectrumSettings settings_;
  CSpectrumWindow window_;
  CRealTransform transform_;
  CAlignedMem<float> ramp_;  // −1 … 1, for the line that is taken off
  float perRampSquares_ = 0.0f;
  bool valid_ = false;
};

}  // namespace umlauf::spectrum
