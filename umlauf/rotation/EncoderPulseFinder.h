#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/encoder/DzPulsTisDetector.h"
#include "umlauf/platform/framework/Types.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/rotation/PulseAssembler.h"
#include "umlauf/rotation/PulseMerger.h"
#include "umlauf/rotation/PulseTrain.h"

/// Finds the pulses in the words of an encoder stream, block after block in constant memory: what
/// CPulseFinder is for sampled signals. Pitches and revolution times are negative while the shaft turns
/// backward (quadrature modes). Their angle is CShaftAngle(pulses, EdgesPerRevolution()).
///
/// One object serves one stream and one thread at a time.
class UMLAUF_API CEncoderPulseFinder {
 public:
  using Mode = CDzPulsTisDetector::ETisMode;

  /// How the words are to be read; see CDzPulsTisDetector.
  struct Format {
    Mode mode = Mode::tisStandard;
    bool lowWord = false;          ///< modes 1 and 4: the edges are in the low half of the words
    unsigned divider = 1;          ///< mode 1: only every n-th edge ends a pulse
    std::uint64_t minSamples = 0;  ///< shorter pulses are merged with the next one
  };

  /// A stream of `sampleRate` [words/s] of an encoder with so many edges (modes 1 and 4) or lines (the
  /// others) in a revolution.
  CEncoderPulseFinder(const Format& format, unsigned sampleRate, unsigned pulsesPerRev);

  /// Takes the next words, `stride` words apart, and replaces `pulses` by those that end in them. What the
  /// detector says about a format that it cannot read goes the way it says there.
  void Take(const ULONG* words, std::uint64_t count, unsigned stride, CPulseTrain& pulses);

  /// Pitches of a revolution: edges, or counts of the quadrature counter.
  double EdgesPerRevolution() const { return form_.edgesPerRev; }
  /// Edge words with the error bit so far.
  unsigned ErrorBits() const { return detector_.NumFehlerbits(); }

 private:
  PulseForm form_;
  CDzPulsTisDetector detector_;
  CPulseAssembler assembler_;
  CPulseMerger merger_;
  CDzPulsListe list_;
  CPulseTrain single_;
};
