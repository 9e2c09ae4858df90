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
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    ++pulses_;
    if (pulse.Is(CPulseTrain::gapStart)) ++correctedGaps_;
    if (pulse.Is(CPulseTrain::held)) ++held_;
    if (pulse.HasSpeed() && pulse.Length() > 0) {
      speed_.Add(pulse.Turns(), pulse.Length(), pulses.SampleRate());
    }
  }
}
