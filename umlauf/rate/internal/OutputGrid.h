#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::rate {

/// Where the outputs of one block lie, by the rule that all functions with a ratio and a phase share: output
/// j at input position (1 - phase) * ratio + j * ratio, from 0 to nIn inclusive. Positions are formed in
/// double precision from the phase that is handed in, so a block of any length stays inside its samples.
///
/// Phase and ratio have 24 bits, so what is a whole number by the rule can come out a trace below it (ratio
/// 2.5, phase 0.6: 0.99999994 instead of 1). What is whole to within single precision therefore counts as
/// whole.
class OutputGrid {
 public:
  OutputGrid(std::uint64_t nIn, float ratio, float phase) : ratio_(static_cast<double>(ratio)) {
    constexpr double tooMany = 0x1p53;
    const double own = static_cast<double>(nIn) / ratio_, total = own + static_cast<double>(phase);
    valid_ =
        nIn > 0 && std::isfinite(ratio) && ratio > 0.0f && phase >= 0.0f && phase <= 1.0f && total < tooMany;
    if (!valid_) return;
    // Never more than there is room for by the rule.
    count_ = std::min(numeric::trunc_sat<std::uint64_t>(total + Trace(total)),
                      numeric::trunc_sat<std::uint64_t>(own) + 1);
    first_ = (1.0 - static_cast<double>(phase)) * ratio_;
    nextPhase_ = static_cast<float>(std::max(0.0, total - static_cast<double>(count_)));
  }

  /// False for an empty block, a ratio that is not above 0 or not finite, and a phase outside 0 to 1.
  bool Valid() const { return valid_; }
  std::uint64_t Count() const { return count_; }
  float NextPhase() const { return nextPhase_; }
  double Ratio() const { return ratio_; }
  double Position(std::uint64_t j) const { return first_ + static_cast<double>(j) * ratio_; }
  /// Whole samples in a number of samples at or above 0.
  std::uint64_t WholeSamples(double samples) const {
    return numeric::trunc_sat<std::uint64_t>(samples + Trace(samples / ratio_) * ratio_);
  }

 private:
  /// What single precision leaves open about a number of outputs after some blocks; less than a sample.
  double Trace(double outputs) const {
    return std::min(0x1p-21 * std::clamp(outputs, 1.0, 64.0), 0.125 / ratio_);
  }

  double ratio_, first_ = 0.0;
  std::uint64_t count_ = 0;
  float nextPhase_ = 0.0f;
  bool valid_ = false;
};

}  // namespace umlauf::rate
