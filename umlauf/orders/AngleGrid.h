#pragma once

#include "umlauf/Export.h"

/// Equal steps of the angle of a shaft, and the orders (multiples of its speed) that they carry.
struct UMLAUF_API AngleGrid {
  double maxOrder = 60;             ///< highest order that counts, above 0
  double stepsPerRevolution = 160;  ///< at least 2 maxOrder; from 2.56 maxOrder on filters are short
  /// [rpm] Slower than this the filters stay as long as they are here: what lies above the highest order may
  /// then come back below it. Memory grows with 1 / slowest; they never span more than 600,000 samples.
  double slowest = 60;
  /// Frames are not the signal at the steps but its means from step to step, as CTorsionalVibration makes
  /// them: `MeanGain` is then made up for.
  bool stepMeans = false;

  /// Whether the numbers are in their ranges.
  bool IsValid() const;
  /// End of the band that is flat to 0.01 dB, as an order: maxOrder where there are 2.56 steps for it, less
  /// down to 0.8 of it with fewer.
  double FlatTo() const;
  /// What the amplitude of an order is multiplied by, below half the steps: 1, or with s steps of a
  /// revolution (πo/s) / sin(πo/s) for means of steps, since the mean of cos over an arc of 2a is smaller by
  /// sin(a) / a.
  double MeanGain(double order) const;

  /// A grid for order spectra of this resolution: at least 2.56 steps for the highest order, and so many that
  /// a segment of 1 / resolution revolutions is a fast transform. Where that is a whole number of
  /// revolutions, the steps of one are a whole number, too.
  static AngleGrid ForSpectra(double maxOrder, double resolution);
};
