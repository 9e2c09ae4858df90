#pragma once

#include "umlauf/Export.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurveArray.h"

/// The cross-section of a curve array at an x: a point at the position of every curve whose span holds the x,
/// with name and units. False, without points, when there is no memory.
UMLAUF_API bool SectionAtX(const CSigCurveArray& array, float x, CSigPairs& section);
