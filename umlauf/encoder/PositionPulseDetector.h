#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/encoder/QuadratureDecoder.h"
#include "umlauf/platform/framework/Types.h"

class CDzPulsListe;
class CFueGroeHopListe;

/// Turns the position of a quadrature encoder into a stepwise reference variable: hops with the mean
/// position, weighted with the time that it was held.
///
/// One detector is used by one thread at a time. It keeps no reference to words or lists.
class UMLAUF_API CPositionPulseDetector {
 public:
  /// Decodes one block of `count` words, `stride` words apart, of a quadrature stream of high or standard
  /// resolution at a sample rate, and writes its hops into the list, in place of those of the block before.
  /// A hop ends with the block and, when a pulse list of the same block is given, with each of its pulses
  /// (those that end within the block); so the hops cover the block without holes. Their value is the mean
  /// position [counts] / divisor + offset. Neither divider nor minimum length of pulses matter here: they
  /// have done their part in the pulse list. The list's average is left to `ListeAbschliessen`. A null
  /// pointer or a stride of 0 counts as an empty block.
  void process(const ULONG* words, std::uint64_t count, unsigned stride, bool highRes, CFueGroeHopListe& hops,
               unsigned sampleRate, const CDzPulsListe* pulses = nullptr, float divisor = 1.0f,
               float offset = 0.0f);

  /// Adds the time from the last event up to `time` [sub-samples], during which the current position was
  /// held, and returns it. Times may wrap around at 32 bits.
  unsigned accumulate_event(unsigned time);
  /// Closes a hop: whole samples of the accumulated time (times scale [samples per sub-sample], plus the
  /// fraction carried) and the mean position / divisor + offset. No hop is added and the accumulation goes
  /// on while there is no whole sample.
  /// Intended: the carry becomes what the whole samples leave in that case, too, so that this time counts
  /// once more at the next call. `process` closes at whole samples and never meets the case.
  void process_accumulate_event(float scale, CFueGroeHopListe& hops, float divisor, float offset);
  /// Starts again at position 0 with the next word. Intended: the carried fraction and the time of the last
  /// event stay.
  void reset();

  /// The position that holds from the last event on [counts].
  std::int32_t position() const { return position_; }
  void position(std::int32_t counts) { position_ = counts; }
  const CQuadratureDecoder& decoder() const { return decoder_; }

 private:
  CQuadratureDecoder decoder_;
  std::int32_t position_ = 0;
  std::uint32_t lastTime_ = 0;  // sub-samples
  float carry_ = 0.0f;          // samples
  std::int64_t accumulatedTime_ = 0;
  std::int64_t weightedSum_ = 0;  // counts * sub-samples
};
