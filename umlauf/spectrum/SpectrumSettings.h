#pragma once

#include <cstddef>

#include "umlauf/spectrum/SpectrumWindow.h"

/// What is taken off each segment before it is windowed.
enum class Detrending { None, Mean, Line };

/// How a signal is cut into segments and these are windowed. As it stands: segments of 4096 samples that
/// overlap by half, Hann window, without their mean.
struct SpectrumSettings {
  std::size_t length = 4096;  ///< samples in a segment, 1 to 2^28; products of 2, 3 and 5 are fast
  std::size_t step = 2048;    ///< samples from segment to segment, 1 to `length`
  WindowShape window = WindowShape::Hann;
  double kaiserBeta = 8.6;  ///< of the Kaiser window
  Detrending detrending = Detrending::Mean;

  /// Whether length and step are in their ranges.
  bool IsValid() const {
    return length >= 1 && length <= std::size_t{1} << 28 && step >= 1 && step <= length;
  }
};
