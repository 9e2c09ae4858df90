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
  std::array<double, chunk> lengths, turns, rpm;
  for (std::size_t i = 0; i < n; ++i) {
    lengths[i] = edges[i + 1] - edges[i];
    turns[i] = lengths[i] / times[i];
    rpm[i] = factor * turns[i] / lengths[i];
  }
  unsigned special = 0;
  for (std::size_t i = 0; i < n; ++i)
    special |= flags[i] & (CPulseTrain::first | CPulseTrain::gapStart | CPulseTrain::held);
  std::size_t counting = 0;
  for (std::size_t i = 0; i < n; ++i) counting += times[i] != 0 && lengths[i] > 0 ? 1 : 0;
  SpeedSummary speed = speed_;  // in registers
  if (special == 0 && counting == n && speed.count > 0) {
    for (std::size_t i = 0; i < n; ++i) Count(speed, turns[i], lengths[i], rpm[i]);
    speed_ = speed;
    return;
  }
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned flag = flags[i];
    correctedGaps_ += (flag & CPulseTrain::gapStart) != 0 ? 1 : 0;
    held_ += (flag & CPulseTrain::held) != 0 ? 1 : 0;
    if ((flag & CPulseTrain::first) == 0 && times[i] != 0 && lengths[i] > 0)
      Count(speed, turns[i], lengths[i], rpm[i]);
  }
  speed_ = speed;
}
