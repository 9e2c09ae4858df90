#pragma once

#include <string>

#include "tools/plot/PlotTypes.h"

namespace umlauf::tool {

/// The plot as commands for gnuplot that write a picture, SVG or PNG, to `file`.
std::string LinePlotScript(const Plot& plot, bool svg, const std::string& file);

}  // namespace umlauf::tool
