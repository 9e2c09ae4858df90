#pragma once

#include <span>

#include "umlauf/platform/framework/CString.h"

namespace umlauf {

/// Fills the texts from this library's string table in the language in use: id `first` and those that follow.
/// Texts that are not there become empty.
void LoadTexts(unsigned first, std::span<CString> texts);

}  // namespace umlauf
