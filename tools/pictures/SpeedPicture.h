#pragma once

#include <cstdint>
#include <string>

#include "tools/plot/PlotTrace.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/Revolutions.h"
#include "umlauf/rotation/SpeedComparison.h"

namespace umlauf::tool {

/// The speed of each pulse and each revolution over time as a picture, in bounded memory. Takes what was
/// found block by block, in order of time.
class SpeedPicture {
 public:
  SpeedPicture(double sampleRate, double startTime) : sampleRate_(sampleRate), startTime_(startTime) {}

  void Take(const CPulseTrain& pulses);
  void Take(const CRevolutions& revolutions);
  void Take(const CSpeedComparison& truth);
  /// With the deviations in a panel of their own when there is a truth (else null).
  Plot Finish(const std::string& title, const CSpeedComparison* truth) const;

 private:
  double sampleRate_, startTime_;
  std::uint64_t turns_ = 0;
  PlotTrace speed_, gaps_{400}, held_{400}, revolutions_, deviations_;
};

}  // namespace umlauf::tool
