#pragma once

#include <string>

#include "tools/GapCorrection.h"
#include "tools/SpeedResults.h"

namespace umlauf::tool {

/// All that `umlauf speed` found out about a recording.
struct SpeedReport {
  std::string recording, channel;
  double sampleRate = 0;  ///< [samples/s]
  double duration = 0;    ///< [s]
  float upper = 0, lower = 0;
  bool automaticUpper = false, automaticLower = false;
  std::string settings;
  const PulseCounts* counts = nullptr;
  const Revolutions* revolutions = nullptr;
  const GapCorrection* gap = nullptr;      ///< null without --gap
  const TruthComparison* truth = nullptr;  ///< null without --truth

  /// One object, keys as in docs/tool.md.
  std::string Json() const;
  /// A short table for people.
  std::string Table() const;
};

}  // namespace umlauf::tool
