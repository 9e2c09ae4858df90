#pragma once

#include <cmath>
#include <cstdint>

#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::rate {

/// Where the outputs of one block lie, by the rule that all functions with a ratio and a phase share: output
/// j at input position (1 - phase) * ratio + j * ratio, from 0 to nIn inclusive. Positions are formed in
/// double precision from the phase that is handed in, so a block of any length stays inside its samples.
class OutputGrid {
 public:
  OutputGrid(std::uint64_t nIn, float ratio, float phase) : ratio_(static_cast<double>(ratio)) {
    constexpr double tooMany = 0x1p53;
    const double total = static_cast<double>(nIn) / ratio_ + static_cast<double>(phase);
    valid_ =
        nIn > 0 && std::isfinite(ratio) && ratio > 0.0f && phase >= 0.0f && phase <= 1.0f && total < tooMany;
    if (!valid_) return;
    count_ = numeric::trunc_sat<std::uint64_t>(total);
    first_ = (1.0 - static_cast<double>(phase)) * ratio_;
    nextPhase_ = static_cast<float>(total - static_cast<double>(count_));
  }

  /// False for an empty block, a ratio that is not above 0 or not finite, and a phase outside 0 to 1.
  bool Valid() const { return valid_; }
  std::uint64_t Count() const { return count_; }
  float NextPhase() const { return nextPhase_; }
  double Ratio() const { return ratio_; }
  double Position(std::uint64_t j) const { return first_ + static_cast<double>(j) * ratio_; }

 private:
  double ratio_, first_ = 0.0;
  std::uint64_t count_ = 0;
  float nextPhase_ = 0.0f;
  bool valid_ = false;
};

}  // namespace umlauf::rate
