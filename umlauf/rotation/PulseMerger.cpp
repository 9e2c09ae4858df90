#include "umlauf/rotation/PulseMerger.h"

void CPulseMerger::Take(const CPulseTrain& pulses, CPulseTrain& merged) {
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    CPulseTrain::Pulse pulse = pulses[i];
    if (pending_) {
      pulse.begin = short_.begin;
      pulse.samples += short_.samples;
      pulse.pitches += short_.pitches;
      pulse.Set(CPulseTrain::first, short_.Is(CPulseTrain::first));
      pulse.revolutionTime = pulse.Length() / pulse.pitches * edgesPerRev_;
    }
    short_ = pulse;
    pending_ = pulse.samples < minimum_ || pulse.pitches == 0;
    if (!pending_) merged.Append(pulse);
  }
}
