#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

#include "tools/Pulse.h"

namespace umlauf::tool {

/// Corrects the pulses at the gap of a toothed wheel, over a whole recording.
///
/// Each pulse is compared with the median of the 6 pulses before it and that of the 6 behind it, whichever is
/// longer: so neither a run-up from standstill nor an engine that is cranked looks like a gap. Up to 4
/// successive pulses that are longer than 1.2 medians, one of them longer than 1.5, are one gap: sensors
/// often lengthen the tooth behind the gap at the cost of the gap itself, so only the two together have the
/// right length. A gap of n pulses stands for n - 1 + relLength pitches of the wheel; without a relative
/// length, for its length in medians, rounded to whole pitches. All its pulses get the revolution time of the
/// gap as a whole.
///
/// A gap that does not fit (35 % off the relative length, or, without one, more missing teeth than a quarter
/// of the wheel) is left as it is. One that the end of the recording cuts keeps the speed before it, when it
/// comes a revolution after the last gap. A recording that begins in a gap has one wrong pulse there.
class GapCorrection {
 public:
  /// `relLength` is the length of the gap in pitches (3 for two missing teeth).
  GapCorrection(std::optional<double> relLength, double pulsesPerRevolution, PulseSink sink);

  void Take(const Pulse& pulse);
  /// Hands on what is still held back; call at the end of the recording.
  void Finish();

  std::size_t gaps() const { return gaps_; }
  /// Mean length of the corrected gaps in pitches, as `relLength`; 0 without gaps.
  double relativeLength() const { return gaps_ > 0 ? lengths_ / static_cast<double>(gaps_) : 0; }

 private:
  /// Length of an ordinary pulse around the next one to be judged.
  double OrdinaryPitch() const;
  void JudgeNext();
  void EndRun(bool atEnd);
  /// Pitches that the long pulses stand for; 0 when they are no gap.
  double PitchesOfRun(double length, bool cut) const;
  void Emit(const Pulse& pulse);

  std::optional<double> relLength_;
  double pulsesPerRevolution_;
  PulseSink sink_;
  std::deque<Pulse> window_;  ///< the pulses around the next one to be judged
  std::size_t next_ = 0;      ///< its index in the window
  std::vector<Pulse> run_;    ///< the long pulses just before it
  double runPitch_ = 0;       ///< length of an ordinary pulse around them
  bool runHasGap_ = false;
  bool overlong_ = false;  ///< more long pulses than a gap has: none until an ordinary one comes
  double sinceGap_ = 0;    ///< pitches since the last gap began
  std::size_t gaps_ = 0;
  double lengths_ = 0;
};

}  // namespace umlauf::tool
