#pragma once

#include <cstdint>

#include "umlauf/Export.h"

/// The low-pass kernel of a downsampling filter: a finely sampled table of coefficients, of which a filter
/// takes every step-th one for an input sample. Beside it the factor by which the table is thinned out. A
/// plain value; the coefficients are not owned and outlive everything that was made from them.
class UMLAUF_API CDownsamplingInfo {
 public:
  struct coefs_t {
    const float* coefs;
    std::uint32_t count;
    /// Largest ratio (input samples per output) that the table supports.
    float maxRatio;
  };

  /// The given table; the built-in one for null. A table without coefficients is empty.
  ///
  /// The built-in table has 4440 coefficients for ratios up to 200. Seen from the output's Nyquist frequency
  /// it is 0.1 dB down at 0.64, 3 dB at 0.79, and more than 90 dB from 1.15 on, at the largest ratio of a
  /// step.
  CDownsamplingInfo(const coefs_t* table = nullptr);

  /// Enters the table at every d-th coefficient, which divides the largest ratio by d: fewer taps, for what
  /// they are worth. False, and nothing changes, for 0.
  bool SetDownscale(unsigned d);
  unsigned DownscaleFactor() const { return downscale_; }
  /// Coefficients that the downscale leaves: their number / downscale.
  std::uint32_t FilterLen() const { return count_ / downscale_; }
  /// The whole table; coefficient i of the thinned-out one is `FilterCoefficients()[i * DownscaleFactor()]`.
  const float* FilterCoefficients() const { return coefs_; }
  /// Mean of all coefficients.
  float FilterNorm() const { return norm_; }
  /// Forms that mean anew; the constructor has done so.
  void FilterNormBerechnen();
  /// Largest ratio that is supported: that of the table / downscale.
  float MaxRatio() const { return maxRatio_; }

 private:
  const float* coefs_;
  std::uint32_t count_;
  float tableMaxRatio_;
  float maxRatio_;
  float norm_ = 0.0f;
  std::uint32_t downscale_ = 1;
};
