#include "tools/pictures/OrdersPictures.h"

#include <fmt/format.h>

#include <cmath>
#include <span>

#include "tools/output/UnitText.h"
#include "tools/plot/AmplitudePhase.h"
#include "tools/plot/SeriesColours.h"

namespace umlauf::tool {
namespace {

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
  picture.xLabel = AxisLabel(first.XUnit(), "order");
  picture.yLabel = AxisLabel(map.ArrayUnit(), "row");
  picture.levelLabel = AxisLabel(first.YUnit(), "value");
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
  Plot plot{
      "order spectrum over all revolutions", "order", {{AxisLabel(spectra.front().YUnit(), "value"), {}}}};
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

Plot TracksPicture(const COrderAnalysis& analysis, const std::vector<double>& orders,
                   const TracksLook& look) {
  std::vector<PlotTransfer> transfers;
  for (unsigned c = 0; c < look.channels.size(); ++c) {
    const std::string of = look.channels.size() > 1 ? ", " + look.channels[c] : "";
    for (std::size_t i = 0; i < orders.size(); ++i) {
      PlotTransfer transfer{fmt::format("order {:g}{}", orders[i], of), {}, {}};
      for (const COrderTracker::Point& point : analysis.Tracks()->Track(c, i)) {
        transfer.amplitude.push_back({point.place.rpm, look.factor * point.amplitude});
        transfer.phase.push_back({point.place.rpm, point.phase});
      }
      transfers.push_back(std::move(transfer));
    }
    if (!look.overall) continue;
    PlotTransfer all{"all orders, rms" + of, {}, {}};
    const std::span<const float> powers = analysis.Map()->RowPowers(c);
    for (std::size_t i = 0; i < powers.size(); ++i) {
      all.amplitude.push_back({analysis.Map()->Rows()[i].rpm, std::sqrt(static_cast<double>(powers[i]))});
    }
    transfers.push_back(std::move(all));
  }
  Plot plot = AmplitudePhasePlot("", "speed in rpm", AxisLabel(look.unit, "amplitude"), transfers);
  if (orders.empty()) plot.panels.pop_back();  // what all orders are together has no phase
  return plot;
}

Plot CombPicture(const CSigCurve& rpm, const CSigCurve& confidence) {
  const auto series = [](const CSigCurve& curve) {
    PlotSeries line;
    for (std::size_t i = 0; i < curve.DLen(); ++i) {
      line.points.push_back({static_cast<double>(curve.GetPoint(static_cast<std::int64_t>(i))),
                             static_cast<double>(curve.FData()[i])});
    }
    return line;
  };
  PlotPanel sure{"confidence", {series(confidence)}};
  sure.range = PlotRange{-0.05, 1.05};
  sure.tickStep = 0.5;
  return {"speed by the orders of the vibration", "time in s", {{"speed in rpm", {series(rpm)}}, sure}};
}

}  // namespace umlauf::tool
