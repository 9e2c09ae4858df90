#include "tools/output/OrdersPictures.h"

#include <fmt/format.h>

#include <cmath>

#include "tools/output/UnitText.h"
#include "tools/plot/AmplitudePhase.h"
#include "tools/plot/SeriesColours.h"

namespace umlauf::tool {
namespace {

/// As "level in dB re 1e-06 m/s²".
std::string LevelLabel(const CMeasuringUnit& unit) {
  if (!unit.is_db()) return AxisLabel(unit, "value");
  CMeasuringUnit plain(unit);
  plain.set_db(false);
  return fmt::format("level in dB re {:g} {}", unit.logref(), plain.empty() ? "" : UnitText(plain));
}

PlotSeries OrderLine(double order) {
  PlotSeries line;
  line.title = fmt::format("{:g}", order);
  line.colour = "#ffffff";
  line.dash = 2;
  return line;
}

}  // namespace

PlotMap MapPicture(const CSigCurveArray& map, const std::string& title, const std::vector<double>& orders,
                   const MapAxis& axis, const std::vector<ShaftPlace>& places) {
  PlotMap picture;
  picture.title = title;
  const CSigCurveExt& first = map[0];
  const bool overFrequency = first.XUnit() == CMeasuringUnit::hertz;
  picture.xLabel = overFrequency ? AxisLabel(first.XUnit(), "frequency") : "order";
  picture.yLabel = AxisLabel(map.ArrayUnit(), "row");
  picture.levelLabel = LevelLabel(first.YUnit());
  const auto step = static_cast<double>(first.XDelta());
  for (std::size_t k = 0; k < first.DLen(); ++k) picture.x.push_back(step * static_cast<double>(k));
  for (const auto& row : map) {
    picture.y.push_back(static_cast<double>(row->Date()));
    picture.levels.insert(picture.levels.end(), row->FData(), row->FData() + row->DLen());
  }
  for (const double order : orders) {
    PlotSeries line = OrderLine(order);
    if (overFrequency && axis.kind != MapAxis::Kind::speed) {
      for (const ShaftPlace& each : places) {
        line.points.push_back({order * std::abs(each.rpm) / 60, axis.Of(each)});
      }
    } else {
      for (const double y : {picture.y.front(), picture.y.back()}) {
        line.points.push_back({overFrequency ? order * y / 60 : order, y});
      }
    }
    picture.lines.push_back(std::move(line));
  }
  return picture;
}

Plot SpectrumPicture(const std::vector<CSigCurve>& spectra, const std::vector<std::string>& channels) {
  Plot plot{"order spectrum over all revolutions", "order", {{LevelLabel(spectra.front().YUnit()), {}}}};
  for (std::size_t i = 0; i < spectra.size(); ++i) {
    PlotSeries series;
    if (spectra.size() > 1) series.title = channels[i];
    for (std::size_t k = 0; k < spectra[i].DLen(); ++k) {
      series.points.push_back({static_cast<double>(spectra[i].GetPoint(static_cast<std::int64_t>(k))),
                               static_cast<double>(spectra[i].FData()[k])});
    }
    DistinctLook(series, i);
    plot.panels.front().series.push_back(std::move(series));
  }
  return plot;
}

Plot TracksPicture(const COrderTracker& tracks, const std::vector<double>& orders,
                   const std::vector<std::string>& channels, const CMeasuringUnit& unit,
                   const std::vector<double>& factors) {
  std::vector<PlotTransfer> transfers;
  for (unsigned c = 0; c < channels.size(); ++c) {
    for (std::size_t i = 0; i < orders.size(); ++i) {
      PlotTransfer transfer;
      transfer.title = fmt::format("order {:g}", orders[i]);
      if (channels.size() > 1) transfer.title += ", " + channels[c];
      for (const COrderTracker::Point& point : tracks.Track(c, i)) {
        transfer.amplitude.push_back({point.place.rpm, factors[i] * point.amplitude});
        transfer.phase.push_back({point.place.rpm, point.phase});
      }
      transfers.push_back(std::move(transfer));
    }
  }
  return AmplitudePhasePlot("", "speed in rpm", AxisLabel(unit, "amplitude"), transfers);
}

}  // namespace umlauf::tool
