#pragma once

#include <string_view>
#include <vector>

#include "umlauf/platform/framework/CString.h"

/// What is doubtful about a result: a code that programs can rely on (small letters and hyphens; a literal)
/// and one sentence for people that says what to try.
struct RotationWarning {
  /// [s] from the first sample of the recording on.
  struct Place {
    double from, to;
  };

  std::string_view code;
  CString text;
  std::vector<Place> places = {};  ///< by rising time; empty: all of the recording, or no place in particular
};
