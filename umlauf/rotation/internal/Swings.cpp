#include "umlauf/rotation/internal/Swings.h"

#include <algorithm>

namespace umlauf::rotation {
namespace {

constexpr double irregular = 0.3;  ///< badness
constexpr std::uint64_t fewPulses = 4, enoughPulses = 10;
constexpr double manyPulses = 100, safe = 0.001;
constexpr double wandering = 0.1;  ///< of a swing, within four
constexpr double evenShare = 0.7;  ///< a gap takes two pulses of a revolution

}  // namespace

bool Swings::AreRegular() const {
  return scale.smallest > 0 && regularity.Pulses() >= fewPulses && Badness() < irregular;
}

bool Swings::AreFlawless() const {
  return AreRegular() && regularity.Pulses() >= enoughPulses && Misfits() <= 0 &&
         regularity.EvenShare() >= evenShare;
}

bool Swings::AreSafe() const {
  const auto pulses = static_cast<double>(regularity.Pulses());
  return pulses >= manyPulses && Misfits() <= safe * pulses && regularity.EvenShare() >= evenShare;
}

bool Swings::Wander() const { return wander > wandering * sizes; }

double Swings::Badness() const {
  const auto pulses = static_cast<double>(regularity.Pulses());
  const double uneven = std::max(0.0, evenShare - regularity.EvenShare());
  return (Misfits() + 0.5) / std::max(pulses, 1.0) + 2 * uneven;
}

}  // namespace umlauf::rotation
