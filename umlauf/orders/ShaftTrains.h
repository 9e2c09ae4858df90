#pragma once

#include "umlauf/Export.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/ShaftAngle.h"
#include "umlauf/signal/SigCurve.h"

/// Pulse trains of shafts that have no tacho of their own: CShaftAngle makes angles of them as of any other.
/// Safe on several threads. Empty, or not `Complete`, when there is no memory.
namespace ShaftTrains {

/// The train of a shaft that makes `ratio` turns for each of the shaft that the pulses come from, negative
/// where it turns the other way: −17/43 for a wheel of 17 teeth that drives one of 43. Pulses of a revolution
/// stay what they are. Empty for a ratio of 0 or no number.
UMLAUF_API CPulseTrain Geared(const CPulseTrain& pulses, double ratio);

/// The train of a shaft whose angle is a sum of those of two others, as of a planetary gear (Willis): with s
/// teeth of the sun and r of the ring the carrier turns by s/(s+r) of the one and r/(s+r) of the other. One
/// pulse of a revolution, with edges where either has one and both are known.
/// The angles are on one axis of samples, at `sampleRate` [samples/s].
struct Part {
  const CPulseTrain* pulses;
  double pulsesPerRevolution;
  double ratio;
};
UMLAUF_API CPulseTrain Sum(const Part& a, const Part& b);

/// The train of a shaft whose speed is known as a curve over time [s, rpm], negative backward, whose samples
/// are the means of a step around them, as CSpeedCurveBuilder makes them. Positions are on the axis of a
/// recording of `rate` [samples/s] whose first sample was taken at `startTime` [s]. One pulse of a
/// revolution. Empty for a curve without samples or step.
UMLAUF_API CPulseTrain FromSpeed(const CSigCurve& speed, double rate, double startTime = 0);

}  // namespace ShaftTrains
