#include "tools/output/SpectrumReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <nlohmann/json.hpp>

#include "tools/plot/PlotTrace.h"
#include "umlauf/algorithms/CurveFeatures.h"
#include "umlauf/spectrum/OctaveBands.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {
namespace {

constexpr std::size_t mostPeaks = 10;

/// Frequency and value of a line of the result.
using Line = PlotPoint;

double Frequency(const CSigCurve& spectrum, std::size_t k) {
  return static_cast<double>(k) *
         (static_cast<double>(spectrum.XMax()) - static_cast<double>(spectrum.XMin())) /
         static_cast<double>(spectrum.DLen());
}

/// The number by which the band with this middle goes.
int BandNumber(double middle, unsigned perOctave) {
  const double steps = std::log10(middle / 1000) / 0.3 * perOctave;
  return static_cast<int>(std::lround(perOctave % 2 == 1 ? steps : steps - 0.5));
}

std::vector<Line> Lines(const SpectrumReport& report) {
  std::vector<Line> lines;
  if (report.bandsPerOctave > 0) {
    for (std::size_t i = 0; i < report.bands.NPaare(); ++i) {
      const int band = BandNumber(static_cast<double>(report.bands.Punkt(i)), report.bandsPerOctave);
      lines.push_back({OctaveBands::NominalMiddle(band, report.bandsPerOctave),
                       static_cast<double>(report.bands.Wert(i))});
    }
  } else {
    for (std::size_t k = 0; k < report.spectrum.DLen(); ++k) {
      lines.push_back({Frequency(report.spectrum, k), static_cast<double>(report.spectrum.FData()[k])});
    }
  }
  return lines;
}

/// The greatest lines, each with nothing greater beside it.
std::vector<Line> Peaks(const SpectrumReport& report) {
  CAlignedMem<CurvePeak> peaks;
  CurveFeatures::Peaks(report.spectrum, {.distance = 2 * report.noiseBandwidth}, peaks);
  std::sort(peaks.begin(), peaks.end(), [](const CurvePeak& a, const CurvePeak& b) { return a.y > b.y; });
  std::vector<Line> lines;
  for (std::size_t i = 0; i < std::min<std::size_t>(peaks.size(), mostPeaks); ++i) {
    lines.push_back({static_cast<double>(peaks[i].x), static_cast<double>(peaks[i].y)});
  }
  return lines;
}

nlohmann::ordered_json ListOf(const std::vector<Line>& lines) {
  auto list = nlohmann::ordered_json::array();
  for (const Line& line : lines) list.push_back({{"frequency_hz", line.x}, {"value", line.y}});
  return list;
}

std::string UnitText(const SpectrumReport& report) {
  if (report.scaling != SpectrumScaling::Density || report.bandsPerOctave > 0) return report.unit;
  return report.unit.empty() ? "1/Hz" : fmt::format("({})²/Hz", report.unit);
}

}  // namespace

std::string SpectrumReport::ValueName() const {
  if (reference) return "level_db";
  if (bandsPerOctave > 0 || scaling == SpectrumScaling::Effective) return "effective";
  return scaling == SpectrumScaling::Density ? "density" : "amplitude";
}

std::string SpectrumReport::ValueLabel() const {
  if (reference) {
    const bool density = scaling == SpectrumScaling::Density && bandsPerOctave == 0;
    const std::string one = fmt::format("{:g}{}{}", *reference, unit.empty() ? "" : " ", unit);
    return fmt::format("level in dB re {}", density ? "(" + one + ")²/Hz" : one);
  }
  const std::string name = ValueName() == "effective" ? "effective value" : ValueName();
  const std::string text = UnitText(*this);
  return name + (text.empty() ? " (no unit)" : " in " + text);
}

std::string SpectrumReport::Json() const {
  nlohmann::ordered_json json;
  json["recording"] = recording;
  json["channel"] = nullptr;
  if (channelNumber > 0) json["channel"] = channelNumber;
  json["channels"] = channels;
  json["sample_rate_hz"] = sampleRate;
  json["duration_s"] = static_cast<double>(frames) / sampleRate;
  json["window"] = window;
  json["length"] = settings.length;
  json["step"] = settings.step;
  json["segments"] = segments;
  json["segments_left_out"] = leftOut;
  json["resolution_hz"] = sampleRate / static_cast<double>(settings.length);
  json["noise_bandwidth_hz"] = noiseBandwidth;
  json["weighting"] = weighting;
  json["unit"] = unit;
  json["effective"] = effective;
  json["reference"] = nullptr;
  if (reference) json["reference"] = *reference;
  json["value"] = ValueName();
  if (bandsPerOctave > 0) {
    json["bands_per_octave"] = bandsPerOctave;
    json["bands"] = ListOf(Lines(*this));
  } else {
    json["peaks"] = ListOf(Peaks(*this));
    json["spectrum"] = {{"frequency_hz", nlohmann::json::array()}, {"value", nlohmann::json::array()}};
    for (const Line& line : Lines(*this)) {
      json["spectrum"]["frequency_hz"].push_back(line.x);
      json["spectrum"]["value"].push_back(line.y);
    }
  }
  json["warnings"] = nlohmann::ordered_json::array();
  for (const RecordingWarning& each : warnings) {
    json["warnings"].push_back({{"code", each.code}, {"text", each.text.ToUtf8()}});
  }
  return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string SpectrumReport::Table() const {
  fmt::memory_buffer text;
  const auto print = [&]<class... Args>(fmt::format_string<Args...> format, Args&&... args) {
    fmt::format_to(std::back_inserter(text), format, std::forward<Args>(args)...);
  };
  const std::string in = unit.empty() ? "" : " " + unit;
  print("recording   {}\n            {}, {:g} samples/s, {:.3f} s\n", recording, channel, sampleRate,
        static_cast<double>(frames) / sampleRate);
  print("segments    {} of {} samples ({:.4g} s), every {}; {} window\n", segments, settings.length,
        static_cast<double>(settings.length) / sampleRate, settings.step, window);
  print("resolution  {:.6g} Hz, noise bandwidth {:.6g} Hz\n",
        sampleRate / static_cast<double>(settings.length), noiseBandwidth);
  print("effective   {:.6g}{}{}", effective, in, weighting == "z" ? "" : ", weighted by " + weighting);
  if (reference) print(", {:.2f} dB re {:g}{}", 20 * std::log10(effective / *reference), *reference, in);
  print("\n{:<12}{:>12}  {}\n", bandsPerOctave > 0 ? "bands" : "peaks", "Hz", ValueLabel());
  for (const Line& line : bandsPerOctave > 0 ? Lines(*this) : Peaks(*this)) {
    print("{:<12}{:>12.6g}  {:.6g}\n", "", line.x, line.y);
  }
  return fmt::to_string(text);
}

void SpectrumReport::WriteCsv(OutputFile& out) const {
  out.Print("frequency_hz,{}\n", ValueName());
  for (const Line& line : Lines(*this)) out.Print("{:.9g},{:.9g}\n", line.x, static_cast<float>(line.y));
}

Plot SpectrumReport::Picture() const {
  Plot plot{recording, "frequency in Hz", {{ValueLabel(), {}}}};
  PlotPanel& panel = plot.panels.front();
  // Levels are logarithms; other values span as many decades as these.
  panel.logarithmic = !reference;
  PlotTrace trace;
  if (bandsPerOctave > 0) {
    plot.logarithmicX = true;
    for (std::size_t i = 0; i < bands.NPaare(); ++i) {
      const OctaveBands::Band band = OctaveBands::BandAt(
          BandNumber(static_cast<double>(bands.Punkt(i)), bandsPerOctave), bandsPerOctave);
      trace.Add(band.lower, static_cast<double>(bands.Wert(i)));
      trace.Add(band.upper, static_cast<double>(bands.Wert(i)));
    }
  } else {
    for (const Line& line : Lines(*this)) trace.Add(line.x, line.y);
  }
  panel.series.push_back({.title = "", .points = trace.Points(), .reduced = trace.reduced(), .whole = true});
  return plot;
}

}  // namespace umlauf::tool
