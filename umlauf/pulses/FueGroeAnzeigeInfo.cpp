#include "umlauf/pulses/FueGroeAnzeigeInfo.h"

#include <cmath>

#include "umlauf/pulses/DzPulsListe.h"

FueGroeAnzeigeInfo::FueGroeAnzeigeInfo(const CDzPulsListe& list)
    : signalId(list.SignalId()),
      average(list.ReverseFactor() * list.AverSpeed()),
      pulses(list.NrRealPulses()),
      moving(average != 0.0f) {
  const float factor = list.SpeedFactor() * list.ReverseFactor();
  for (std::uint64_t i = 0; i < pulses; ++i) {
    const float speed = factor * list.PulsSpeed(static_cast<unsigned>(i));
    if (i == 0 || std::fabs(speed) < std::fabs(slowest)) slowest = speed;
    if (i == 0 || std::fabs(speed) > std::fabs(fastest)) fastest = speed;
  }
}
