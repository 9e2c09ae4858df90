#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/Types.h"
#include "umlauf/typed/ChannelDescription.h"

class CDzPulsListe;
class CString;

namespace umlauf::encoder {
class PulseBuffer;
}

/// Finds speed pulses in the digital stream of an edge-timing (Tis) input, whose words tell for each sample
/// whether there was an edge and when, and writes those of each block into a pulse list.
///
/// The stream's format is the channel's ETisMode. Modes 1 and 4 use one half of the 32-bit word, so that two
/// channels share a stream; the quadrature modes use the whole word:
///
/// | mode | an edge is | its time within the sample |
/// |---|---|---|
/// | 1 | bits 7 and 5 set (bit 6: error, the edge still counts) | bits 8-15, in ticks of the input's clock |
/// | 4 | bits 12-15 not 0: that many edges (15 also counts as an error) | bits 1-11, in 1/R of a sample |
/// | 2, 3 | a change of the counter in bits 16-31 | bits 1-11, in 1/2048 of a sample, cut to 4/R |
/// | 5, 6 | a change of the counter in bits 16-31 | bits 1-11, in 1/R of a sample |
///
/// R is 2048 for sample rates up to 50000, 1024 up to 100000, 512 above. Bits of modes 1 and 4 count within
/// the half. Modes 2 and 5 count four times per line of the encoder. The clock of mode 1 follows from the
/// sample rate, which must be 12000, 12500, 24000, 25000, 48000, 50000, 96000, 100000, 192000 or 200000. A
/// time that points behind its sample is taken as it is.
///
/// The value of a pulse is the time of one revolution in samples; in the quadrature modes it is negative
/// while the counter runs down. The first edge after `Restart` starts the first pulse, but in mode 1 the
/// first block's begin does. Intended: the divider divides the values in mode 1 and multiplies them in the
/// others, where it does not select edges; only mode 1 tells the list its pulses per revolution.
///
/// Blocks join without a seam: without a minimum pulse length the values of the closed pulses do not depend
/// on the split into blocks, in mode 1 within the single precision of the length that is carried over.
/// Intended: a minimum pulse length counts the samples of the block at hand only, so with one the split
/// matters. Some minimum remains even when it is set to 0: one sample in mode 1 unless zero-length pulses are
/// allowed, one sample between pulses in the quadrature modes, and in mode 4 an edge exactly at the begin of
/// a block or of a sample that the pulse before has used up ends its pulse without an entry.
///
/// One detector is used by one thread at a time. It keeps no reference to words or list.
class UMLAUF_API CDzPulsTisDetector {
 public:
  using ETisMode = CYChannelDescriptionInterface::ETisMode;

  /// 50000 samples/s, one pulse per revolution, high half, 50 samples minimum pulse length.
  explicit CDzPulsTisDetector(ETisMode mode) : mode_(mode) {}

  /// Starts a new stream: forgets pulse in progress, countdown of the divider, error bits, counter and that a
  /// message was shown. Mode `tisNone` keeps the mode. The minimum pulse length in samples becomes the whole
  /// part of sample rate times minimum time.
  void Restart(unsigned sampleRate, unsigned pulsesPerRev, bool lowWord, ETisMode mode);

  /// Decodes one block of `count` words, `stride` words apart, and fills the list with its pulses, completed
  /// and averaged. Returns the number of edge words of the block with the error bit (0 in the quadrature
  /// modes). Without a mode, in an unknown mode and in mode 1 at an unsupported sample rate the list is
  /// emptied and a message box tells why, once until `Restart`. A null pointer or a stride of 0 counts as an
  /// empty block.
  unsigned PulseSuchen(const ULONG* samples, std::uint64_t count, unsigned stride, CDzPulsListe& list);

  /// Reduces the rate of raw words [n words, contiguous] for display by `ratio` [words per output]. Each
  /// output stands for the words since the output before: the last one with an edge, else the last one, so
  /// that no edge vanishes. Returns the number of outputs written: whole(n / ratio + phase), at most `outN`;
  /// what has no room is dropped. `phase` becomes the remainder; hand in 0 for the first block and then what
  /// came back. The words behind the last output are kept for the next block, so one detector reduces one
  /// stream. A ratio of 1 or less copies the words and makes the phase 0. Returns 0 and changes nothing when
  /// the ratio is not above 0 and finite, the phase not 0 to 1, or a pointer null. `out` must not overlap
  /// `in`.
  unsigned Downsampling(const ULONG* in, unsigned n, ULONG* out, unsigned outN, float ratio, float& phase);

  /// Minimum pulse length in seconds; in samples its whole part.
  void SetMinPulsTime(float seconds);
  /// Minimum pulse length in samples. `Restart` forms it anew from the time it stands for [float], which for
  /// some lengths gives one sample less.
  void SetMinPulsSamples(unsigned n);
  float MinPulsTime() const { return minTime_; }
  unsigned MinPulsSamples() const { return minSamples_; }
  /// Only every n-th edge ends a pulse (mode 1); 0 counts as 1.
  void SetPulsteiler(unsigned n) { divider_ = n == 0 ? 1 : n; }
  /// Mode 1: lets an edge end a pulse in the very sample in which it began. Otherwise the pulse goes on.
  void SetAllowZeroLenPulses(bool allow) { allowZeroLength_ = allow; }
  void SetMode(ETisMode mode) { mode_ = mode; }
  ETisMode Mode() const { return mode_; }
  /// Samples per second of the stream. The minimum pulse length stays the same number of samples.
  void SetSampleRate(unsigned rate) { sampleRate_ = rate; }
  unsigned SampleRate() const { return sampleRate_; }
  /// Edge words with the error bit since `Restart`.
  unsigned NumFehlerbits() const { return errorBits_; }

 private:
  /// State of high-resolution decoding, one for each half of the word.
  struct HalfWord {
    bool armed = false;
    std::uint64_t samplesSinceEdge = 0;
    std::uint32_t lastPosition = 0;  // within its sample
  };
  /// The counter of the quadrature stream.
  struct Counter {
    bool started = false;
    ULONG last = 0;  // word
  };
  /// The last change of the counter; its time counts sub-samples from the block's begin.
  struct PreviousEvent {
    std::int64_t time = 0;
    bool seen = false;
  };
  struct QuadratureBlock;
  /// What `Downsampling` carries from block to block.
  struct Display {
    ULONG kept = 0;
    bool keptIsEdge = false;
    bool started = false;
    ULONG last = 0;
  };

  void ShowOnce(const CString& message);
  unsigned Shift() const { return lowWord_ ? 0 : 16; }
  unsigned PulseSuchenStandardTis(const ULONG* words, std::uint64_t count, unsigned stride,
                                  CDzPulsListe& list);
  unsigned PulseSuchenHiResTis(const ULONG* words, std::uint64_t count, unsigned stride, CDzPulsListe& list);
  unsigned PulseSuchenQuadratureEnc(const ULONG* words, std::uint64_t count, unsigned stride, bool fourfold,
                                    bool highRes, CDzPulsListe& list);
  void TakeEvent(QuadratureBlock& block, std::int64_t time, ULONG word, umlauf::encoder::PulseBuffer& pulses);
  bool IsEdge(ULONG word) const;
  void KeepForDisplay(ULONG word);

  std::uint32_t sampleRate_ = 50000;
  std::uint32_t pulsesPerRev_ = 1;
  bool lowWord_ = false;
  ETisMode mode_;
  std::uint32_t divider_ = 1;
  float carry_ = 0.0f;  // length of the pulse in progress [samples; quadrature modes: sub-samples]
  float minTime_ = 0.001f;
  std::uint32_t minSamples_ = 50;
  bool allowZeroLength_ = false;
  std::int64_t edgesInPulse_ = 0;       // negative while a counter runs down
  std::uint32_t dividerRemaining_ = 0;  // 0: start at the divider
  std::uint32_t errorBits_ = 0;
  Counter counter_;
  PreviousEvent previous_;
  HalfWord halves_[2];
  Display display_;
  bool messageShown_ = false;
};
