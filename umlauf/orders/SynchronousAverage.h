#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/orders/AngleGrid.h"
#include "umlauf/rotation/ShaftAngle.h"
#include "umlauf/signal/SigCurve.h"

/// Time-synchronous average: the mean of frames over equal steps of the angle at each angle of a revolution
/// (of several, where a part turns more slowly). What turns with the shaft stays; after n revolutions all
/// else is down by √n. What is left when it is taken off again is the residual, in which faults of other
/// parts show. Source: S. Braun, "The extraction of periodic waveforms by time domain averaging", Acustica 32
/// (1975).
///
/// A value. One object is used by one thread at a time. `Take` and `Subtract` allocate nothing.
class UMLAUF_API CSynchronousAverage {
 public:
  /// For frames of `channels` channels on a grid with a whole number of steps in a revolution; averaged over
  /// spans of `revolutions`, 1 or more. Empty for a grid that does not fit and without memory.
  CSynchronousAverage(const AngleGrid& grid, unsigned channels, unsigned revolutions = 1);
  CSynchronousAverage(CSynchronousAverage&&) noexcept = default;
  CSynchronousAverage& operator=(CSynchronousAverage&&) noexcept = default;

  bool IsValid() const { return steps_ > 0; }
  /// Takes the next n frames [n, channels] with their places.
  void Take(const float* frames, const CShaftAngle::Passing* places, std::size_t n);
  /// Spans that were averaged, on average over the steps.
  double Spans() const;
  /// The average of channel c [from 0] over 0 to `revolutions` rev, from the origin of the angle. False, and
  /// the result is empty, when there is none and without memory.
  bool Average(unsigned c, const CMeasuringUnit& unit, CSigCurve& out) const;
  /// Root mean square of the average of channel c, and that of the residual of all frames that were taken;
  /// 0 when there are none.
  double AverageRms(unsigned c) const;
  double ResidualRms(unsigned c) const;
  /// Takes the average off frames, which then are the residual.
  void Subtract(float* frames, const CShaftAngle::Passing* places, std::size_t n) const;

 private:
  std::size_t StepOf(const CShaftAngle::Passing& place) const;
  double Mean(std::size_t step, unsigned c) const;
  double Count() const;
  double SynchronousSquares(unsigned c) const;

  std::size_t steps_ = 0;  ///< of a span
  unsigned channels_, revolutions_;
  std::vector<double> sums_;     ///< [steps, channels]
  std::vector<double> squares_;  ///< [channels] of all frames
  std::vector<std::uint32_t> counts_;
};
