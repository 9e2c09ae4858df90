#pragma once

#include <vector>

#include "umlauf/Export.h"
#include "umlauf/rotation/SpeedSummary.h"

/// Speed over whole revolutions, one after the other without overlap: the figure to trust on uneven wheels.
/// With a gap: from the last edge before a gap to the last edge before the next one, when a whole wheel of
/// pitches to within one lies between (a glitch is allowed, a gap that was missed is not). Without: from the
/// first edge on, every pulses-per-revolution edges.
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

  /// `pulsesPerRevolution`: edges of a revolution of the wheel without its gap.
  CRevolutions(bool gapToGap, double pulsesPerRevolution)
      : gapToGap_(gapToGap), pulsesPerRevolution_(pulsesPerRevolution) {}

  /// Takes the next pulses, gaps corrected.
  void Take(const CPulseTrain& pulses);

  /// Those that were found since `Forget`.
  const std::vector<Revolution>& Found() const { return found_; }
  /// Drops those that were found, so that memory stays constant; the summary goes on.
  void Forget() { found_.clear(); }
  /// Over all of them.
  const SpeedSummary& Speed() const { return speed_; }
  /// False when there was no memory to keep one.
  bool Complete() const { return complete_; }

 private:
  void Close(double end, double turns, double sampleRate);

  bool gapToGap_;
  double pulsesPerRevolution_;
  bool started_ = false;
  double begin_ = 0;
  double pitches_ = 0;
  SpeedSummary speed_;
  std::vector<Revolution> found_;
  bool complete_ = true;
};
