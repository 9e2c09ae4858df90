#pragma once

#include <string>
#include <utility>
#include <vector>

#include "umlauf/platform/framework/CString.h"

/// What kept a recording from being opened, read or written.
struct RecordingFailure {
  enum class Kind {
    none,
    notThere,        ///< no such file, or a folder
    unreadable,      ///< the system refuses it, or reading broke off
    unknownFormat,   ///< no format that is known here
    badContent,      ///< the format is known, the content is damaged or no recording
    noSuchChannel,   ///< neither a channel nor a column of that number or name
    notEquidistant,  ///< a table whose times do not tell one sample rate
    wrongOption,     ///< the format has no use for something that was asked for, or needs something else
    unwritable,      ///< the place cannot be written, or the format cannot hold the recording
    outOfRange,      ///< a number is beyond what the format can hold
    noMemory
  };

  Kind kind = Kind::none;
  CString text;  ///< one sentence for people, with the name of the file; empty when nothing went wrong

  explicit operator bool() const { return kind != Kind::none; }
};

/// What people should know about a recording that could be read all the same.
struct RecordingWarning {
  std::string code;  ///< for programs: "short-file", "odd-bytes"
  CString text;      ///< one sentence for people, with the name of the file
  /// [s] Times of the recording that it is about, from and to; empty: all of it, or no time in particular.
  std::vector<std::pair<double, double>> places = {};
};

using RecordingWarnings = std::vector<RecordingWarning>;
