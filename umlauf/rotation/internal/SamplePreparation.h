#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "umlauf/rotation/SwingSource.h"

namespace umlauf::rotation {

using Preparation = SwingScale::Preparation;

/// Prepares successive samples. Those that are no finite numbers become the one before.
class SamplePreparation {
 public:
  explicit SamplePreparation(const SwingScale& scale)
      : preparation_(scale.preparation), limit_(scale.limit) {}

  /// Appends what becomes of the next n samples, `stride` floats apart. The median lags by one sample.
  void Take(const float* samples, std::size_t n, std::size_t stride, std::vector<float>& out);
  /// Appends what is still missing behind the last sample, so that there are as many as were taken.
  void Finish(std::vector<float>& out);

 private:
  Preparation preparation_;
  float limit_;
  bool any_ = false;
  float before_ = 0, last_ = 0;
  double level_ = 0;
};

/// Whether all samples are finite numbers; false also where their squares are none.
bool AreFinite(std::span<const float> samples);

/// The range of a converter that went round in these samples; 0: none did.
float WrapRange(std::span<const float> samples);

/// A limit for jumps: above all that the signal does by itself, by the distribution of its steps.
float JumpLimit(std::span<const float> samples);

}  // namespace umlauf::rotation
