#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/rotation/PulseTrain.h"

/// The errors of a wheel's own pitches, found by averaging over revolutions, and taken out of its pulses.
///
/// Edges that are a whole revolution apart belong to the same tooth: the angle between them is exact whatever
/// the pitches are. From these angles it follows where each other edge should lie; the mean of its deviation
/// over all revolutions is the error of that edge. Vibration of the shaft at whole orders is the same in
/// every revolution and cannot be told from it; all else is averaged out.
///
/// A value. One object is used by one thread at a time.
class UMLAUF_API CPitchErrors {
 public:
  /// From pulses of a wheel of `pitches` edges of a revolution without its gaps, a whole number from 2 to
  /// 100,000; gaps corrected, edges all of one direction. A gap begins the revolution again, where one is.
  CPitchErrors(const CPulseTrain& pulses, double pitches);

  /// False when there are no three whole revolutions, and without memory.
  bool IsValid() const { return !errors_.empty(); }
  /// Revolutions that were averaged.
  std::size_t Revolutions() const { return revolutions_; }
  /// [pitches, rev] how much further the shaft has turned at each edge than it should have; of mean 0. Edge 0
  /// is the last one before the gap, or the first of the recording.
  std::span<const double> Errors() const { return errors_; }
  /// The pulses with the pitches that the wheel has; as they are unless valid. Not `Complete` without memory.
  CPulseTrain Corrected(const CPulseTrain& pulses) const;

 private:
  void Average(const CPulseTrain& pulses);

  std::size_t pitches_ = 0, revolutions_ = 0;
  umlauf::QuietCopy<std::vector<double>> errors_;
};
