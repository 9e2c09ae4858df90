#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "umlauf/Export.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/Wheel.h"

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
///
/// Works train after train in constant memory and allocates nothing itself; 6 pulses and a gap are held back.
/// One object serves one recording and one thread at a time.
class UMLAUF_API CGapCorrection {
 public:
  /// `relLength` is the length of the gap in pitches (3 for two missing teeth); nothing: it is measured.
  CGapCorrection(std::optional<double> relLength, double pulsesPerRevolution)
      : relLength_(relLength), pulsesPerRevolution_(pulsesPerRevolution) {}

  /// Takes the next pulses and appends to `corrected` those that are judged.
  void Take(const CPulseTrain& pulses, CPulseTrain& corrected);
  /// Appends what is still held back; call at the end of the recording.
  void Finish(CPulseTrain& corrected);

  /// Whole gaps that were corrected.
  std::size_t Gaps() const { return gaps_; }
  /// Mean length of the corrected gaps in pitches, as `relLength`; 0 without gaps.
  double RelativeLength() const { return gaps_ > 0 ? lengths_ / static_cast<double>(gaps_) : 0; }
  /// The wheel as it was seen: with one gap of that length, where one was corrected.
  PulseWheel Wheel() const;

 private:
  using Pulse = CPulseTrain::Pulse;
  static constexpr std::size_t reach = 6;  ///< pulses on either side that are compared with
  static constexpr std::size_t longestGap = 4;

  /// The pulses around the next one to be judged; more than ever are there at a time.
  class Window {
   public:
    std::size_t size() const { return size_; }
    const Pulse& operator[](std::size_t i) const { return ring_[(first_ + i) % room]; }
    void Push(const Pulse& pulse) { ring_[(first_ + size_++) % room] = pulse; }
    void Pop() {
      ++first_;
      --size_;
    }
    void Clear() { size_ = 0; }

   private:
    static constexpr std::size_t room = 32;
    std::array<Pulse, room> ring_;
    std::size_t first_ = 0, size_ = 0;
  };

  double Median(std::size_t begin, std::size_t end) const;
  double OrdinaryPitch() const;
  void JudgeNext(CPulseTrain& corrected);
  void EndRun(bool atEnd, CPulseTrain& corrected);
  double PitchesOfRun(double length, bool cut) const;
  void Emit(const Pulse& pulse, CPulseTrain& corrected);

  std::optional<double> relLength_;
  double pulsesPerRevolution_;
  Window window_;
  std::size_t next_ = 0;                     ///< in the window: to be judged
  std::array<Pulse, longestGap + 1> run_{};  ///< the long pulses just before it
  std::size_t runSize_ = 0;
  double runPitch_ = 0;  ///< length of an ordinary pulse around them
  bool runHasGap_ = false;
  bool overlong_ = false;  ///< more long pulses than a gap has: none until an ordinary one comes
  double sinceGap_ = 0;    ///< pitches since the last gap began
  std::size_t gaps_ = 0;
  double lengths_ = 0;
};
