#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/rotation/SpeedSummary.h"

/// Speed over whole revolutions, one after the other without overlap: the figure to trust on uneven wheels.
/// With gaps: from the last edge before a gap to the last edge before a gap that comes a whole wheel of
/// pitches later, to within one (a glitch is allowed, a gap that was missed is not); so with several gaps in
/// a revolution, too, up to 16. Without: from the first edge on, every pulses-per-revolution edges.
///
/// One object is used by one thread at a time.
class UMLAUF_API CRevolutions {
 public:
  struct Revolution {
    double begin, end;  ///< [samples]
    double turns;       ///< 1, or a little more where pulses of several edges do not end with the revolution
    double rpm;

    double Middle() const { return (begin + end) / 2; }
  };

  /// `pulsesPerRevolution`: edges of a revolution of the wheel without its gaps.
  CRevolutions(bool gapToGap, double pulsesPerRevolution)
      : gapToGap_(gapToGap), pulsesPerRevolution_(pulsesPerRevolution) {}
  CRevolutions(CRevolutions&&) noexcept = default;
  CRevolutions& operator=(CRevolutions&&) noexcept = default;

  /// Takes the next pulses, gaps corrected: those from number `from` on.
  void Take(const CPulseTrain& pulses, std::size_t from = 0);

  /// Those that were found since `Forget`.
  const std::vector<Revolution>& Found() const { return found_; }
  /// Drops those that were found, so that memory stays constant; the summary goes on.
  void Forget() { found_.clear(); }
  /// Over all of them.
  const SpeedSummary& Speed() const { return speed_; }
  /// False when there was no memory to keep one.
  bool Complete() const { return complete_; }

 private:
  /// Where a revolution may begin.
  struct Gap {
    double begin;    ///< [samples]
    double pitches;  ///< of all pulses before it
  };

  void TakeGap(const CPulseTrain::Pulse& pulse, double sampleRate);
  void Close(double end, double turns, double sampleRate);

  bool gapToGap_;
  double pulsesPerRevolution_;
  bool started_ = false;
  double begin_ = 0;
  double pitches_ = 0;  ///< since then; with gaps since the first pulse
  std::array<Gap, 16> gaps_{};
  std::size_t gapsSeen_ = 0;
  SpeedSummary speed_;
  std::vector<Revolution> found_;
  bool complete_ = true;
};
