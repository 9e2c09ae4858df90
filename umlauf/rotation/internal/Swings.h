#pragma once

#include <vector>

#include "umlauf/rotation/internal/Regularity.h"
#include "umlauf/rotation/internal/SamplePreparation.h"

namespace umlauf::rotation {

/// What the swings of at least some size look like.
struct Swings {
  SwingScale scale{.smallest = 0};       ///< smallest swing 0: none were found
  std::vector<double> counts;            ///< in each stretch
  double count = 0;                      ///< up and down
  double dwarfs = 0;                     ///< of them far smaller than those around
  float highestLow = 0, lowestHigh = 0;  ///< levels between these two are passed by every swing
  double sizes = 0, wander = 0;          ///< sums: half swings, and how far their middles moved meanwhile
  double hum = 0;                        ///< of them that look like hum while the shaft stands
  double humLeftOut = 0;                 ///< as many smaller ones look so
  bool fading = false;                   ///< there are smaller ones, down to the noise
  double rivals = 0;                     ///< others, smaller or greater, that could be the teeth as well
  Regularity regularity;

  /// Teeth, as far as can be told.
  bool AreRegular() const;
  /// Nothing at all speaks against it; for few swings that is less than being far from bad.
  bool AreFlawless() const;
  /// As good as nothing speaks against it, in many pulses.
  bool AreSafe() const;
  /// Two levels serve for all swings, far enough apart for the noise.
  bool HaveCommonLevels() const { return lowestHigh - highestLow >= scale.smallest; }
  /// The level moves so fast that edges at a fixed one would come early and late.
  bool Wander() const;
  /// Pulses that do not fit to their neighbours.
  double Misfits() const { return regularity.Odd() + dwarfs; }
  /// 0 for teeth, more for what is less like them.
  double Badness() const;
};

}  // namespace umlauf::rotation
