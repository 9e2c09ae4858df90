#include "umlauf/rotation/EncoderPulseFinder.h"

CEncoderPulseFinder::CEncoderPulseFinder(const Format& format, unsigned sampleRate, unsigned pulsesPerRev)
    : form_(PulseForm::Of(format.mode, pulsesPerRev, format.divider)),
      detector_(format.mode),
      assembler_(form_),
      merger_(format.minSamples, form_.edgesPerRev) {
  detector_.SetPulsteiler(format.divider);
  detector_.Restart(sampleRate, pulsesPerRev, format.lowWord, format.mode);
  detector_.SetMinPulsSamples(0);
  // A word holds one edge. What looks like a pulse without samples is one that a block border cuts.
  detector_.SetAllowZeroLenPulses(true);
}

void CEncoderPulseFinder::Take(const ULONG* words, std::uint64_t count, unsigned stride,
                               CPulseTrain& pulses) {
  detector_.PulseSuchen(words, count, stride, list_);
  single_.Clear();
  pulses.Clear();
  assembler_.Take(list_, single_);
  merger_.Take(single_, pulses);
}
