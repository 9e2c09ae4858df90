#include "umlauf/rate/internal/PhasedTaps.h"
#include "umlauf/platform/vekta/QVL.h"

#include <algorithm>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/rate/internal/RatioGrid.h"
#include "umlauf/rate/internal/TapRun.h"

namespace umlauf::rate {

std::uint32_t PhasedTaps::Taps(const CDownsamplingInfo& info, float ratio) {
  const std::uint32_t length = info.FilterLen();
  if (length < 2) return 0;
  const float taps = ratio / info.MaxRatio() * static_cast<float>(length) + 0.5f;
  return std::clamp(numeric::trunc_sat<std::uint32_t>(taps), 2u, length);
}

bool PhasedTaps::Arrange(const CDownsamplingInfo& info, float ratio) {
  const std::uint32_t length = info.FilterLen(), taps = Taps(info, ratio);
  if (taps == 0) return false;
  const std::uint32_t step = length / taps, rest = length - step * taps;
  const float* table = info.FilterCoefficients();
  if (table != table_ || length != length_ || info.DownscaleFactor() != downscale_ || taps != taps_ ||
      step != step_ || rows_.empty()) {
    table_ = nullptr;
    taps_ = taps;
    step_ = step;
    if (!Fill(table, info.DownscaleFactor(), rest / 2 + step)) return false;
    table_ = table;
    length_ = length;
    downscale_ = info.DownscaleFactor();
  }
  if (ratio != ratio_) {
    const double tolerance = 0.125 / step;  // lanes keep their row for a while
    period_ = RatioGrid::Denominator(static_cast<double>(ratio), kLongestPeriod, tolerance, 0.0);
    ratio_ = ratio;
  }
  norm_ =
      (static_cast<float>(rest) / static_cast<float>(step) + static_cast<float>(taps)) * info.FilterNorm();
  return true;
}

bool PhasedTaps::Fill(const float* table, std::uint32_t downscale, std::uint32_t start) {
  const std::size_t used = taps_ - 1, phases = std::size_t{step_} + 1;
  stride_ = (used + 15) / 16 * 16;
  if (!rows_.alloc(phases * stride_)) return false;
  for (std::size_t phase = 0; phase < phases; ++phase) {
    QVL::Interleave(rows_.data() + phase * stride_, 1, table + (start - phase) * downscale,
                    std::size_t{step_} * downscale, used);
  }
  return true;
}

}  // namespace umlauf::rate
