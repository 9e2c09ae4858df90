#pragma once

#include <vector>

/// A toothed wheel: what one revolution of the shaft looks like to the sensor.
struct PulseWheel {
  /// A gap: `length` pitches (3 where two teeth are missing) lie from the last edge before it to the next
  /// one.
  struct Gap {
    double place = 0;   ///< pitches from the first gap to this one
    double length = 0;  ///< [pitches], more than 1
  };

  double pitches = 1;     ///< edges of a revolution without gaps: 60 for 60-2 teeth; may have a fraction
  std::vector<Gap> gaps;  ///< by rising place; the first one is where a revolution begins

  /// Edges that a revolution has.
  double Teeth() const {
    double teeth = pitches;
    for (const Gap& gap : gaps) teeth -= gap.length - 1;
    return teeth;
  }
};
