#pragma once

#include "umlauf/rotation/internal/Share.h"
#include "umlauf/rotation/internal/Swings.h"

namespace umlauf::rotation {

/// Finds the swings that teeth make: those whose number is the same over a range of smallest swings, and
/// which are regular; in the samples as they are, or prepared where that makes them fit better.
Swings FindSwings(const Stretches& stretches);

}  // namespace umlauf::rotation
