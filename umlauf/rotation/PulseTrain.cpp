#include "umlauf/rotation/PulseTrain.h"

#include "umlauf/platform/memory/WithoutMemory.h"

bool CPulseTrain::Reserve(std::size_t pulses) {
  if (pulses <= room_) return true;
  const bool grown = umlauf::HadMemory([&] {
    edges_.reserve(pulses + 1);
    revolutionTimes_.reserve(pulses);
    pitches_.reserve(pulses);
    samples_.reserve(pulses);
    flags_.reserve(pulses);
  });
  if (grown) room_ = pulses;
  return grown;
}

void CPulseTrain::Append(const CPulseTrain& other) {
  complete_ = complete_ && other.complete_;
  const std::size_t n = other.size();
  for (std::size_t i = 0; i < n; ++i) Append(other[i]);
}

void CPulseTrain::Clear() {
  edges_.clear();
  revolutionTimes_.clear();
  pitches_.clear();
  samples_.clear();
  flags_.clear();
  complete_ = true;
}
