#include "tools/output/SpeedOutputs.h"

#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/SignalFile.h"
#include "tools/output/Console.h"

namespace umlauf::tool {
namespace {

/// A curve longer than this is a mistake in its step.
constexpr double longestCurve = 2e8;

void WritePulse(OutputFile& csv, const Pulse& pulse, double sampleRate, double startTime) {
  const double time = startTime + pulse.end / sampleRate;
  std::string_view edge = pulse.rising ? "rising" : "falling";
  const std::string_view mark = pulse.first          ? " first"
                                : pulse.gapCorrected ? " gap"
                                : pulse.held         ? " held"
                                                     : "";
  if (pulse.hasSpeed()) {
    csv.Print("{},{},{},{},{}{}\n", time, pulse.rpm(sampleRate), pulse.revolutionTime / sampleRate,
              pulse.samples, edge, mark);
  } else {
    csv.Print("{},nan,nan,{},{}{}\n", time, pulse.samples, edge, mark);
  }
}

}  // namespace

/// The traces of the picture, gathered while the pulses come.
class SpeedOutputs::Picture {
 public:
  Picture(double sampleRate, double startTime) : sampleRate_(sampleRate), startTime_(startTime) {}

  void Take(const Pulse& pulse) {
    if (!pulse.hasSpeed()) return;
    const double time = startTime_ + pulse.middle() / sampleRate_;
    const double rpm = pulse.rpm(sampleRate_);
    speed_.Add(time, rpm);
    if (pulse.gapCorrected) gaps_.Add(time, rpm);
    if (pulse.held) held_.Add(time, rpm);
  }

  Plot Finish(const std::string& title, const Revolutions& revolutions, const TruthComparison* truth) const {
    using Look = PlotSeries::Look;
    PlotPanel speed{"speed in rpm", {}};
    if (truth != nullptr) speed.series.push_back({"truth", Look::broadLine, "#f6c49a", truth->points()});
    const std::vector<PlotPoint> pulses = speed_.Points();
    speed.series.push_back({"each pulse", Look::line, "#6f9fd0", pulses});
    if (!gaps_.empty()) speed.series.push_back({"gap corrected", Look::points, "#d9480f", gaps_.Points()});
    if (!held_.empty())
      speed.series.push_back({"held by the spike filter", Look::points, "#c51b7d", held_.Points()});
    // Where each pulse is a revolution, this line would only cover the pulses.
    if (revolutions.speed().count > 1 && revolutions.speed().count * 2 < pulses.size()) {
      std::vector<PlotPoint> points = revolutions.trace().Points();
      for (PlotPoint& each : points) each.x = startTime_ + each.x / sampleRate_;
      speed.series.push_back({"each revolution", Look::boldLine, "#08306b", std::move(points)});
    }
    Plot plot{title, "time in s", {std::move(speed)}};
    if (truth != nullptr) {
      plot.panels.push_back({"deviation in %", {{"", Look::line, "#6f9fd0", truth->deviations().Points()}}});
    }
    return plot;
  }

 private:
  double sampleRate_, startTime_;
  PlotTrace speed_, gaps_{400}, held_{400};
};

SpeedOutputs::SpeedOutputs(const SpeedResultOptions& options, double edgesPerRev, double sampleRate,
                           double startTime, std::uint64_t frames)
    : options_(options),
      sampleRate_(sampleRate),
      startTime_(startTime),
      name_(options.recording.path.filename().string()),
      counts_(sampleRate),
      revolutions_(!options.gap.empty(), edgesPerRev, sampleRate),
      curve_(options.curveStep, sampleRate, startTime),
      pairs_(sampleRate, startTime) {
  if (!options.curve.empty() && static_cast<double>(frames) / sampleRate / options.curveStep > longestCurve) {
    FailUsage("--curve-step {} gives too many samples for this recording; make it longer", options.curveStep);
  }
  for (const auto& [file, name] :
       {std::pair(&csv_, &options.csv), std::pair(&curveFile_, &options.curve),
        std::pair(&pairsFile_, &options.pairs), std::pair(&plotFile_, &options.plot)}) {
    if (!name->empty()) file->emplace(*name);
  }
  if (plotFile_) picture_ = std::make_unique<Picture>(sampleRate, startTime);
  if (!options.truth.empty()) truth_.emplace(options.truth, sampleRate, startTime);
  if (!options.gap.empty()) {
    gap_.emplace(options.gapLength(), edgesPerRev, [this](const Pulse& pulse) { TakeCorrected(pulse); });
  }
  if (csv_) csv_->Print("time_s,rpm,revolution_time_s,samples,flags\n");
}

SpeedOutputs::~SpeedOutputs() = default;

void SpeedOutputs::Take(const Pulse& pulse) {
  if (gap_) {
    gap_->Take(pulse);
  } else {
    TakeCorrected(pulse);
  }
}

void SpeedOutputs::TakeCorrected(const Pulse& pulse) {
  counts_.Take(pulse);
  revolutions_.Take(pulse);
  if (csv_) WritePulse(*csv_, pulse, sampleRate_, startTime_);
  if (curveFile_) curve_.Take(pulse);
  if (pairsFile_) pairs_.Take(pulse);
  if (picture_) picture_->Take(pulse);
  if (truth_) truth_->Take(pulse);
}

void SpeedOutputs::Finish() {
  if (gap_) gap_->Finish();
}

void SpeedOutputs::Publish(SpeedReport report) {
  if (truth_ && truth_->count() == 0) {
    Fail("{} tells no speed above 0 for the time of the recording; check its seconds", options_.truth);
  }
  report.recording = options_.recording.path.string();
  report.sampleRate = sampleRate_;
  report.counts = &counts_;
  report.revolutions = &revolutions_;
  report.gap = gap_ ? &*gap_ : nullptr;
  report.truth = truth_ ? &*truth_ : nullptr;

  const CString signalName = CString::FromUtf8(name_);
  if (curveFile_) WriteSignalFile(*curve_.Finish(signalName), *curveFile_);
  if (pairsFile_) WriteSignalFile(*pairs_.Finish(signalName), *pairsFile_);
  if (picture_) DrawPlot(picture_->Finish("Speed from " + name_, revolutions_, report.truth), *plotFile_);
  for (std::optional<OutputFile>* each : {&csv_, &curveFile_, &pairsFile_, &plotFile_}) {
    if (*each) (*each)->Commit();
  }
  if (options_.json) {
    Print("{}", report.Json());
  } else if (options_.csv != "-") {
    Print("{}", report.Table());
  }
  if (truth_ && options_.tolerance && truth_->maxPercent() > *options_.tolerance) {
    Fail("the speed deviates by up to {:.4g} % from {}, more than the tolerance of {:g} %",
         truth_->maxPercent(), options_.truth, *options_.tolerance);
  }
}

}  // namespace umlauf::tool
