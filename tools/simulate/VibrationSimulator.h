#pragma once

#include <complex>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tools/simulate/RandomNumbers.h"
#include "tools/simulate/SpeedProfile.h"

namespace umlauf::tool {

/// What a vibration sensor beside the tacho picks up; the angle is 0 at the start of the run.
struct VibrationSettings {
  /// amplitude · cos(2π order · angle + phase)
  struct Order {
    double order = 1, amplitude = 1, degrees = 0;
  };
  /// Teeth of a wheel that mesh: an order that a revolution modulates, as on a wheel that is not round.
  struct GearMesh {
    double teeth = 20, amplitude = 1, modulation = 0.3;
  };
  /// All orders come through a mass on a spring: 1 far below its frequency, 1 / (2 damping) at it.
  struct Resonance {
    double frequency = 200, damping = 0.05;  ///< [Hz], part of the critical damping
  };
  /// A dent in a ring: so many impacts in a revolution, each rings down.
  struct BearingFault {
    double order = 3.58, amplitude = 1, frequency = 3000;  ///< [Hz] of the ringing
    double decay = 0.002;                                  ///< [s] to 1/e
  };

  std::vector<Order> orders;
  std::optional<GearMesh> gearMesh;
  std::optional<Resonance> resonance;
  std::optional<BearingFault> bearing;
  double noise = 0;  ///< standard deviation

  bool Any() const { return !orders.empty() || gearMesh || bearing || noise > 0; }
  /// All orders, those of the gear mesh included.
  std::vector<Order> AllOrders() const;
};

/// The signal of that sensor, sample after sample; the same for the same settings. The resonance answers as
/// it would to a steady speed at each moment.
class VibrationSimulator {
 public:
  VibrationSimulator(SpeedProfile profile, const VibrationSettings& settings, double rate,
                     std::uint64_t seed);

  /// Fills with the next samples, `stride` floats apart.
  void Next(float* samples, std::size_t n, std::size_t stride);

 private:
  float Sample(double time);
  std::complex<double> Response(double frequency) const;
  double Ringing(double turns, double time);

  SpeedProfile profile_;
  VibrationSettings settings_;
  std::vector<VibrationSettings::Order> orders_;
  double rate_;
  NormalNumbers random_;
  std::uint64_t at_ = 0;
  double impacts_ = 0;             ///< so far
  std::complex<double> ring_ = 0;  ///< of all impacts so far
  std::complex<double> turn_ = 1;  ///< of the ringing, in a sample
};

}  // namespace umlauf::tool
