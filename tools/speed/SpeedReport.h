#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "umlauf/rotation/GapCorrection.h"
#include "umlauf/rotation/Revolutions.h"
#include "umlauf/rotation/SpeedComparison.h"
#include "umlauf/rotation/SpeedSummary.h"
#include "umlauf/rotation/SwingSource.h"
#include "umlauf_io/RecordingFailure.h"

namespace umlauf::tool {

/// All that was found out about the speed in a recording.
struct SpeedReport {
  /// Of an analogue tacho signal.
  struct Thresholds {
    float upper = 0, lower = 0;
    bool automaticUpper = false, automaticLower = false;
    std::string settings;             ///< the detector's settings line
    std::optional<SwingScale> scale;  ///< set: the thresholds hold on the scale of each swing
  };
  /// Of an encoder stream.
  struct Encoder {
    unsigned mode = 0;
    std::string word;  ///< the part of each word that was used: high, low or whole
    std::uint64_t errorBits = 0;
  };

  std::string recording;
  std::string channel;         ///< for people
  unsigned channelNumber = 0;  ///< from 1, that of the column of a table; 0 = none
  unsigned channels = 0;       ///< of the recording
  double sampleRate = 0;       ///< [samples/s]
  double duration = 0;         ///< [s]
  std::optional<Thresholds> thresholds;
  std::optional<Encoder> encoder;
  std::string list;  ///< "edges" or "levels": no samples, but a list of such; empty = samples
  const CPulseCounts* counts = nullptr;
  const CRevolutions* revolutions = nullptr;
  const CGapCorrection* gap = nullptr;      ///< null without --gap
  const CSpeedComparison* truth = nullptr;  ///< null without --truth
  RecordingWarnings warnings;               ///< what is doubtful about recording or speed

  /// One object, keys as in docs/tool.md.
  std::string Json() const;
  /// A short table for people.
  std::string Table() const;
  /// A row of a table of several.
  std::vector<std::string> Row() const;
  static std::vector<std::string> RowHeader();
};

}  // namespace umlauf::tool
