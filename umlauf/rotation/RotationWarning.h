#pragma once

#include <string_view>

#include "umlauf/platform/framework/CString.h"

/// What is doubtful about a result: a code that programs can rely on (small letters and hyphens; a literal)
/// and one sentence for people that says what to try.
struct RotationWarning {
  std::string_view code;
  CString text;
};
