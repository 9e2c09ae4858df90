#include "umlauf/rotation/SpeedSummary.h"

#include <algorithm>
#include <array>

namespace {

/// Pulses that are taken together; few enough for the processor's nearest cache.
constexpr std::size_t chunk = 256;

inline void Count(SpeedSummary& speed, double turns, double samples, double rpm) {
  if (speed.count == 0) speed.first = rpm;
  speed.last = rpm;
  speed.min = std::min(speed.min, rpm);
  speed.max = std::max(speed.max, rpm);
  speed.turns += turns;
  speed.samples += samples;
  ++speed.count;
}

}  // namespace

void SpeedSummary::Add(double addedTurns, double addedSamples, double sampleRate) {
  Count(*this, addedTurns, addedSamples, 60 * sampleRate * addedTurns / addedSamples);
}

void CPulseCounts::Take(const CPulseTrain& pulses, std::size_t from) {
  const std::size_t end = pulses.size();
  for (std::size_t i = from; i < end; i += chunk) TakeChunk(pulses, i, std::min(end - i, chunk));
  pulses_ += end - std::min(from, end);
}

void CPulseCounts::TakeChunk(const CPulseTrain& pulses, std::size_t from, std::size_t n) {
  const double *edges = &pulses.Edges()[from], *times = &pulses.RevolutionTimes()[from];
  const std::uint8_t* flags = &pulses.Flags()[from];
  // All quotients first, which the processor forms side by side; the sums keep the order of the pulses.
  const double factor = 60 * pulses.SampleRate();
  std::array<double, chunk> turns, rpm;
  for (std::size_t i = 0; i < n; ++i) {
    const double length = edges[i + 1] - edges[i];
    turns[i] = length / times[i];
    rpm[i] = factor * turns[i] / length;
  }
  SpeedSummary speed = speed_;  // in registers
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned flag = flags[i];
    correctedGaps_ += (flag & CPulseTrain::gapStart) != 0 ? 1 : 0;
    held_ += (flag & CPulseTrain::held) != 0 ? 1 : 0;
    const double length = edges[i + 1] - edges[i];
    if ((flag & CPulseTrain::first) == 0 && times[i] != 0 && length > 0)
      Count(speed, turns[i], length, rpm[i]);
  }
  speed_ = speed;
}
