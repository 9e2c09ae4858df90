#pragma once

#include "umlauf/rate/DownsamplingInfo.h"

namespace umlauf::rate {

/// The built-in low-pass table. Computed at the first call, from any thread, in a few milliseconds.
const CDownsamplingInfo::coefs_t& BuiltInKernel();

}  // namespace umlauf::rate
