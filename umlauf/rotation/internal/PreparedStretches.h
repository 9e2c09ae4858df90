#pragma once

#include <span>
#include <vector>

#include "umlauf/rotation/internal/SamplePreparation.h"
#include "umlauf/rotation/internal/Share.h"
#include "umlauf/rotation/internal/TurningPoints.h"

namespace umlauf::rotation {

/// Stretches as they are to be followed, by their turning points; those that need no preparation are not
/// copied.
class PreparedStretches {
 public:
  PreparedStretches(const Stretches& stretches, const SwingScale& scale) {
    own_.reserve(stretches.size());
    for (const Stretch& each : stretches) {
      std::span<const float> samples = each.samples;
      if (scale.preparation != Preparation::none || !AreFinite(samples)) {
        SamplePreparation step(scale);
        std::vector<float>& out = own_.emplace_back();
        out.reserve(samples.size());
        step.Take(samples.data(), samples.size(), 1, out);
        step.Finish(out);
        samples = out;
      }
      stretches_.emplace_back(samples);
    }
  }

  auto begin() const { return stretches_.begin(); }
  auto end() const { return stretches_.end(); }

 private:
  std::vector<std::vector<float>> own_;
  std::vector<TurningPoints> stretches_;
};

}  // namespace umlauf::rotation
