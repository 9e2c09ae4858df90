#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/BlockSource.h"
#include "tools/Error.h"
#include "tools/SignalFile.h"
#include "tools/commands/Commands.h"
#include "tools/output/Plot.h"
#include "tools/output/Progress.h"
#include "umlauf/rate/DownsamplingStream.h"
#include "umlauf/signal/SigCurveExt.h"

namespace umlauf::tool {
namespace {

struct PlotOptions {
  std::vector<std::string> inputs;
  RecordingOptions recording;  ///< how those of them that are recordings are read
  std::string output;
};

/// What is drawn of one file.
struct Source {
  std::string file, name;
  std::string xUnit, yUnit;  ///< empty = none
  std::vector<PlotPoint> points;
};

std::string UnitText(const CMeasuringUnit& unit) {
  return unit.empty() ? "" : unit.prefixunit(false).ToUtf8();
}

std::vector<PlotPoint> CurvePoints(const CSigCurve& curve) {
  std::int64_t first = 0, last = static_cast<std::int64_t>(curve.DLen()) - 1;
  if (const auto* extended = dynamic_cast<const CSigCurveExt*>(&curve)) {
    first = std::max(first, extended->IMin());
    last = std::min(last, extended->IMax());
  }
  const double step = static_cast<double>(curve.XDelta()), left = static_cast<double>(curve.XMin());
  PlotTrace trace;
  for (std::int64_t i = first; i <= last; ++i) {
    trace.Add(left + step * static_cast<double>(i), static_cast<double>(curve.FData()[i]));
  }
  return trace.Points();
}

/// In order of x they are reduced to what the picture shows; without order each point counts.
std::vector<PlotPoint> PairsPoints(CSigPairs& pairs) {
  if (pairs.IstInversSortiert() && !pairs.IstSortiert()) pairs.DatenWenden();
  PlotTrace trace;
  std::vector<PlotPoint> points;
  for (std::size_t i = 0; i < pairs.NPaare(); ++i) {
    const PlotPoint point{static_cast<double>(pairs.Punkt(i)), static_cast<double>(pairs.Wert(i))};
    if (pairs.IstSortiert()) {
      trace.Add(point.x, point.y);
    } else if (std::isfinite(point.x) && std::isfinite(point.y)) {
      points.push_back(point);
    }
  }
  return pairs.IstSortiert() ? trace.Points() : points;
}

/// Smallest and greatest sample of each column of the picture.
std::vector<PlotPoint> RecordingPoints(CBlockSource& source) {
  constexpr double columns = 1600;
  constexpr std::size_t blockSize = 65536;
  const double ratio = std::max(1.0, static_cast<double>(source.Frames().value_or(0)) / columns);
  CDownsamplingStream stream(ratio, CDownsamplingStream::Reduction::MinMax);
  if (!stream.IsValid()) Fail("there is no memory to draw a recording");
  std::vector<float> buffer, out(std::max(stream.MaxOutput(blockSize), stream.MaxFlush()));
  std::vector<PlotPoint> points;
  const auto take = [&](std::uint64_t n) {
    for (std::uint64_t i = 0; i < n; ++i) {
      const auto column = static_cast<double>(points.size() / 2);
      const double time = source.StartTime() + (column * ratio + (ratio - 1) / 2) / source.SampleRate();
      points.push_back({time, static_cast<double>(out[i])});
    }
  };
  Progress progress("reading", source.Frames().value_or(0));
  for (SampleBlock block = Read(source, blockSize); block.count > 0; block = Read(source, blockSize)) {
    take(stream.Process(out.data(), Contiguous(block, 1, buffer), block.count));
    progress.Advance(block.count);
  }
  take(stream.Flush(out.data()));
  std::erase_if(points, [](const PlotPoint& point) { return !std::isfinite(point.y); });
  return points;
}

Source ReadRecording(const PlotOptions& options, const std::string& path) {
  RecordingOptions recording = options.recording;
  recording.path = path;
  const std::unique_ptr<CRecordingSource> source = OpenRecording(recording);
  const std::string file = recording.path.filename().string();
  return {file, fmt::format("{}, {}", file, source->ChannelName(0).ToUtf8()), "s", "",
          RecordingPoints(*source)};
}

Source ReadSignal(const std::string& path) {
  const std::unique_ptr<CSignal> signal = ReadSignalFile(path);
  const std::string file = std::filesystem::path(path).filename().string();
  Source source{
      file, CString(signal->Name()).ToUtf8(), UnitText(signal->XUnit()), UnitText(signal->YUnit()), {}};
  if (const auto* curve = dynamic_cast<const CSigCurve*>(signal.get())) source.points = CurvePoints(*curve);
  if (auto* pairs = dynamic_cast<CSigPairs*>(signal.get())) source.points = PairsPoints(*pairs);
  if (source.name.empty()) source.name = file;
  return source;
}

std::string AxisLabel(const char* quantity, const std::string& unit) {
  return unit.empty() ? quantity : unit;
}

/// All of them over each other; a second y unit gets the axis on the right.
Plot Overlay(std::vector<Source> sources) {
  constexpr std::array colours = {"#1f5fa8", "#d9480f", "#2b8a3e", "#862e9c", "#0b7285", "#5c3c10"};
  const std::string xUnit = sources.front().xUnit, leftUnit = sources.front().yUnit;
  std::string rightUnit;
  Plot plot{"", AxisLabel("x", xUnit), {{AxisLabel("y", leftUnit), {}}}};
  PlotPanel& panel = plot.panels.front();
  const bool several = sources.size() > 1;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    Source& each = sources[i];
    if (each.xUnit != xUnit) {
      Fail("the x axes are in {} and {}; draw signals of one x unit", AxisLabel("x", xUnit),
           AxisLabel("x", each.xUnit));
    }
    const bool right = each.yUnit != leftUnit;
    if (right && !panel.rightLabel.empty() && each.yUnit != rightUnit) {
      Fail("the y axes are in {}, {} and {}; draw signals of two y units at most", AxisLabel("y", leftUnit),
           AxisLabel("y", rightUnit), AxisLabel("y", each.yUnit));
    }
    if (right) {
      rightUnit = each.yUnit;
      panel.rightLabel = AxisLabel("y", rightUnit);
    }
    // Signals that were made of each other have one name; their files do not.
    const std::string key = right ? each.file + " (right)" : each.file;
    panel.series.push_back({several ? key : "", PlotSeries::Look::line, colours[i % colours.size()],
                            std::move(each.points), right});
  }
  if (!several) plot.title = sources.front().name;
  return plot;
}

void RunPlot(const PlotOptions& options) {
  CheckPlotName("-o", options.output);
  std::vector<Source> sources;
  for (const std::string& input : options.inputs) {
    CheckOutputPath("-o", options.output, input);
    sources.push_back(IsSignalFile(input) ? ReadSignal(input) : ReadRecording(options, input));
    if (sources.back().points.empty()) Fail("cannot draw {}: it holds no samples", input);
  }
  const Plot plot = Overlay(std::move(sources));
  OutputFile out(options.output);
  DrawPlot(plot, out);
  out.Commit();
}

}  // namespace

void AddPlotCommand(CLI::App& app) {
  auto options = std::make_shared<PlotOptions>();
  CLI::App* command =
      app.add_subcommand("plot", "Draws signal files and recordings, several over each other");
  command->add_option("files", options->inputs, "signal files and recordings")->required();
  DeclareRecordingFormat(*command, options->recording);
  command->add_option("-o,--output", options->output, "picture")->required()->type_name("FILE.svg|.png");
  command->callback([options] { RunPlot(*options); });
}

}  // namespace umlauf::tool
