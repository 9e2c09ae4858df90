#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/Wheel.h"
#include "umlauf/rotation/WheelFinder.h"

/// Corrects the pulses at the gaps of a toothed wheel, over a whole recording.
///
/// Each pulse is compared with the median of the 6 pulses before it and that of the 6 behind it, whichever is
/// longer. Up to 4 successive pulses that are longer than 1.2 medians, one of them longer than 1.5, may be
/// one gap: sensors often lengthen the tooth behind the gap at the cost of the gap itself, so only the two
/// together have the right length. A gap of n pulses stands for n - 1 + relLength pitches of the wheel. All
/// its pulses get the revolution time of the gap as a whole.
///
/// All gaps of the recording together decide which of them are gaps of the wheel, and how many teeth each
/// lacks (CWheelFinder); a run-up or a tooth that was missed does not come back after a revolution and is
/// left as it is. With a relative length only those count that are less than 35 % off, and each decides for
/// itself where none of them comes back. One that the end of the recording cuts keeps its speed, when it
/// comes a revolution after another. A recording that begins in a gap has one wrong pulse there.
///
/// Works train after train in bounded memory: everything is held back up to the end of the recording or to
/// `Horizon` pulses, 41 bytes each; from there on a revolution is. One object serves one recording and one
/// thread at a time.
class UMLAUF_API CGapCorrection {
 public:
  /// `relLength` is the length of the gaps in pitches (3 for two missing teeth); nothing: they are measured.
  /// Without `pulsesPerRevolution` the teeth from gap to gap are counted, and the pulses to take have the
  /// revolution times of a wheel of one pulse; a relative length is then not used.
  CGapCorrection(std::optional<double> relLength, std::optional<double> pulsesPerRevolution)
      : relLength_(pulsesPerRevolution ? relLength : std::nullopt),
        pulsesPerRevolution_(pulsesPerRevolution),
        finder_(pulsesPerRevolution) {}
  CGapCorrection(CGapCorrection&&) noexcept = default;
  CGapCorrection& operator=(CGapCorrection&&) noexcept = default;

  /// Pulses after which the wheel is decided upon, by the gaps up to there. Default 262,144.
  void Horizon(std::size_t pulses) { horizon_ = pulses; }

  /// Takes the next pulses and appends to `corrected` those that are judged.
  void Take(const CPulseTrain& pulses, CPulseTrain& corrected);
  /// Appends what is still held back; call at the end of the recording. False without memory for all that had
  /// to be held back; pulses are then missing.
  bool Finish(CPulseTrain& corrected);

  /// Whole gaps that were corrected.
  std::size_t Gaps() const { return gaps_; }
  /// Mean length of the corrected gaps in pitches, as `relLength`; 0 without gaps.
  double RelativeLength() const { return gaps_ > 0 ? lengths_ / static_cast<double>(gaps_) : 0; }
  /// The wheel as it was seen, with the gaps that were found; complete behind `Finish`.
  const PulseWheel& Wheel() const { return wheel_; }

 private:
  using Pulse = CPulseTrain::Pulse;
  static constexpr std::size_t reach = 6;  ///< pulses on either side that are compared with
  static constexpr unsigned longestGap = 4;

  void AddPitchLengths();
  bool LikeNeighbours(std::size_t i) const;
  double Median(std::size_t begin, std::size_t end) const;
  double OrdinaryPitch() const;
  void PassOrdinary();
  void JudgeNext();
  void EndRun();
  void Decide(bool lastIsCut);
  void TakeWheelOfAccepted();
  void Release(bool atEnd, bool lastIsCut, CPulseTrain& corrected);
  double PitchesOf(std::size_t i, bool cut) const;
  bool Fits(const LongPulses& each) const;
  bool TurnsAfterAnother(const LongPulses& each) const;
  void Emit(std::size_t end, CPulseTrain& corrected);
  void EmitGap(const LongPulses& gap, double pitches, bool cut, CPulseTrain& corrected);
  void ForgetEmitted();

  std::optional<double> relLength_, pulsesPerRevolution_;
  CWheelFinder finder_;
  PulseWheel wheel_{pulsesPerRevolution_.value_or(1), {}};
  double scale_ = 1;  ///< of the revolution times
  std::size_t horizon_ = 262144;
  bool decided_ = false;
  bool eachForItself_ = false;  ///< the relative length is given, and none comes back
  bool complete_ = true;

  CPulseTrain held_;                  ///< what is not yet emitted, and some pulses before it
  std::vector<double> pitchLengths_;  ///< [samples] of each of them
  std::size_t next_ = 0;              ///< of them: to be judged
  std::size_t emitted_ = 0;
  double edge_ = 0;  ///< edges of the recording before `next_`

  unsigned runSize_ = 0;  ///< long pulses just before `next_`
  double runPitch_ = 0;   ///< length of an ordinary pulse around them
  double runEdge_ = 0;
  bool runHasGap_ = false;
  bool overlong_ = false;  ///< more long pulses than a gap has: none until an ordinary one comes

  std::vector<LongPulses> found_;
  std::vector<std::size_t> begins_;   ///< their first pulses among those that are held
  std::size_t decidedUpon_ = 0;       ///< of them
  std::vector<LongPulses> accepted_;  ///< where the relative length is given
  std::size_t gaps_ = 0;
  double lengths_ = 0;
};
