#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/rotation/PulseTrain.h"

/// The angle of a shaft over time, from the edges of its pulses, in revolutions: 0 at the first edge, growing
/// while the shaft turns forward. Exact at the edges. Between them a cubic whose speeds at the edges are the
/// harmonic means of the speeds on either side (Fritsch and Butland, SIAM J. Sci. Stat. Comput. 5, 1984): it
/// is smooth in speed and never turns back within a pulse. Outside the edges the speed of the outermost pulse
/// goes on.
///
/// Positions are in samples on the axis of the train; `CPulseTrain::Time` makes seconds of them. The angle is
/// immutable: one object may be used by several threads.
class UMLAUF_API CShaftAngle {
 public:
  /// `pulsesPerRevolution`: edges of a revolution of the wheel without its gaps; those of the train must be
  /// corrected. The train is not referred to afterwards. `origin` [rev] is the angle of the first edge, for
  /// trains that are part of a longer one. Not `Valid` without two edges or memory, or
  /// with angles beyond 1e15 rev.
  CShaftAngle(const CPulseTrain& pulses, double pulsesPerRevolution, double origin = 0);

  bool Valid() const { return knots_.size() > 1; }
  /// [samples] of the first and the last edge; 0 unless valid.
  double Begin() const { return Valid() ? knots_.front().position : 0; }
  double End() const { return Valid() ? knots_.back().position : 0; }
  /// Whether the shaft never turns backward, or never forward: then each angle is reached once.
  bool OneWay() const { return oneWay_; }

  /// Angle [rev] at a position [samples]; NaN unless valid.
  double At(double position) const;
  /// Angles at n positions from `first` on, `step` apart (step > 0); faster than one by one.
  void At(double first, double step, std::size_t n, double* angles) const;
  /// Speed [rev/sample] at a position, negative backward; NaN unless valid.
  double SpeedAt(double position) const;
  /// Position [samples] at which an angle [rev] is reached; the first such place where the shaft turns to and
  /// fro, but one before the first edge where the first speed leads back to it. NaN when it never is, and
  /// unless valid.
  double PositionOf(double angle) const;

  /// A place where the shaft passes a multiple of some angle.
  struct Passing {
    double position = 0;     ///< [samples]
    double speed = 0;        ///< [rev/sample] there, negative backward
    std::int64_t count = 0;  ///< which multiple
  };
  /// Writes the places behind `from` [samples] where the shaft passes whole multiples of `step` [rev] > 0, in
  /// the order in which it passes them, from the first to the last edge: to and fro where it turns so, none
  /// where it stands. What lies within 0.0001 of a step is passed already, so that a call that begins at the
  /// last place of the one before goes on from there. Returns their number, `most` at most.
  std::size_t Passings(double step, double from, std::size_t most, Passing* out) const;

 private:
  struct Knot {
    double position;  ///< [samples]
    double angle;     ///< [rev]
    double speed;     ///< [rev/sample]
  };

  void AddEdges(const CPulseTrain& pulses, double pulsesPerRevolution, double origin);
  void SetSpeeds();
  std::size_t SegmentAt(double position) const;
  double In(std::size_t segment, double position) const;
  double Solve(std::size_t segment, double angle) const;
  std::size_t PassingsIn(std::size_t segment, double step, double from, std::size_t most, Passing* out) const;

  umlauf::QuietCopy<std::vector<Knot>> knots_;
  bool oneWay_ = true;
};
