#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "tools/Commands.h"
#include "tools/Error.h"
#include "tools/GapCorrection.h"
#include "tools/OutputFile.h"
#include "tools/Plot.h"
#include "tools/PulseFinder.h"
#include "tools/SignalFile.h"
#include "tools/SpeedOptions.h"
#include "tools/SpeedReport.h"
#include "tools/SpeedResults.h"

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

/// The traces of the picture, gathered while the pulses come.
class SpeedPicture {
 public:
  SpeedPicture(double sampleRate, double startTime) : sampleRate_(sampleRate), startTime_(startTime) {}

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

/// Thresholds that were not given, from the whole recording.
void FindThresholds(const SpeedOptions& options, BlockSource& source, CDzPulsDetektor& detector,
                    SpeedReport& report) {
  if (!options.settings.empty() || (options.upper && options.lower)) return;
  const RecordingStatistics statistics = MeasureRecording(source, options.block);
  const float levels[] = {statistics.min, statistics.max, statistics.mean, statistics.meanSquare};
  // What it returns tells nothing about the recording (it is false for a clean sine): the pulses found do.
  detector.AutoSchrankenSetzen(levels);
  const float upper = options.upper ? static_cast<float>(*options.upper) : detector.ObereSchranke();
  const float lower = options.lower ? static_cast<float>(*options.lower) : detector.UntereSchranke();
  if (lower > upper) {
    Fail("the automatic {} threshold {:g} does not fit to the other one; give --upper and --lower",
         options.upper ? "lower" : "upper", options.upper ? lower : upper);
  }
  detector.SchrankenSetzen(upper, lower);
  report.automaticUpper = !options.upper;
  report.automaticLower = !options.lower;
}

[[noreturn]] void FailWithoutPulses(const SpeedOptions& options, BlockSource& source,
                                    const CDzPulsDetektor& detector, std::uint64_t edges) {
  const RecordingStatistics statistics = MeasureRecording(source, options.block);
  Fail(
      "no pulses found in {} ({} edges): its samples range from {:g} to {:g}, the thresholds are upper {:g}, "
      "lower "
      "{:g}; set --upper and --lower within the swing of the pulses, and check --channel and --min-pulse",
      options.recording.path.string(), edges, statistics.min, statistics.max, detector.ObereSchranke(),
      detector.UntereSchranke());
}

std::optional<OutputFile> Opened(const std::string& name) {
  return name.empty() ? std::optional<OutputFile>() : std::optional<OutputFile>(std::in_place, name);
}

void RunSpeed(const SpeedOptions& options) {
  CheckSpeedOptions(options);
  const std::unique_ptr<BlockSource> source = OpenRecording(options.recording);
  CDzPulsDetektor detector = ConfiguredDetector(options);
  const double rate = source->sampleRate(), start = source->startTime();
  if (!options.curve.empty() &&
      static_cast<double>(source->frames()) / rate / options.curveStep > longestCurve) {
    FailUsage("--curve-step {} gives too many samples for this recording; make it longer", options.curveStep);
  }
  SpeedReport report;
  FindThresholds(options, *source, detector, report);

  std::optional<OutputFile> csv = Opened(options.csv), curve = Opened(options.curve),
                            plot = Opened(options.plot);
  PulseCounts counts(rate);
  Revolutions revolutions(!options.gap.empty(), options.pulsesPerRev, rate);
  CurveBuilder builder(options.curveStep, rate, start);
  SpeedPicture picture(rate, start);
  std::optional<TruthComparison> truth;
  if (!options.truth.empty()) truth.emplace(options.truth, rate, start);
  if (csv) csv->Print("time_s,rpm,revolution_time_s,samples,flags\n");

  PulseSink sink = [&](const Pulse& pulse) {
    counts.Take(pulse);
    revolutions.Take(pulse);
    if (csv) WritePulse(*csv, pulse, rate, start);
    if (curve) builder.Take(pulse);
    if (plot) picture.Take(pulse);
    if (truth) truth->Take(pulse);
  };
  std::optional<GapCorrection> gap;
  if (!options.gap.empty()) gap.emplace(options.gapLength(), options.pulsesPerRev, sink);
  if (gap) sink = [&gap](const Pulse& pulse) { gap->Take(pulse); };

  const std::uint64_t samples = FindPulses(*source, options.block, detector, sink);
  if (gap) gap->Finish();
  if (counts.speed().count == 0) FailWithoutPulses(options, *source, detector, counts.pulses());
  if (truth && truth->count() == 0) {
    Fail("{} tells no speed above 0 for the time of the recording; check its seconds", options.truth);
  }

  report.recording = options.recording.path.string();
  report.channel = source->channelName();
  report.sampleRate = rate;
  report.duration = static_cast<double>(samples) / rate;
  report.upper = detector.ObereSchranke();
  report.lower = detector.UntereSchranke();
  report.settings = detector.SettingsStringBilden().ToUtf8();
  report.counts = &counts;
  report.revolutions = &revolutions;
  report.gap = gap ? &*gap : nullptr;
  report.truth = truth ? &*truth : nullptr;

  const std::string name = options.recording.path.filename().string();
  if (curve) WriteSignalFile(*builder.Finish(CString::FromUtf8(name)), *curve);
  if (plot) DrawPlot(picture.Finish("Speed from " + name, revolutions, report.truth), *plot);
  for (std::optional<OutputFile>* each : {&csv, &curve, &plot}) {
    if (*each) (*each)->Commit();
  }
  if (options.json) {
    fmt::print("{}", report.Json());
  } else if (options.csv != "-") {
    fmt::print("{}", report.Table());
  }
  if (truth && options.tolerance && truth->maxPercent() > *options.tolerance) {
    Fail("the speed deviates by up to {:.4g} % from {}, more than the tolerance of {:g} %",
         truth->maxPercent(), options.truth, *options.tolerance);
  }
}

}  // namespace

void AddSpeedCommand(CLI::App& app) {
  auto options = std::make_shared<SpeedOptions>();
  CLI::App* command = app.add_subcommand("speed", "Speed of rotation from a tacho recording");
  DeclareSpeedOptions(*command, *options);
  command->callback([options] { RunSpeed(*options); });
}

}  // namespace umlauf::tool
