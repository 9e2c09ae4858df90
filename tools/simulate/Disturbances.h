#pragma once

#include <cstdint>
#include <limits>

#include "tools/simulate/RandomNumbers.h"

namespace umlauf::tool {

/// What happens to a sensor's signal on its way into the file: it is lost for moments, rides on a level that
/// moves, catches spikes, and leaves the range of the converter. In the unit of the signal.
class Disturbances {
 public:
  struct Settings {
    double level = 0;                                          ///< the signal rides on
    double drift = 0;                                          ///< the level swings so far up and down
    double driftPeriod = 10;                                   ///< [s], > 0
    double stepRate = 0;                                       ///< jumps of the level per second
    double stepSize = 1;                                       ///< to anywhere between this and its negative
    double spikeRate = 0;                                      ///< per second
    double spikeSize = 5;                                      ///< of one sample, up or down
    double dropoutRate = 0;                                    ///< losses of the signal per second
    double dropoutLength = 0.001;                              ///< [s]
    double lowest = -std::numeric_limits<double>::infinity();  ///< clipped there
    double highest = std::numeric_limits<double>::infinity();
    double wrap = 0;  ///< > 0: what leaves ± half of this comes in again at the other end
  };

  Disturbances(const Settings& settings, std::uint64_t seed);

  /// The sample that is recorded for a value of the sensor. Times must not fall.
  double Apply(double value, double time);

 private:
  double Level(double time);
  bool IsLost(double time);

  Settings settings_;
  NormalNumbers random_;
  RandomMoments steps_, spikes_, dropouts_;
  double step_ = 0;
  double lostUntil_ = -1;
};

}  // namespace umlauf::tool
