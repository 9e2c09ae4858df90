#pragma once

#include <optional>

#include "tools/plot/PlotTypes.h"
#include "umlauf/signal/SigCurveArray.h"

namespace umlauf::tool {

/// How a curve array is drawn.
struct ArrayLook {
  PlotMap::Look look = PlotMap::Look::colours;
  bool arrayAxisRight = false;               ///< to the right instead of upward; not for waterfalls
  std::optional<double> from = {}, to = {};  ///< of the curves' x: at or behind the first, before the second
  PlotRange levels = {};  ///< colours beyond it are those of its ends; empty = by the values
  double deepest = 0;     ///< of the values, below the greatest one; 0 = any
};

/// The curves as they lie, on one x axis; what lies outside their spans is left empty, and of several curves
/// at one position the greatest values are shown. Gives the array a common axis. Throws ToolError when there
/// is nothing to draw, or no memory.
PlotMap ArrayPicture(CSigCurveArray& array, const ArrayLook& look);

}  // namespace umlauf::tool
