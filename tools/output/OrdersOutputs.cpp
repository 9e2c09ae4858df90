#include "tools/output/OrdersOutputs.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "tools/Error.h"
#include "tools/SignalFile.h"
#include "tools/output/Console.h"
#include "tools/output/Json.h"
#include "tools/output/OrdersPictures.h"
#include "tools/output/Plot.h"
#include "tools/output/UnitText.h"
#include "umlauf/orders/TorsionalVibration.h"

namespace umlauf::tool {
namespace {

void Open(std::optional<OutputFile>& file, const std::string& name) {
  if (!name.empty()) file.emplace(name);
}

void Check(bool had) {
  if (!had) Fail("there is no memory for the results");
}

/// Of the amplitude of a track; the speed from edge to edge shows those of a torsional vibration too small.
double AmplitudeFactor(const OrdersOptions& options, double order) {
  const double peak = options.torsional ? CTorsionalVibration(options.pulsesPerRev, 1).Gain(order) : 1;
  return options.rms ? peak * std::sqrt(0.5) : peak;
}

void WriteCsv(const OrdersOptions& options, const COrderAnalysis& analysis, OutputFile& out) {
  out.Print("channel,order,time_s,revolution,rpm,amplitude,phase_deg\n");
  const auto& orders = options.analysis.tracks.orders;
  for (unsigned c = 0; c < analysis.Channels(); ++c) {
    for (std::size_t i = 0; i < orders.size(); ++i) {
      for (const COrderTracker::Point& point : analysis.Tracks()->Track(c, i)) {
        out.Print("{},{},{},{},{},{},{}\n", c + 1, orders[i], point.place.time, point.place.revolution,
                  point.place.rpm, AmplitudeFactor(options, orders[i]) * point.amplitude, point.phase);
      }
    }
  }
}

nlohmann::ordered_json TracksJson(const OrdersOptions& options, const COrderAnalysis& analysis) {
  auto tracks = nlohmann::ordered_json::array();
  const auto& orders = options.analysis.tracks.orders;
  for (unsigned c = 0; c < analysis.Channels() && analysis.Tracks() != nullptr; ++c) {
    for (std::size_t i = 0; i < orders.size(); ++i) {
      nlohmann::ordered_json track;
      track["order"] = orders[i];
      track["channel"] = c + 1;
      for (const char* list : {"time_s", "rpm", "amplitude", "phase_deg"}) {
        track[list] = nlohmann::ordered_json::array();
      }
      for (const COrderTracker::Point& point : analysis.Tracks()->Track(c, i)) {
        track["time_s"].push_back(point.place.time);
        track["rpm"].push_back(point.place.rpm);
        track["amplitude"].push_back(AmplitudeFactor(options, orders[i]) * point.amplitude);
        track["phase_deg"].push_back(point.phase);
      }
      tracks.push_back(std::move(track));
    }
  }
  return tracks;
}

struct SpeedRange {
  double low = HUGE_VAL, high = -HUGE_VAL;
  explicit SpeedRange(const std::vector<ShaftPlace>& rows) {
    for (const ShaftPlace& each : rows) {
      low = std::min(low, each.rpm);
      high = std::max(high, each.rpm);
    }
  }
};

std::string Json(const OrdersOptions& options, const COrderAnalysis& analysis,
                 const OrdersOutputs::About& about) {
  nlohmann::ordered_json json;
  const std::vector<ShaftPlace>& rows = analysis.Map()->Rows();
  const SpeedRange speed(rows);
  json["recording"] = options.recording.path.string();
  json["channels"] = about.channels;
  json["unit"] = UnitText(about.unit);
  json["max_order"] = options.analysis.map.maxOrder;
  json["resolution"] = options.analysis.map.resolution;
  json["spectra"] = rows.size();
  json["rpm"] = {{"min", speed.low}, {"max", speed.high}};
  json["amplitude"] = options.rms ? "rms" : "peak";
  json["tracks"] = TracksJson(options, analysis);
  if (analysis.Average() != nullptr) {
    json["average"] = nlohmann::ordered_json::array();
    for (unsigned c = 0; c < analysis.Channels(); ++c) {
      json["average"].push_back({{"channel", c + 1},
                                 {"revolutions", analysis.Average()->Spans()},
                                 {"rms", analysis.Average()->AverageRms(c)},
                                 {"residual_rms", analysis.Average()->ResidualRms(c)}});
    }
  }
  json["warnings"] = WarningsJson(about.warnings);
  return JsonText(json);
}

std::string Table(const OrdersOptions& options, const COrderAnalysis& analysis,
                  const OrdersOutputs::About& about) {
  std::string text;
  const auto row = [&text](std::string_view name, std::string_view value) {
    fmt::format_to(std::back_inserter(text), "{:<12}{}\n", name, value);
  };
  const std::vector<ShaftPlace>& rows = analysis.Map()->Rows();
  const SpeedRange speed(rows);
  row("recording", options.recording.path.string());
  row("channels", fmt::format("{}", fmt::join(about.channels, "; ")));
  row("speed", fmt::format("{:.1f} ... {:.1f} rpm", speed.low, speed.high));
  row("spectra", fmt::format("{}, orders 0 ... {:g} in steps of {:g}", rows.size(),
                             options.analysis.map.maxOrder, options.analysis.map.resolution));
  const auto& orders = options.analysis.tracks.orders;
  for (unsigned c = 0; c < analysis.Channels() && analysis.Tracks() != nullptr; ++c) {
    for (std::size_t i = 0; i < orders.size(); ++i) {
      const auto track = analysis.Tracks()->Track(c, i);
      if (track.empty()) continue;
      const auto& top = *std::max_element(
          track.begin(), track.end(), [](const auto& a, const auto& b) { return a.amplitude < b.amplitude; });
      row(fmt::format("order {:g}", orders[i]),
          fmt::format("{}greatest {} {:.4g} at {:.0f} rpm, {:.2f} s",
                      about.channels.size() > 1 ? about.channels[c] + ": " : "", options.rms ? "rms" : "peak",
                      AmplitudeFactor(options, orders[i]) * top.amplitude, top.place.rpm, top.place.time));
    }
  }
  for (unsigned c = 0; c < analysis.Channels() && analysis.Average() != nullptr; ++c) {
    row(c == 0 ? "average" : "",
        fmt::format("{:.0f} revolutions, rms {:.4g}, residual {:.4g}", analysis.Average()->Spans(),
                    analysis.Average()->AverageRms(c), analysis.Average()->ResidualRms(c)));
  }
  return text;
}

void DrawAverage(const COrderAnalysis& analysis, const OrdersOutputs::About& about, OutputFile& out) {
  if (out.target().extension() == ".usig") {
    CSigCurve turn;
    Check(analysis.Average()->Average(0, about.unit, turn));
    turn.SetName(L"synchronous average");
    WriteSignalFile(turn, out);
    return;
  }
  std::vector<CSigCurve> turns(analysis.Channels());
  for (unsigned c = 0; c < analysis.Channels(); ++c) {
    Check(analysis.Average()->Average(c, about.unit, turns[c]));
  }
  Plot plot = SpectrumPicture(turns, about.channels);
  plot.title = fmt::format("mean of {:.0f} revolutions", analysis.Average()->Spans());
  plot.xLabel = "angle in revolutions";
  DrawPlot(plot, out);
}

}  // namespace

OrdersOutputs::OrdersOutputs(const OrdersOptions& options) : options_(options) {
  Open(map_, options.map);
  Open(frequencyMap_, options.frequencyMap);
  Open(spectrum_, options.spectrum);
  Open(plot_, options.plot);
  Open(average_, options.average);
  Open(csv_, options.csv);
  Open(signal_, options.signal);
}

void OrdersOutputs::Publish(const COrderAnalysis& analysis, const About& about) {
  MapScale scale;
  scale.unit = about.unit;
  scale.reference = options_.reference.value_or(MapScale::StandardReference(about.unit));
  const std::vector<double>& orders = options_.analysis.tracks.orders;
  const MapAxis& axis = options_.analysis.map.axis;
  const std::vector<ShaftPlace>& places = analysis.Map()->Rows();
  if (map_ || signal_) {
    CSigCurveArray map;
    Check(analysis.Map()->Map(0, scale, map));
    map.SetName(CString::FromUtf8("orders, " + about.channels[0]).GetString());
    if (map_) DrawPlot(MapPicture(map, about.channels[0], orders, axis, places), *map_);
    if (signal_) WriteSignalFile(map, *signal_);
  }
  if (frequencyMap_) {
    CSigCurveArray map;
    Check(analysis.Frequencies()->Map(0, scale, map));
    DrawPlot(MapPicture(map, about.channels[0], orders, axis, places), *frequencyMap_);
  }
  if (spectrum_) {
    std::vector<CSigCurve> spectra(analysis.Channels());
    for (unsigned c = 0; c < analysis.Channels(); ++c) Check(analysis.Map()->Spectrum(c, scale, spectra[c]));
    DrawPlot(SpectrumPicture(spectra, about.channels), *spectrum_);
  }
  if (plot_) {
    std::vector<double> factors;
    for (const double order : orders) factors.push_back(AmplitudeFactor(options_, order));
    DrawPlot(TracksPicture(*analysis.Tracks(), orders, about.channels, about.unit, factors), *plot_);
  }
  if (average_) DrawAverage(analysis, about, *average_);
  if (csv_) WriteCsv(options_, analysis, *csv_);
  for (std::optional<OutputFile>* each :
       {&map_, &frequencyMap_, &spectrum_, &plot_, &average_, &csv_, &signal_}) {
    if (*each) (*each)->Commit();
  }
  if (options_.csv == "-") return;
  WriteOut(options_.json ? Json(options_, analysis, about) : Table(options_, analysis, about));
}

}  // namespace umlauf::tool
