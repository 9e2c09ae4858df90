#include "tools/pictures/SpeedPicture.h"

#include <utility>
#include <vector>

namespace umlauf::tool {
namespace {

PlotSeries Series(const char* title, PlotSeries::Look look, const char* colour, const PlotTrace& trace) {
  PlotSeries series{title, look, colour, trace.Points()};
  series.reduced = trace.reduced();
  return series;
}

}  // namespace

void SpeedPicture::Take(const CPulseTrain& pulses) {
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    if (!pulse.HasSpeed()) continue;
    const double time = pulses.Time(pulse.Middle());
    const double rpm = pulse.Rpm(pulses.SampleRate());
    speed_.Add(time, rpm);
    if (pulse.Is(CPulseTrain::gapCorrected)) gaps_.Add(time, rpm);
    if (pulse.Is(CPulseTrain::held)) held_.Add(time, rpm);
  }
}

void SpeedPicture::Take(const CRevolutions& revolutions) {
  for (const auto& each : revolutions.Found()) {
    revolutions_.Add(startTime_ + each.Middle() / sampleRate_, each.rpm);
    ++turns_;
  }
}

void SpeedPicture::Take(const CSpeedComparison& truth) {
  for (const auto& each : truth.Found()) deviations_.Add(each.time, each.percent);
}

Plot SpeedPicture::Finish(const std::string& title, const CSpeedComparison* truth) const {
  using Look = PlotSeries::Look;
  PlotPanel speed{"speed in rpm", {}};
  // A single pulse at standstill, or the first one, would hide the run.
  speed.robust = true;
  if (truth != nullptr) {
    std::vector<PlotPoint> known;
    for (const auto& each : truth->Known()) known.push_back({each.time, each.rpm});
    speed.series.push_back({"truth", Look::broadLine, "#f6c49a", std::move(known)});
  }
  speed.series.push_back(Series("each pulse", Look::line, "#6f9fd0", speed_));
  const std::size_t pulses = speed.series.back().points.size();
  if (!gaps_.empty()) speed.series.push_back(Series("gap corrected", Look::points, "#d9480f", gaps_));
  if (!held_.empty())
    speed.series.push_back(Series("held by the spike filter", Look::points, "#c51b7d", held_));
  // Where each pulse is a revolution, this line would only cover the pulses.
  if (turns_ > 1 && turns_ * 2 < pulses) {
    speed.series.push_back(Series("each revolution", Look::boldLine, "#08306b", revolutions_));
  }
  Plot plot{title, "time in s", {std::move(speed)}};
  if (truth != nullptr) {
    PlotPanel deviation{"deviation in %", {Series("", Look::line, "#6f9fd0", deviations_)}};
    deviation.robust = true;
    plot.panels.push_back(std::move(deviation));
  }
  return plot;
}

}  // namespace umlauf::tool
