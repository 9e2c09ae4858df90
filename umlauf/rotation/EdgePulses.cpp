#include "umlauf/rotation/EdgePulses.h"

#include <algorithm>
#include <cmath>

#include "umlauf/platform/vekta/numeric.h"

void CEdgePulses::Take(std::span<const RecordedEdge> edges, CPulseTrain& pulses) {
  const unsigned divider = std::max(1u, settings_.divider);
  for (const RecordedEdge& edge : edges) {
    if (!any_) {
      first_ = edge.time;
      any_ = true;
    }
    if (!(edge.rising ? settings_.rising : settings_.falling)) continue;
    if (edges_ > 0 && !(edge.time > last_)) continue;
    last_ = edge.time;
    if (edges_++ == 0) {
      begin_ = edge.time;
      continue;
    }
    if (++inPulse_ < divider) continue;
    CPulseTrain::Pulse pulse;
    pulse.begin = (begin_ - first_) * sampleRate;
    pulse.end = (edge.time - first_) * sampleRate;
    pulse.pitches = divider;
    pulse.revolutionTime = pulse.Length() / divider * settings_.pulsesPerRevolution;
    pulse.samples = numeric::trunc_sat<std::uint64_t>(std::round(pulse.Length()));
    pulse.Set(CPulseTrain::rising, edge.rising);
    pulses.Append(pulse);
    begin_ = edge.time;
    inPulse_ = 0;
  }
}
