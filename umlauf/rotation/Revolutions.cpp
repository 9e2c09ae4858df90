#include "umlauf/rotation/Revolutions.h"

#include <cmath>

#include "umlauf/platform/memory/WithoutMemory.h"

void CRevolutions::Take(const CPulseTrain& pulses) {
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    if (pulse.Is(CPulseTrain::first)) continue;
    if (gapToGap_) {
      if (pulse.Is(CPulseTrain::gapStart)) {
        if (started_ && std::abs(pitches_ - pulsesPerRevolution_) <= 1) {
          Close(pulse.begin, 1, pulses.SampleRate());
        }
        started_ = true;
        begin_ = pulse.begin;
        pitches_ = 0;
      }
      pitches_ += pulse.pitches;
      continue;
    }
    if (!started_) begin_ = pulse.begin;
    started_ = true;
    pitches_ += pulse.pitches;
    if (std::abs(pitches_) >= pulsesPerRevolution_ - 1e-6) {
      Close(pulse.end, pitches_ / pulsesPerRevolution_, pulses.SampleRate());
      begin_ = pulse.end;
      pitches_ = 0;
    }
  }
}

void CRevolutions::Close(double end, double turns, double sampleRate) {
  if (!(end > begin_)) return;
  speed_.Add(turns, end - begin_, sampleRate);
  complete_ &= umlauf::HadMemory([&] { found_.push_back({begin_, end, turns, speed_.last}); });
}
