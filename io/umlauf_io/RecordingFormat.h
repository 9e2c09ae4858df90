#pragma once

#include <optional>
#include <string>
#include <vector>

#include "umlauf/platform/framework/CString.h"

/// Samples of a file without a header, little-endian.
enum class RawSamples { f32, i16, i32, u32 };

/// How a recording is to be read. What is not set is found in the recording, or is not wanted.
struct RecordingFormat {
  std::optional<RawSamples> raw;  ///< the file has no header and holds such samples; it needs `rate`, too
  unsigned rawChannels = 1;       ///< of such a file, interleaved; 1 to 65535
  std::optional<double> rate;     ///< [samples/s] of raw samples; for tables in place of their times

  /// Channels of sound and raw files that are wanted, from 1, in this order; empty: all of them.
  std::vector<unsigned> channels;
  /// The same for tables: a name from the header or a number from 2 (the time is column 1), UTF-8.
  std::vector<std::string> columns;
  /// Where neither is given: the first channel alone, of a table column 2.
  bool firstChannelOnly = false;

  /// Only the frames from this time on, and those before this time [s], as the recording counts time.
  std::optional<double> from, to;

  /// Each sample becomes sample * scale + offset, in this unit.
  double scale = 1, offset = 0;
  CString unit;

  /// What can be read only once (a pipe) goes through a temporary file, so that it can be rewound and its
  /// length is known. Without, raw samples and tables of a given rate are read as they come.
  bool rewindable = true;
};
