#include <memory>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "tools/ProgressSource.h"
#include "tools/RecordingInput.h"
#include "tools/SignalFile.h"
#include "tools/commands/Commands.h"
#include "tools/output/Console.h"
#include "tools/output/UnitText.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/PulseFinder.h"
#include "umlauf/rotation/RecordingStatistics.h"
#include "umlauf/signal/SigCurveExt.h"

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
  Row("samples", fmt::format("{}", signal->DLen()));
  Row("y range", signal->DLen() > 0 ? fmt::format("{:.7g} ... {:.7g}", yLow, yHigh) : "none");
  if (const auto* curve = dynamic_cast<const CSigCurve*>(signal.get())) CurveRows(*curve);
  if (const auto* pairs = dynamic_cast<const CSigPairs*>(signal.get())) PairsRows(*pairs);
}

/// Swings of a channel between levels that are found as for the speed.
std::string Swings(ProgressSource& source, unsigned channel) {
  CDzPulsDetektor detector;
  detector.PulsMinLenSetzen(0);
  CLevelFinder finder(detector);
  source.Purpose("levels");
  if (!finder.Find(source, channel)) return "";
  const PulseLevels& levels = finder.Levels();
  detector.SchrankenSetzen(levels.upper, levels.lower);
  source.Purpose("swings");
  source.Rewind();
  CPulseFinder pulses(source, channel, detector);
  CPulseTrain train(source.SampleRate());
  std::size_t edges = 0;
  while (pulses.Next(train)) edges += train.size();
  return fmt::format("{} from below {:g} to above {:g}{}", edges, levels.lower, levels.upper,
                     levels.certain ? "" : ", doubtful");
}

void ChannelRows(ProgressSource& source, const CRecordingSource& recording,
                 const std::vector<CRecordingStatistics>& channels, std::uint64_t frames) {
  const std::string unit = recording.Unit().IsEmpty() ? "" : " " + recording.Unit().ToUtf8();
  for (unsigned c = 0; c < recording.Channels(); ++c) {
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

}  // namespace

void AddInfoCommand(CLI::App& app) {
  auto options = std::make_shared<RecordingOptions>();
  CLI::App* command = app.add_subcommand("info", "Tells what is in a signal file or a recording");
  DeclareRecording(*command, *options);
  DeclareScaling(*command, *options);
  command->callback([options] {
    const std::string path = options->path.string();
    IsSignalFile(path) ? RunInfo(path) : RunRecordingInfo(*options);
  });
}

}  // namespace umlauf::tool
