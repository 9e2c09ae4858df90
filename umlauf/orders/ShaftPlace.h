#pragma once

#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/ShaftAngle.h"

/// When a shaft was where, and how fast.
struct ShaftPlace {
  double time = 0;        ///< [s]
  double revolution = 0;  ///< [rev] angle
  double rpm = 0;         ///< negative backward
};

/// The axis of the pulses that an angle came from, and the steps that it is counted in.
struct ShaftAxis {
  double rate = 1;                ///< [samples/s] of the pulses
  double startTime = 0;           ///< [s] of their first sample
  double stepsPerRevolution = 1;  ///< of the counts

  ShaftAxis(const CPulseTrain& pulses, double steps)
      : rate(pulses.SampleRate()), startTime(pulses.StartTime()), stepsPerRevolution(steps) {}
  ShaftPlace Place(const CShaftAngle::Passing& passing) const {
    return {startTime + passing.position / rate, static_cast<double>(passing.count) / stepsPerRevolution,
            60 * rate * passing.speed};
  }
};
