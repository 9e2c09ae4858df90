#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/input/ProgressSource.h"
#include "tools/input/RecordingInput.h"
#include "tools/input/SignalFile.h"
#include "tools/output/Console.h"
#include "tools/output/UnitText.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/RecordingStatistics.h"
#include "umlauf/rotation/TachoPulses.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf/signal/SigCurveExt.h"
#include "umlauf_io/EdgeListSource.h"

namespace umlauf::tool {
namespace {

std::string_view TypeName(LONG tag) {
  switch (tag) {
    case SigIdCurve:
      return "equidistant curve";
    case SigIdCurveExt:
      return "equidistant curve with a valid span";
    case SigIdPairs:
      return "point pairs";
    case SigIdCurveArray:
      return "curve array";
    default:
      return "signal";
  }
}

void CurveRows(const CSigCurve& curve) {
  Row("step", fmt::format("{:.6g}", curve.XDelta()));
  Row("compression", curve.FileCompression() ? "8 bits a sample" : "none");
  if (const auto* extended = dynamic_cast<const CSigCurveExt*>(&curve)) {
    Row("valid", extended->IsValid() ? fmt::format("{:.7g} ... {:.7g} (samples {} ... {})", extended->VMin(),
                                                   extended->VMax(), extended->IMin(), extended->IMax())
                                     : "none");
    Row("date", fmt::format("{:.7g}", extended->Date()));
  }
}

void PairsRows(const CSigPairs& pairs) {
  Row("order", pairs.IstSortiert() ? "ascending" : pairs.IstInversSortiert() ? "descending" : "unsorted");
  Row("least step", fmt::format("{:.6g}", pairs.MinStepSize()));
  Row("parameter", fmt::format("{:.7g}", pairs.Parameter()));
  Row("number", fmt::format("{}", pairs.Nummer()));
}

void ArrayRows(const CSigCurveArray& array) {
  float first = 0, last = 0;
  array.GetArrayRange(first, last);
  Row("curves", fmt::format("{}", array.Count()));
  Row("array unit", UnitText(array.ArrayUnit()));
  if (array.IsEmpty()) return;
  Row("array axis", fmt::format("{:.7g} ... {:.7g}", first, last));
  const auto [least, most] = std::minmax_element(
      array.begin(), array.end(), [](const auto& a, const auto& b) { return a->DLen() < b->DLen(); });
  Row("samples", (*least)->DLen() == (*most)->DLen()
                     ? fmt::format("{} in each curve", (*least)->DLen())
                     : fmt::format("{} to {} in each curve", (*least)->DLen(), (*most)->DLen()));
  Row("x axes", array.HasCommonAxis() ? fmt::format("all alike, step {:.6g}", array[0].XDelta())
                                      : std::string("not alike"));
}

void RunInfo(const std::string& path) {
  const std::unique_ptr<CSignal> signal = ReadSignalFile(path);
  float xLow = 0, xHigh = 0, yLow = 0, yHigh = 0;
  signal->GetXRange(xLow, xHigh);
  signal->GetYRange(yLow, yHigh);
  Row("file", path);
  Row("type", fmt::format("{} ({})", TypeName(signal->SigId()), signal->SigId()));
  Row("name", CString(signal->Name()).ToUtf8());
  Row("x unit", UnitText(signal->XUnit()));
  Row("y unit", UnitText(signal->YUnit()));
  Row("x range", fmt::format("{:.7g} ... {:.7g}", xLow, xHigh));
  const auto* array = dynamic_cast<const CSigCurveArray*>(signal.get());
  if (array == nullptr) Row("samples", fmt::format("{}", signal->DLen()));
  const bool any = array != nullptr ? !array->IsEmpty() : signal->DLen() > 0;
  Row("y range", any ? fmt::format("{:.7g} ... {:.7g}", yLow, yHigh) : "none");
  if (const auto* curve = dynamic_cast<const CSigCurve*>(signal.get())) CurveRows(*curve);
  if (const auto* pairs = dynamic_cast<const CSigPairs*>(signal.get())) PairsRows(*pairs);
  if (array != nullptr) ArrayRows(*array);
}

/// Swings of a channel between levels that are found as for the speed.
std::string Swings(ProgressSource& source, unsigned channel) {
  CDzPulsDetektor detector;
  detector.PulsMinLenSetzen(0);
  CLevelFinder finder(detector);
  finder.Part(true);
  source.Purpose("levels");
  if (!finder.Find(source, channel)) return "";
  PulseLevels levels = finder.Levels();
  source.Purpose("swings");
  while (true) {
    source.Rewind();
    CTachoPulses tacho(levels, detector);
    CPulseTrain train(source.SampleRate());
    std::size_t edges = 0;
    for (SampleBlock block = Read(source, 65536); block.count > 0; block = Read(source, 65536)) {
      if (!tacho.Take(block.samples + channel, block.count, block.stride, train)) return "";
      edges += train.size();
    }
    tacho.Finish(train);
    edges += train.size();
    if (!tacho.LevelsServed()) {
      levels = tacho.Levels();
      continue;
    }
    return fmt::format("{} from below {:g} to above {:g}{}{}", edges, levels.lower, levels.upper,
                       levels.scale ? " on the scale of each swing, 0 to 1" : "",
                       tacho.Warnings().empty() ? "" : ", doubtful");
  }
}

void ChannelRows(ProgressSource& source, const CRecordingSource& recording,
                 const std::vector<CRecordingStatistics>& channels, std::uint64_t frames) {
  for (unsigned c = 0; c < recording.Channels(); ++c) {
    const std::string unit = recording.Unit(c).IsEmpty() ? "" : " " + recording.Unit(c).ToUtf8();
    const CRecordingStatistics& each = channels[c];
    Row("", "");
    Row("channel", recording.ChannelName(c).ToUtf8());
    if (each.Count() < frames) Row("no numbers", fmt::format("{} samples", frames - each.Count()));
    if (each.Count() == 0) continue;
    Row("range", fmt::format("{:.7g} ... {:.7g}{}", each.Min(), each.Max(), unit));
    Row("mean", fmt::format("{:.7g}{}, standard deviation {:.4g}", each.Mean(), unit, each.Deviation()));
    if (each.Max() > each.Min()) Row("swings", Swings(source, c));
  }
}

void RunRecordingInfo(RecordingOptions options) {
  options.allChannels = !options.channel && !options.column;
  const std::unique_ptr<CRecordingSource> recording = OpenRecording(options);
  ProgressSource source(*recording);
  source.Purpose("reading");
  std::vector<CRecordingStatistics> channels(recording->Channels());
  std::uint64_t frames = 0;
  for (SampleBlock block = Read(source, 65536); block.count > 0; block = Read(source, 65536)) {
    for (std::size_t c = 0; c < channels.size(); ++c) {
      channels[c].Add(block.samples + c, block.count, block.stride);
    }
    frames += block.count;
  }
  const double rate = recording->SampleRate();
  Row("file", options.path.string());
  Row("type", fmt::format("recording, {}", recording->FormatName().ToUtf8()));
  Row("channels", fmt::format("{}", recording->RecordingChannels()));
  Row("rate", fmt::format("{:g} samples/s", rate));
  Row("length", fmt::format("{} samples, {:.6g} s", frames, static_cast<double>(frames) / rate));
  if (recording->StartTime() != 0) Row("start", fmt::format("{:.9g} s", recording->StartTime()));
  ChannelRows(source, *recording, channels, frames);
  PrintWarnings(recording->Warnings());
}

void RunListInfo(const RecordingOptions& options, EdgeListKind kind) {
  CheckSection(options);
  CEdgeListSource source;
  source.Open(options.path, kind, options.from, options.to);
  std::uint64_t rising = 0, all = 0;
  double first = 0, last = 0, shortest = std::numeric_limits<double>::infinity(), longest = 0;
  for (auto edges = source.Read(65536); !edges.empty(); edges = source.Read(65536)) {
    for (const RecordedEdge& edge : edges) {
      rising += edge.rising ? 1 : 0;
      if (all++ == 0) first = last = edge.time;
      if (all == 1) continue;
      shortest = std::min(shortest, edge.time - last);
      longest = std::max(longest, edge.time - last);
      last = edge.time;
    }
  }
  if (source.HasFailed()) Fail("{}", source.Failure().ToUtf8());
  const bool levels = kind == EdgeListKind::levels;
  Row("file", options.path.string());
  Row("type", levels ? "list of level changes" : "list of edges");
  Row("edges", levels ? fmt::format("{} rising, {} falling", rising, all - rising) : fmt::format("{}", all));
  if (all == 0) return;
  Row("time", fmt::format("{:.9g} ... {:.9g} s", first, last));
  if (all > 1) Row("distances", fmt::format("{:.6g} ... {:.6g} s", shortest, longest));
}

}  // namespace

void AddInfoCommand(CLI::App& app) {
  auto options = std::make_shared<RecordingOptions>();
  CLI::App* command = app.add_subcommand("info", "Tells what is in a signal file or a recording");
  DeclareRecording(*command, *options);
  DeclareScaling(*command, *options);
  command->callback([options] {
    const std::string path = options->path.string();
    if (IsSignalFile(path)) return RunInfo(path);
    const bool samples = options->raw || options->rate;
    const auto list = samples ? std::nullopt : CEdgeListSource::KindOf(options->path);
    list ? RunListInfo(*options, *list) : RunRecordingInfo(*options);
  });
}

}  // namespace umlauf::tool
