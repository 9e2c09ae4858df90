#pragma once

#include <cstddef>

#include "tools/plot/PlotTypes.h"

namespace umlauf::tool {

/// Colour and dash of the series `index` of several: ten colours, then the same ones dashed and dotted.
void DistinctLook(PlotSeries& series, std::size_t index);

/// Gives the series of a panel their layers: one that covers much of the picture (it swings often and far)
/// lies below those that cover little.
void DenserBelow(PlotPanel& panel);

}  // namespace umlauf::tool
