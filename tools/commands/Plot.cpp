#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/input/RecordingInput.h"
#include "tools/input/SignalFile.h"
#include "tools/output/Progress.h"
#include "tools/output/UnitText.h"
#include "tools/pictures/ArrayPicture.h"
#include "tools/pictures/Plot.h"
#include "tools/plot/Limits.h"
#include "tools/plot/SeriesColours.h"
#include "umlauf/rate/DownsamplingStream.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf/signal/SigCurveExt.h"
#include "umlauf/spectrum/SpectrumLevels.h"
#include "umlauf_io/EdgeListSource.h"

namespace umlauf::tool {
namespace {

struct PlotOptions {
  std::vector<std::string> inputs;
  RecordingOptions recording;  ///< how those of them that are recordings are read
  std::string output;
  bool allValues = false;
  // Of curve arrays
  bool waterfall = false, turned = false;
  std::optional<SpectrumScaling> decibels;
  std::vector<double> levels;  ///< the least and the greatest one

  bool forArrays() const { return waterfall || turned || decibels || !levels.empty(); }
};

/// What is drawn of one file.
struct Source {
  std::string file, name;
  std::string xUnit, yUnit;    ///< empty = none
  std::string xLabel, yLabel;  ///< quantity and unit
  PlotSeries series = {};
  std::uint64_t missing = 0;  ///< values that are no numbers
  bool recording = false;
};

/// Empty without a unit, as that of a recording.
std::string AxisUnit(const CMeasuringUnit& unit) { return unit.empty() ? "" : UnitText(unit); }

/// Whether x lies in the part that --from and --to choose.
bool IsWithin(const RecordingOptions& part, double x) {
  return !(part.from && x < *part.from) && !(part.to && x >= *part.to);
}

void TakeTrace(const PlotTrace& trace, Source& source) {
  source.series.points = trace.Points();
  source.series.reduced = trace.reduced();
  source.missing = trace.missing();
}

void TakeCurve(const CSigCurve& curve, const RecordingOptions& part, Source& source) {
  std::int64_t first = 0, last = static_cast<std::int64_t>(curve.DLen()) - 1;
  if (const auto* extended = dynamic_cast<const CSigCurveExt*>(&curve)) {
    first = std::max(first, extended->IMin());
    last = std::min(last, extended->IMax());
  }
  const double step = static_cast<double>(curve.XDelta()), left = static_cast<double>(curve.XMin());
  PlotTrace trace;
  for (std::int64_t i = first; i <= last; ++i) {
    const double x = left + step * static_cast<double>(i);
    if (IsWithin(part, x)) trace.Add(x, static_cast<double>(curve.FData()[i]));
  }
  TakeTrace(trace, source);
}

/// In order of x they are reduced to what the picture shows; without order each point counts.
void TakePairs(CSigPairs& pairs, const RecordingOptions& part, Source& source) {
  if (pairs.IstInversSortiert() && !pairs.IstSortiert()) pairs.DatenWenden();
  PlotTrace trace;
  for (std::size_t i = 0; i < pairs.NPaare(); ++i) {
    const PlotPoint point{static_cast<double>(pairs.Punkt(i)), static_cast<double>(pairs.Wert(i))};
    if (!IsWithin(part, point.x)) continue;
    if (pairs.IstSortiert()) {
      trace.Add(point.x, point.y);
    } else if (std::isfinite(point.x)) {
      source.series.points.push_back(point);
      if (!std::isfinite(point.y)) ++source.missing;
    } else {
      ++source.missing;
    }
  }
  if (pairs.IstSortiert()) TakeTrace(trace, source);
}

/// Of a recording that does not tell its length before it ends.
void TakeUnknownLength(CBlockSource& recording, Source& source) {
  PlotTrace trace;
  std::vector<float> buffer;
  std::uint64_t at = 0;
  for (SampleBlock block = Read(recording, 65536); block.count > 0; block = Read(recording, 65536)) {
    const float* samples = Contiguous(block, 1, buffer);
    for (std::size_t i = 0; i < block.count; ++i, ++at) {
      trace.Add(recording.StartTime() + static_cast<double>(at) / recording.SampleRate(),
                static_cast<double>(samples[i]));
    }
  }
  TakeTrace(trace, source);
}

/// Smallest and greatest sample of each column of the picture.
void TakeRecording(CBlockSource& recording, Source& source) {
  constexpr double columns = 1600;
  constexpr std::size_t blockSize = 65536;
  const double ratio = std::max(1.0, static_cast<double>(recording.Frames().value_or(0)) / columns);
  CDownsamplingStream stream(ratio, CDownsamplingStream::Reduction::MinMax);
  if (!stream.IsValid()) Fail("there is no memory to draw a recording");
  std::vector<float> buffer, out(std::max(stream.MaxOutput(blockSize), stream.MaxFlush()));
  std::vector<PlotPoint>& points = source.series.points;
  std::uint64_t taken = 0;
  const auto take = [&](std::uint64_t n) {
    for (std::uint64_t i = 0; i < n; ++i, ++taken) {
      const double time = recording.StartTime() +
                          (static_cast<double>(taken / 2) * ratio + (ratio - 1) / 2) / recording.SampleRate();
      const auto value = static_cast<double>(out[i]);
      // A column of one sample has it twice.
      if (taken % 2 == 0 || points.back().y != value) points.push_back({time, value});
    }
  };
  Progress progress("reading", recording.Frames().value_or(0));
  for (SampleBlock block = Read(recording, blockSize); block.count > 0; block = Read(recording, blockSize)) {
    take(stream.Process(out.data(), Contiguous(block, 1, buffer), block.count));
    progress.Advance(block.count);
  }
  take(stream.Flush(out.data()));
  source.series.reduced = ratio > 1;
}

Source ReadRecording(const PlotOptions& options, const std::string& path) {
  RecordingOptions recording = options.recording;
  recording.path = path;
  const std::unique_ptr<CRecordingSource> samples = OpenRecording(recording);
  Source source;
  source.file = recording.path.filename().string();
  source.name = fmt::format("{}, {}", source.file, samples->ChannelName(0).ToUtf8());
  source.xUnit = "s";
  source.xLabel = "time in s";
  source.yUnit = samples->Unit().ToUtf8();
  source.yLabel = source.yUnit.empty() ? "sample value" : "sample value in " + source.yUnit;
  source.recording = true;
  if (samples->Frames()) {
    TakeRecording(*samples, source);
  } else {
    TakeUnknownLength(*samples, source);
  }
  return source;
}

/// Levels as they step; of edges of one kind how fast they follow each other.
Source ReadList(const PlotOptions& options, const std::string& path, EdgeListKind kind) {
  CEdgeListSource list;
  list.Open(path, kind, options.recording.from, options.recording.to);
  const bool levels = kind == EdgeListKind::levels;
  PlotTrace trace;
  bool any = false;
  double last = 0;
  for (auto edges = list.Read(65536); !edges.empty(); edges = list.Read(65536)) {
    for (const RecordedEdge& edge : edges) {
      if (levels) trace.Add(edge.time, edge.rising ? 0 : 1);
      if (levels) trace.Add(edge.time, edge.rising ? 1 : 0);
      if (!levels && any) trace.Add((last + edge.time) / 2, 1 / (edge.time - last));
      last = edge.time;
      any = true;
    }
  }
  if (list.HasFailed()) Fail("{}", list.Failure().ToUtf8());
  Source source;
  source.file = FilePath(path).filename().string();
  source.name = source.file;
  source.xUnit = "s";
  source.xLabel = "time in s";
  source.yLabel = levels ? "level" : "edges per second";
  source.yUnit = levels ? "" : "1/s";
  source.recording = levels;
  TakeTrace(trace, source);
  return source;
}

/// A recording: samples, or a list of edges.
Source ReadSamples(const PlotOptions& options, const std::string& path) {
  const bool samples = options.recording.raw || options.recording.rate;
  const auto list = samples ? std::nullopt : CEdgeListSource::KindOf(path);
  return list ? ReadList(options, path, *list) : ReadRecording(options, path);
}

Source TakeSignal(const PlotOptions& options, CSignal& signal, const std::string& path) {
  Source source;
  source.file = FilePath(path).filename().string();
  source.name = CString(signal.Name()).ToUtf8();
  if (source.name.empty()) source.name = source.file;
  source.xUnit = AxisUnit(signal.XUnit());
  source.yUnit = AxisUnit(signal.YUnit());
  source.xLabel = AxisLabel(signal.XUnit(), "x");
  source.yLabel = AxisLabel(signal.YUnit(), "value");
  if (const auto* curve = dynamic_cast<const CSigCurve*>(&signal))
    TakeCurve(*curve, options.recording, source);
  if (auto* pairs = dynamic_cast<CSigPairs*>(&signal)) TakePairs(*pairs, options.recording, source);
  return source;
}

void DrawArray(const PlotOptions& options, CSigCurveArray& array, const std::string& path) {
  if (options.inputs.size() > 1) Fail("{} holds a curve array; draw it by itself", path);
  if (options.decibels) {
    if (array.YUnit().is_db()) FailUsage("the values of {} are levels already; leave out --db", path);
    SpectrumLevels::Apply(array, *options.decibels, 1.0);
  }
  ArrayLook look{
      .arrayAxisRight = options.turned, .from = options.recording.from, .to = options.recording.to};
  if (options.waterfall) look.look = PlotMap::Look::waterfall;
  if (!options.levels.empty()) look.levels = {options.levels[0], options.levels[1]};
  PlotMap map = ArrayPicture(array, look);
  if (map.title.empty()) map.title = FilePath(path).filename().string();
  OutputFile out(options.output);
  DrawPlot(map, out);
  out.Commit();
}

/// A second y unit gets the axis on the right.
void CheckUnits(const std::vector<Source>& sources) {
  const Source& first = sources.front();
  const Source* right = nullptr;
  for (const Source& each : sources) {
    if (each.xUnit != first.xUnit) {
      Fail("the x axes tell {} and {}; draw signals of one x unit", first.xLabel, each.xLabel);
    }
    if (each.yUnit == first.yUnit) continue;
    if (right != nullptr && right->yUnit != each.yUnit) {
      Fail("the y axes tell {}, {} and {}; draw signals of two y units at most", first.yLabel, right->yLabel,
           each.yLabel);
    }
    right = &each;
  }
}

std::string MissingText(const std::vector<Source>& sources) {
  std::string text;
  for (const Source& each : sources) {
    if (each.missing == 0) continue;
    text += fmt::format("{}{}{} not a number", text.empty() ? "" : "; ",
                        sources.size() > 1 ? each.file + ": " : "",
                        each.missing == 1 ? "1 value is" : fmt::format("{} values are", each.missing));
  }
  return text;
}

/// All of them over each other.
Plot Overlay(std::vector<Source> sources, bool allValues) {
  CheckUnits(sources);
  const std::string leftUnit = sources.front().yUnit;
  Plot plot{"", sources.front().xLabel, {{sources.front().yLabel, {}}}};
  PlotPanel& panel = plot.panels.front();
  panel.robust = !allValues;
  plot.caption = MissingText(sources);
  const bool several = sources.size() > 1;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    Source& each = sources[i];
    // The peaks of a recording are what it was made for; those of a result are more often mistakes.
    each.series.whole = each.recording;
    each.series.rightAxis = each.yUnit != leftUnit;
    if (each.series.rightAxis) panel.rightLabel = each.yLabel;
    // Signals that were made of each other have one name; their files do not.
    if (several) each.series.title = each.series.rightAxis ? each.file + " (right)" : each.file;
    DistinctLook(each.series, i);
    panel.series.push_back(std::move(each.series));
  }
  DenserBelow(panel);
  if (!several) plot.title = sources.front().name;
  return plot;
}

void RunPlot(const PlotOptions& options) {
  CheckPlotName("-o", options.output);
  CheckSection(options.recording);
  if (!options.levels.empty() && !(options.levels[0] < options.levels[1])) {
    FailUsage("--levels {:g},{:g}: the first one is not below the second", options.levels[0],
              options.levels[1]);
  }
  std::vector<Source> sources;
  for (const std::string& input : options.inputs) {
    CheckOutputPath("-o", options.output, input);
    if (IsSignalFile(input)) {
      const std::unique_ptr<CSignal> signal = ReadSignalFile(input);
      if (auto* array = dynamic_cast<CSigCurveArray*>(signal.get())) return DrawArray(options, *array, input);
      sources.push_back(TakeSignal(options, *signal, input));
    } else {
      sources.push_back(ReadSamples(options, input));
    }
    if (FullRange(sources.back().series.points).empty()) {
      Fail("cannot draw {}: it holds no samples{}", input,
           options.recording.from || options.recording.to ? " from --from to --to" : "");
    }
  }
  if (options.forArrays()) {
    FailUsage("--waterfall, --turn, --db and --levels are for curve arrays; {} holds none",
              options.inputs[0]);
  }
  const Plot plot = Overlay(std::move(sources), options.allValues);
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
  DeclareChannel(*command, options->recording);
  DeclareRecordingFormat(*command, options->recording);
  command->add_option("-o,--output", options->output, "picture")->required()->type_name("FILE.svg|.png");
  DeclareSection(*command, options->recording);
  DeclareScaling(*command, options->recording);
  command->add_flag("--all-values", options->allValues, "also values that stand alone set the scale");
  const std::string group = "Curve arrays";
  command->add_flag("--waterfall", options->waterfall, "lines one behind the other instead of colours")
      ->group(group);
  command->add_flag("--turn", options->turned, "the array axis to the right instead of upward")->group(group);
  const Choices<SpectrumScaling> kinds = {{"amplitude", SpectrumScaling::Amplitude},
                                          {"power", SpectrumScaling::Power}};
  command
      ->add_option("--db", options->decibels, "levels of the values: 20 lg of an amplitude, 10 lg of a power")
      ->transform(OneOf(kinds))
      ->type_name("amplitude|power")
      ->group(group);
  command->add_option("--levels", options->levels, "values of the first and the last colour")
      ->delimiter(',')
      ->expected(2)
      ->check(Finite().description(""))
      ->type_name("LOW,HIGH")
      ->group(group);
  command->callback([options] { RunPlot(*options); });
}

}  // namespace umlauf::tool
