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

/// How tracks are drawn.
struct TracksLook {
  const std::vector<std::string>& channels;
  CMeasuringUnit unit;
  double factor = 1;     ///< of the amplitudes
  bool overall = false;  ///< the effective value of all orders beside them
};
/// Amplitude and phase of all tracks of all channels over speed.
Plot TracksPicture(const COrderAnalysis& analysis, const std::vector<double>& orders, const TracksLook& look);

/// Speed that was found without a tacho, and its confidence, over time.
Plot CombPicture(const CSigCurve& rpm, const CSigCurve& confidence);

}  // namespace umlauf::tool
