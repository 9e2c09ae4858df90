#include "umlauf/rotation/PulseFinder.h"

#include <algorithm>

#include "umlauf/rotation/internal/Blocks.h"

CPulseFinder::CPulseFinder(CBlockSource& source, unsigned channel, const CDzPulsDetektor& detector,
                           std::size_t blockSize)
    : source_(source),
      channel_(channel),
      blockSize_(std::max<std::size_t>(blockSize, 1)),
      detector_(detector),
      assembler_(PulseForm::Of(detector)),
      failure_(umlauf::rotation::CheckSource(source, channel)) {
  detector_.StatistikAktivieren(false);
}

bool CPulseFinder::Next(CPulseTrain& pulses) {
  pulses.Clear();
  if (!failure_.IsEmpty()) return false;
  const SampleBlock block = source_.Read(blockSize_);
  if (block.count == 0) {
    failure_.Take(source_.HasFailed(), source_.Failure());
    return false;
  }
  detector_.PulseSuchen(block.samples + channel_, block.count, list_, static_cast<unsigned>(block.stride));
  assembler_.Take(list_, pulses);
  samples_ += block.count;
  if (!pulses.Complete()) failure_ = L"there is no memory for the pulses of one block";
  return pulses.Complete();
}
