#pragma once

#include <string>
#include <vector>

#include "tools/plot/PlotTypes.h"

namespace umlauf::tool {

/// Amplitude and phase over the same x.
struct PlotTransfer {
  std::string title;
  std::vector<PlotPoint> amplitude;
  std::vector<PlotPoint> phase;  ///< [degrees], of any turn
};

/// Two panels: amplitudes above, phases from -180 to 180 degrees below, where a line breaks instead of
/// crossing the picture.
Plot AmplitudePhasePlot(const std::string& title, const std::string& xLabel,
                        const std::string& amplitudeLabel, const std::vector<PlotTransfer>& transfers);

}  // namespace umlauf::tool
