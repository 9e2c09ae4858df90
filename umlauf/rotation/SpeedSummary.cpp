#include "umlauf/rotation/SpeedSummary.h"

#include <algorithm>

void SpeedSummary::Add(double addedTurns, double addedSamples, double sampleRate) {
  const double rpm = 60 * sampleRate * addedTurns / addedSamples;
  if (count == 0) first = rpm;
  last = rpm;
  min = std::min(min, rpm);
  max = std::max(max, rpm);
  turns += addedTurns;
  samples += addedSamples;
  ++count;
}

void CPulseCounts::Take(const CPulseTrain& pulses) {
  const auto edges = pulses.Edges(), times = pulses.RevolutionTimes();
  const auto flags = pulses.Flags();
  const double rate = pulses.SampleRate();
  SpeedSummary speed = speed_;  // in registers
  pulses_ += flags.size();
  for (std::size_t i = 0; i < flags.size(); ++i) {
    const unsigned flag = flags[i];
    correctedGaps_ += (flag & CPulseTrain::gapStart) != 0 ? 1 : 0;
    held_ += (flag & CPulseTrain::held) != 0 ? 1 : 0;
    const double length = edges[i + 1] - edges[i];
    if ((flag & CPulseTrain::first) == 0 && times[i] != 0 && length > 0)
      speed.Add(length / times[i], length, rate);
  }
  speed_ = speed;
}
