#pragma once

#include <string>

#include "tools/FilePath.h"
#include "tools/output/OutputFile.h"
#include "tools/plot/PlotTrace.h"
#include "tools/plot/PlotTypes.h"
#include "umlauf_io/RecordingFailure.h"

namespace umlauf::tool {

/// Refuses names that end neither in .svg nor in .png, before any work is done for them.
void CheckPlotName(const std::string& option, const FilePath& target);

/// What is doubtful in words, for the caption of a picture.
std::string CaptionOf(const RecordingWarnings& warnings);
/// Tells what is doubtful below a picture over time, and shades where that is.
void MarkDoubts(const RecordingWarnings& warnings, Plot& plot);

/// Draws through gnuplot into `out` (SVG or PNG by its name); does not commit it. Throws ToolError when
/// gnuplot is missing or fails, when the picture did not get onto the disk whole, or for a map without
/// levels.
void DrawPlot(const Plot& plot, OutputFile& out);
void DrawPlot(const PlotMap& map, OutputFile& out);

}  // namespace umlauf::tool
