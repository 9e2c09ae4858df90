#include "tools/plot/AmplitudePhase.h"

#include <cmath>
#include <limits>

#include "tools/plot/SeriesColours.h"

namespace umlauf::tool {
namespace {

/// Into -180 ... 180 degrees, with a break where the nearest way leads over the edge.
std::vector<PlotPoint> Wrapped(const std::vector<PlotPoint>& phase) {
  std::vector<PlotPoint> points;
  for (const PlotPoint& each : phase) {
    const PlotPoint wrapped{each.x, std::remainder(each.y, 360.0)};
    if (!points.empty() && std::abs(wrapped.y - points.back().y) > 180) {
      points.push_back({each.x, std::numeric_limits<double>::quiet_NaN()});
    }
    points.push_back(wrapped);
  }
  return points;
}

}  // namespace

Plot AmplitudePhasePlot(const std::string& title, const std::string& xLabel,
                        const std::string& amplitudeLabel, const std::vector<PlotTransfer>& transfers) {
  Plot plot{title, xLabel, {{amplitudeLabel, {}}, {"phase in °", {}}}};
  for (std::size_t i = 0; i < transfers.size(); ++i) {
    PlotSeries series;
    DistinctLook(series, i);
    series.points = Wrapped(transfers[i].phase);
    plot.panels[1].series.push_back(series);
    series.points = transfers[i].amplitude;
    if (transfers.size() > 1) series.title = transfers[i].title;
    plot.panels[0].series.push_back(series);
  }
  plot.panels[1].range = PlotRange{-190, 190};
  plot.panels[1].tickStep = 90;
  return plot;
}

}  // namespace umlauf::tool
