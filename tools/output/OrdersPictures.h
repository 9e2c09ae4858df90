#pragma once

#include <string>
#include <vector>

#include "tools/plot/PlotTypes.h"
#include "umlauf/orders/OrderAnalysis.h"

namespace umlauf::tool {

/// A map whose rows are drawn upward, with lines of the given orders: upright over orders, and with the speed
/// of the shaft at the places of the rows over frequencies.
PlotMap MapPicture(const CSigCurveArray& map, const std::string& title, const std::vector<double>& orders,
                   const MapAxis& axis, const std::vector<ShaftPlace>& places);

/// Order spectra of several channels.
Plot SpectrumPicture(const std::vector<CSigCurve>& spectra, const std::vector<std::string>& channels);

/// Amplitude and phase of all tracks of all channels over speed. `factors` are those of their amplitudes.
Plot TracksPicture(const COrderTracker& tracks, const std::vector<double>& orders,
                   const std::vector<std::string>& channels, const CMeasuringUnit& unit,
                   const std::vector<double>& factors);

}  // namespace umlauf::tool
