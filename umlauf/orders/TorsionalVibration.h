#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "umlauf/Export.h"
#include "umlauf/rotation/ShaftAngle.h"

/// Torsional vibration from the pulses alone: the speed of a shaft as frames over equal steps of its angle,
/// as COrderMap and COrderTracker take them; no other channel is needed. With one step for each pitch of the
/// wheel every frame is the exact mean speed from edge to edge.
///
/// Frame k is the mean from step k to step k + 1. So orders appear smaller, by sin(πo/s)/(πo/s) with s steps
/// of a revolution, and half a step early. Maps and tracks of a grid with `stepMeans` make up for both.
///
/// One object is used by one thread at a time; nothing is allocated.
class UMLAUF_API CTorsionalVibration {
 public:
  /// `steps` of a revolution, above 0: the pulses of the wheel. Pulses at `rate` [samples/s].
  CTorsionalVibration(double steps, double rate) : steps_(steps), rate_(rate) {}

  /// Writes the next speeds [rpm] and, unless null, their places (middle and speed of the step, its number);
  /// returns how many, `most` at most. 0: the angle ends.
  std::size_t Get(const CShaftAngle& angle, float* rpm, CShaftAngle::Passing* places, std::size_t most);

  /// Amplitude [°] of the angle that belongs to one of the speed at an order and a mean speed, both in rpm.
  static double AngleOf(double speedAmplitude, double order, double rpm);

 private:
  double steps_, rate_;
  std::optional<CShaftAngle::Passing> last_;
  std::array<CShaftAngle::Passing, 256> next_;
};
