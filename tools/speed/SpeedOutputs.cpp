#include "tools/speed/SpeedOutputs.h"

#include <fmt/compile.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/input/SignalFile.h"
#include "tools/output/Console.h"
#include "tools/pictures/Plot.h"
#include "umlauf_io/CsvReader.h"

namespace umlauf::tool {
namespace {

/// A curve longer than this is a mistake in its step.
constexpr double longestCurve = 2e8;

/// Until the wheel is known.
constexpr std::size_t pulsesHeld = 262144, leastPulsesHeld = 16384;

void WritePulses(OutputFile& csv, const CPulseTrain& pulses) {
  const double rate = pulses.SampleRate();
  std::array<char, 256> row;  // numbers have 24 characters at most
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    char* end = fmt::format_to(row.data(), FMT_COMPILE("{},"), pulses.Time(pulse.end));
    if (pulse.HasSpeed()) {
      end = fmt::format_to(end, FMT_COMPILE("{},{},"), pulse.Rpm(rate), pulse.revolutionTime / rate);
    } else {
      end = fmt::format_to(end, FMT_COMPILE("nan,nan,"));
    }
    end = fmt::format_to(end, FMT_COMPILE("{}"), pulse.samples);
    const std::string_view edge = pulse.Is(CPulseTrain::rising) ? ",rising" : ",falling";
    const std::string_view mark = pulse.Is(CPulseTrain::first)          ? " first\n"
                                  : pulse.Is(CPulseTrain::gapCorrected) ? " gap\n"
                                  : pulse.Is(CPulseTrain::held)         ? " held\n"
                                                                        : "\n";
    end = std::copy(edge.begin(), edge.end(), end);
    end = std::copy(mark.begin(), mark.end(), end);
    csv.Add({row.data(), static_cast<std::size_t>(end - row.data())});
  }
}

void WriteSignal(const CSignal* signal, OutputFile& out) {
  if (signal == nullptr) Fail("cannot write {}: there is no memory for its samples", out.target().string());
  WriteSignalFile(*signal, out);
}

/// The known speed from a table of seconds and rpm.
CSpeedComparison ReadTruth(const FilePath& path) {
  std::vector<CSpeedComparison::Point> points;
  CCsvReader reader;
  reader.Open(path);
  while (reader.NextRow()) {
    const auto time = reader.Number(0), rpm = reader.Number(1);
    if (!time || !rpm) break;
    if (!points.empty() && !(*time >= points.back().time)) reader.Refuse(L"the times must rise");
    points.push_back({*time, *rpm});
  }
  if (reader.Failure()) Fail("{}", reader.Failure().text.ToUtf8());
  if (points.size() < 2)
    Fail("cannot use {}: at least two rows of seconds and rpm are needed", path.string());
  return CSpeedComparison(std::move(points));
}

}  // namespace

SpeedOutputs::SpeedOutputs(const SpeedResultOptions& options, double edgesPerRev, double sampleRate,
                           double startTime, std::uint64_t frames, std::size_t channels)
    : options_(options),
      sampleRate_(sampleRate),
      startTime_(startTime),
      name_(options.recording.path.filename().string()),
      curve_(options.curveStep),
      corrected_(sampleRate, startTime) {
  if (!options.curve.empty() && static_cast<double>(frames) / sampleRate / options.curveStep > longestCurve) {
    FailUsage("--curve-step {} gives too many samples for this recording; make it longer", options.curveStep);
  }
  for (const auto& [file, name] :
       {std::pair(&csv_, &options.csv), std::pair(&curveFile_, &options.curve),
        std::pair(&pairsFile_, &options.pairs), std::pair(&plotFile_, &options.plot)}) {
    if (!name->empty()) file->emplace(*name);
  }
  if (plotFile_) picture_.emplace(sampleRate, startTime);
  if (!options.truth.empty()) truth_ = ReadTruth(options.truth);
  if (options.countTeeth) {
    gap_.emplace(std::nullopt, std::nullopt);
  } else {
    revolutions_.emplace(!options.gap.empty(), edgesPerRev);
    if (!options.gap.empty()) gap_.emplace(options.gapLength(), edgesPerRev);
  }
  if (gap_ && channels > 1) gap_->Horizon(std::max(pulsesHeld / channels, leastPulsesHeld));
  if (csv_) csv_->Print("time_s,rpm,revolution_time_s,samples,flags\n");
}

void SpeedOutputs::Take(const CPulseTrain& pulses) {
  if (!gap_) {
    TakeCorrected(pulses);
    return;
  }
  corrected_.Clear();
  gap_->Take(pulses, corrected_);
  TakeCorrected(corrected_);
}

void SpeedOutputs::TakeCorrected(const CPulseTrain& pulses) {
  counts_.Take(pulses);
  TakeRevolutions(pulses);
  if (csv_) WritePulses(*csv_, pulses);
  if (curveFile_) curve_.Take(pulses);
  if (pairsFile_) pairs_.Take(pulses);
  if (truth_) truth_->Take(pulses);
  if (!pulses.Complete()) Fail("there is no memory for the pulses of one block; make --block smaller");
  if (picture_) {
    picture_->Take(pulses);
    if (revolutions_) picture_->Take(*revolutions_);
    if (truth_) picture_->Take(*truth_);
  }
  if (revolutions_) revolutions_->Forget();
  if (truth_) truth_->Forget();
}

void SpeedOutputs::TakeRevolutions(const CPulseTrain& pulses) {
  if (!revolutions_ && !gap_->Wheel().gaps.empty()) revolutions_.emplace(true, gap_->Wheel().pitches);
  if (revolutions_) revolutions_->Take(pulses);
}

void SpeedOutputs::Finish() {
  if (!gap_) return;
  corrected_.Clear();
  if (!gap_->Finish(corrected_)) Fail("there is no memory to look for the gaps of the wheel");
  TakeCorrected(corrected_);
  if (options_.countTeeth && gap_->Wheel().gaps.empty()) {
    Fail(
        "cannot count the teeth of the wheel in {}: no gap comes back in every revolution; give "
        "--pulses-per-rev N",
        options_.recording.path.string());
  }
}

bool SpeedOutputs::CanBeginAgain(const SpeedResultOptions& options) {
  for (const auto& [option, name, kind] : OutputsOf(options)) {
    if (name.empty()) continue;
    std::error_code error;
    const auto status = std::filesystem::status(FilePath(name), error);
    if (name == "-" || (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)))
      return false;
  }
  return true;
}

void SpeedOutputs::Write(SpeedReport& report) {
  if (truth_ && truth_->Count() == 0) {
    Fail("{} tells no speed above 0 for the time of the recording; check its seconds", options_.truth);
  }
  report.recording = options_.recording.path.string();
  report.sampleRate = sampleRate_;
  report.counts = &counts_;
  if (!revolutions_) revolutions_.emplace(true, 1);
  report.revolutions = &*revolutions_;
  report.gap = gap_ ? &*gap_ : nullptr;
  report.truth = truth_ ? &*truth_ : nullptr;

  const CString signalName = CString::FromUtf8(name_);
  if (curveFile_) WriteSignal(curve_.Finish(signalName).get(), *curveFile_);
  if (pairsFile_) WriteSignal(pairs_.Finish(signalName).get(), *pairsFile_);
  if (picture_) {
    Plot plot = picture_->Finish("Speed from " + name_, report.truth);
    MarkDoubts(report.warnings, plot);
    DrawPlot(plot, *plotFile_);
  }
  for (std::optional<OutputFile>* each : {&csv_, &curveFile_, &pairsFile_, &plotFile_}) {
    if (*each) (*each)->Commit();
  }
}

void SpeedOutputs::Publish(SpeedReport report) {
  Write(report);
  Print(report);
  CheckTolerance();
}

void SpeedOutputs::Print(const SpeedReport& report) const {
  if (options_.json) {
    WriteOut(report.Json());
  } else if (options_.csv != "-") {
    WriteOut(report.Table());
  }
}

void SpeedOutputs::CheckTolerance() const {
  if (truth_ && options_.tolerance && truth_->MaxPercent() > *options_.tolerance) {
    Fail("the speed deviates by up to {:.4g} % from {}, more than the tolerance of {:g} %",
         truth_->MaxPercent(), options_.truth, *options_.tolerance);
  }
}

}  // namespace umlauf::tool
