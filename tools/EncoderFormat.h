#pragma once

#include "umlauf/encoder/DzPulsTisDetector.h"

namespace umlauf::tool {

/// What a word of an encoder stream tells, by its mode; see CDzPulsTisDetector.
struct EncoderFormat {
  using Mode = CDzPulsTisDetector::ETisMode;

  Mode mode = Mode::tisStandard;

  explicit EncoderFormat(unsigned number) : mode(static_cast<Mode>(number)) {}
  /// Words hold a counter; otherwise edges, in one half of them.
  bool counts() const { return mode != Mode::tisStandard && mode != Mode::tisHighRes; }
  /// Edges or counts for each pulse of the encoder.
  unsigned countsPerPulse() const {
    return mode == Mode::tisQuadratureFourfold || mode == Mode::tisQuadratureFourfoldHighRes ? 4 : 1;
  }
};

}  // namespace umlauf::tool
