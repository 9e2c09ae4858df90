#include "tools/output/OrdersOutputs.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <span>

#include "tools/Error.h"
#include "tools/input/SignalFile.h"
#include "tools/output/Console.h"
#include "tools/output/Json.h"
#include "tools/output/UnitText.h"
#include "tools/pictures/OrdersPictures.h"
#include "tools/pictures/Plot.h"
#include "umlauf/spectrum/SpectrumLevels.h"

namespace umlauf::tool {
namespace {

void Open(std::optional<OutputFile>& file, const std::string& name) {
  if (!name.empty()) file.emplace(name);
}

void Check(bool had) {
  if (!had) Fail("there is no memory for the results");
}

/// From the peak of a track to what is wanted.
double AmplitudeFactor(const OrdersOptions& options) { return options.rms ? std::sqrt(0.5) : 1; }

void WriteCsv(const OrdersOptions& options, const COrderAnalysis& analysis, OutputFile& out) {
  out.Print("channel,order,time_s,revolution,rpm,amplitude,phase_deg\n");
  const auto& orders = options.analysis.tracks.orders;
  for (unsigned c = 0; c < analysis.Channels(); ++c) {
    for (std::size_t i = 0; i < orders.size(); ++i) {
      for (const COrderTracker::Point& point : analysis.Tracks()->Track(c, i)) {
        out.Print("{},{},{},{},{},{},{}\n", c + 1, orders[i], point.place.time, point.place.revolution,
                  point.place.rpm, AmplitudeFactor(options) * point.amplitude, point.phase);
      }
    }
    if (!options.overall) continue;
    const std::span<const float> powers = analysis.Map()->RowPowers(c);
    for (std::size_t i = 0; i < powers.size(); ++i) {
      const ShaftPlace& place = analysis.Map()->Rows()[i];
      out.Print("{},,{},{},{},{},\n", c + 1, place.time, place.revolution, place.rpm, std::sqrt(powers[i]));
    }
  }
}

nlohmann::ordered_json EmptyTrack(unsigned c, std::initializer_list<const char*> lists) {
  nlohmann::ordered_json track;
  track["channel"] = c + 1;
  for (const char* list : lists) track[list] = nlohmann::ordered_json::array();
  return track;
}

nlohmann::ordered_json TracksJson(const OrdersOptions& options, const COrderAnalysis& analysis) {
  auto tracks = nlohmann::ordered_json::array();
  const auto& orders = options.analysis.tracks.orders;
  for (unsigned c = 0; c < analysis.Channels() && analysis.Tracks() != nullptr; ++c) {
    for (std::size_t i = 0; i < orders.size(); ++i) {
      auto track = EmptyTrack(c, {"order", "time_s", "rpm", "amplitude", "phase_deg"});
      track["order"] = orders[i];
      for (const COrderTracker::Point& point : analysis.Tracks()->Track(c, i)) {
        track["time_s"].push_back(point.place.time);
        track["rpm"].push_back(point.place.rpm);
        track["amplitude"].push_back(AmplitudeFactor(options) * point.amplitude);
        track["phase_deg"].push_back(point.phase);
      }
      tracks.push_back(std::move(track));
    }
  }
  return tracks;
}

nlohmann::ordered_json OverallJson(const COrderAnalysis& analysis, const MapScale& scale) {
  auto channels = nlohmann::ordered_json::array();
  for (unsigned c = 0; c < analysis.Channels(); ++c) {
    auto track = EmptyTrack(c, {"time_s", "rpm", "rms", "level_db"});
    const std::span<const float> powers = analysis.Map()->RowPowers(c);
    for (std::size_t i = 0; i < powers.size(); ++i) {
      track["time_s"].push_back(analysis.Map()->Rows()[i].time);
      track["rpm"].push_back(analysis.Map()->Rows()[i].rpm);
      track["rms"].push_back(std::sqrt(powers[i]));
      track["level_db"].push_back(scale.Value(static_cast<double>(powers[i]), 1, false));
    }
    channels.push_back(std::move(track));
  }
  return channels;
}

nlohmann::ordered_json CombJson(const OrdersOutputs::CombResult& comb) {
  nlohmann::ordered_json json;
  for (const char* list : {"time_s", "rpm", "confidence"}) json[list] = nlohmann::ordered_json::array();
  for (std::size_t i = 0; i < comb.rpm.DLen(); ++i) {
    json["time_s"].push_back(comb.rpm.GetPoint(static_cast<std::int64_t>(i)));
    json["rpm"].push_back(comb.rpm.FData()[i]);
    json["confidence"].push_back(comb.confidence.FData()[i]);
  }
  json["lost"] = nlohmann::ordered_json::array();
  for (const auto& each : comb.trust.lost)
    json["lost"].push_back({comb.startTime + each.from, comb.startTime + each.to});
  json["rival"] = comb.trust.rival;
  return json;
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

std::string Json(const OrdersOptions& options, const COrderAnalysis& analysis, const MapScale& scale,
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
  json["method"] =
      options.analysis.tracks.method == OrderTrackSettings::Method::segments ? "segments" : "vold-kalman";
  json["tracks"] = TracksJson(options, analysis);
  if (options.overall) {
    json["reference"] = *scale.reference;
    json["overall"] = OverallJson(analysis, scale);
  }
  if (about.comb) json["speed"] = CombJson(*about.comb);
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
                      AmplitudeFactor(options) * top.amplitude, top.place.rpm, top.place.time));
    }
  }
  for (unsigned c = 0; c < analysis.Channels() && options.overall; ++c) {
    const std::span<const float> powers = analysis.Map()->RowPowers(c);
    const auto top =
        static_cast<std::size_t>(std::max_element(powers.begin(), powers.end()) - powers.begin());
    row("all orders", fmt::format("{}greatest rms {:.4g} at {:.0f} rpm, {:.2f} s",
                                  about.channels.size() > 1 ? about.channels[c] + ": " : "",
                                  std::sqrt(powers[top]), rows[top].rpm, rows[top].time));
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

void DrawSpeed(const OrdersOutputs::About& about, OutputFile& out) {
  if (out.target().extension() == ".usig") return WriteSignalFile(about.comb->rpm, out);
  Plot plot = CombPicture(about.comb->rpm, about.comb->confidence);
  MarkDoubts(about.warnings, plot);
  DrawPlot(plot, out);
}

template <class Picture>
void DrawWithDoubts(Picture picture, const OrdersOutputs::About& about, OutputFile& out) {
  picture.caption = CaptionOf(about.warnings);
  DrawPlot(picture, out);
}

}  // namespace

OrdersOutputs::OrdersOutputs(const OrdersOptions& options) : options_(options) {
  Open(map_, options.map);
  Open(frequencyMap_, options.frequencyMap);
  Open(spectrum_, options.spectrum);
  Open(plot_, options.plot);
  Open(average_, options.average);
  Open(speed_, options.speed);
  Open(csv_, options.csv);
  Open(signal_, options.signal);
}

void OrdersOutputs::Publish(const COrderAnalysis& analysis, const About& about) {
  MapScale scale;
  scale.unit = about.unit;
  scale.reference = options_.reference.value_or(SpectrumLevels::StandardReference(about.unit));
  const std::vector<double>& orders = options_.analysis.tracks.orders;
  const MapAxis& axis = options_.analysis.map.axis;
  const std::vector<ShaftPlace>& places = analysis.Map()->Rows();
  if (map_ || signal_) {
    CSigCurveArray map;
    Check(analysis.Map()->Map(0, scale, map));
    map.SetName(CString::FromUtf8("orders, " + about.channels[0]).GetString());
    if (map_) DrawWithDoubts(MapPicture(map, about.channels[0], orders, axis, places), about, *map_);
    if (signal_) WriteSignalFile(map, *signal_);
  }
  if (frequencyMap_) {
    CSigCurveArray map;
    Check(analysis.Frequencies()->Map(0, scale, map));
    DrawWithDoubts(MapPicture(map, about.channels[0], orders, axis, places), about, *frequencyMap_);
  }
  if (spectrum_) {
    std::vector<CSigCurve> spectra(analysis.Channels());
    for (unsigned c = 0; c < analysis.Channels(); ++c) Check(analysis.Map()->Spectrum(c, scale, spectra[c]));
    DrawWithDoubts(SpectrumPicture(spectra, about.channels), about, *spectrum_);
  }
  if (plot_) {
    const TracksLook look{about.channels, about.unit, AmplitudeFactor(options_), options_.overall};
    DrawWithDoubts(TracksPicture(analysis, orders, look), about, *plot_);
  }
  if (average_) DrawAverage(analysis, about, *average_);
  if (speed_) DrawSpeed(about, *speed_);
  if (csv_) WriteCsv(options_, analysis, *csv_);
  for (std::optional<OutputFile>* each :
       {&map_, &frequencyMap_, &spectrum_, &plot_, &average_, &speed_, &csv_, &signal_}) {
    if (*each) (*each)->Commit();
  }
  if (options_.csv == "-") return;
  WriteOut(options_.json ? Json(options_, analysis, scale, about) : Table(options_, analysis, about));
}

}  // namespace umlauf::tool
