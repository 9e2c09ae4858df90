#include "umlauf/rotation/Revolutions.h"

#include <algorithm>
#include <cmath>

#include "umlauf/platform/memory/WithoutMemory.h"

void CRevolutions::Take(const CPulseTrain& pulses, std::size_t from) {
  const auto edges = pulses.Edges(), pitches = pulses.Pitches();
  const auto flags = pulses.Flags();
  const double whole = pulsesPerRevolution_ - 1e-6;
  double sum = pitches_;  // in a register
  for (std::size_t i = from; i < flags.size(); ++i) {
    if ((flags[i] & CPulseTrain::first) != 0) continue;
    if (gapToGap_) {
      if ((flags[i] & CPulseTrain::gapStart) != 0) {
        pitches_ = sum;
        TakeGap(pulses[i], pulses.SampleRate());
      }
      sum += pitches[i];
      continue;
    }
    if (!started_) begin_ = edges[i];
    started_ = true;
    sum += pitches[i];
    if (std::abs(sum) >= whole) {
      Close(edges[i + 1], sum / pulsesPerRevolution_, pulses.SampleRate());
      begin_ = edges[i + 1];
      sum = 0;
    }
  }
  pitches_ = sum;
}

void CRevolutions::TakeGap(const CPulseTrain::Pulse& pulse, double sampleRate) {
  const std::size_t known = std::min(gapsSeen_, gaps_.size());
  for (std::size_t i = 1; i <= known; ++i) {
    const Gap& gap = gaps_[(gapsSeen_ - i) % gaps_.size()];
    const double turn = pitches_ - gap.pitches;
    if (gap.begin < begin_ || turn > pulsesPerRevolution_ + 1) break;
    if (turn < pulsesPerRevolution_ - 1) continue;
    begin_ = gap.begin;
    Close(pulse.begin, 1, sampleRate);
    begin_ = pulse.begin;
    break;
  }
  gaps_[gapsSeen_++ % gaps_.size()] = {pulse.begin, pitches_};
}

void CRevolutions::Close(double end, double turns, double sampleRate) {
  if (!(end > begin_)) return;
  speed_.Add(turns, end - begin_, sampleRate);
  complete_ &= umlauf::HadMemory([&] { found_.push_back({begin_, end, turns, speed_.last}); });
}
