#pragma once

#include <cstdint>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/internal/FilterKernels.h"
#include "umlauf/rate/DownsamplingInfo.h"

namespace umlauf::rate {

/// The taps of a downsampling filter at one ratio, re-ordered so that those of each phase lie side by side. A
/// kernel table of L coefficients has k taps, `step` table entries apart, and step + 1 phases: phase r
/// belongs to an output that lies r / step behind an input sample.
///
/// Used by one thread at a time. Keeps the last arrangement, which serves every ratio that has its k and
/// step.
class PhasedTaps {
 public:
  /// Taps per output at a ratio, k: ratio / largest ratio * L, rounded, at least 2 and at most L. 0 for a
  /// table of fewer than two coefficients.
  static std::uint32_t Taps(const CDownsamplingInfo& info, float ratio);

  /// Arranges the taps for a ratio. False when the table is too short or there is no memory.
  bool Arrange(const CDownsamplingInfo& info, float ratio);

  /// What `Arrange` arranged. The last of the k taps is not used, so a row has k - 1.
  std::uint32_t Taps() const { return taps_; }
  std::uint32_t Step() const { return step_; }
  /// Outputs after which the phases of the ratio nearly repeat, 0 when they do not.
  std::uint32_t Period() const { return period_; }
  vekta::TapRows Rows() const { return {rows_.data(), stride_, taps_ - 1}; }
  /// The factor on the sums of products that makes the gain at 0 Hz equal to `gain`.
  float Scale(float gain) const { return gain / norm_; }

 private:
  bool Fill(const float* table, std::uint32_t downscale, std::uint32_t start);

  CAlignedMem<float> rows_;
  std::size_t stride_ = 0;
  const float* table_ = nullptr;
  std::uint32_t length_ = 0, downscale_ = 0, taps_ = 0, step_ = 0;
  std::uint32_t period_ = 0;
  float ratio_ = 0.0f;  // that of the period
  float norm_ = 1.0f;
};

}  // namespace umlauf::rate
