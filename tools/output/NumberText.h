#pragma once

#include "umlauf_io/NumberText.h"

namespace umlauf::tool {

using io::ParseCount;
using io::ParseNumber;
using io::Trimmed;

}  // namespace umlauf::tool
