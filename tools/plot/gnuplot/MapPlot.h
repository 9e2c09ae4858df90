#pragma once

#include <string>

#include "tools/plot/PlotTypes.h"

namespace umlauf::tool {

/// The map as commands and binary data for gnuplot that write a picture, SVG or PNG, to `file`; levels in
/// colours with a colour bar, or as waterfall. A map of any size becomes cells of the picture first. The map
/// must be valid (`IsValid`).
std::string MapPlotScript(const PlotMap& map, bool svg, const std::string& file);

}  // namespace umlauf::tool
