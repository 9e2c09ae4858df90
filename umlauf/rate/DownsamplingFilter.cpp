#include "umlauf/rate/DownsamplingFilter.h"

#include <algorithm>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rate/internal/FilterRun.h"
#include "umlauf/rate/internal/OutputGrid.h"
#include "umlauf/rate/internal/Strided.h"

using umlauf::rate::OutputGrid;

std::uint32_t CDownsamplingFilter::Taps(float ratio) const {
  return umlauf::rate::PhasedTaps::Taps(info_, ratio);
}

std::uint64_t CDownsamplingFilter::Downsampling(float* out, unsigned outStride, const float* in,
                                                std::uint64_t nIn, float ratio, float& phase, float gain) {
  const OutputGrid grid(nIn, ratio, phase);
  umlauf::rate::PhasedTaps* const taps = taps_.Get();
  if (!grid.Valid() || taps == nullptr || !taps->Arrange(info_, ratio)) return 0;
  phase = grid.NextPhase();
  umlauf::rate::FilterRun(grid, *taps, gain).Write(out, outStride, 0, grid.Count(), {in, 0, 1});
  return grid.Count();
}

std::uint64_t CDownsamplingFilter::KeinDownsampling(float* out, const float* in, std::uint64_t n, float,
                                                    float&, float gain) {
  QVL::MulFloat(out, in, n, gain);
  return n;
}

std::uint64_t CDownsamplingFilter::DummDownsampling(float* out, unsigned outStride, const float* in,
                                                    std::uint64_t nIn, float ratio, float& phase, float gain,
                                                    bool lastBlock) {
  const OutputGrid grid(nIn, ratio, phase);
  if (!grid.Valid()) return 0;
  phase = grid.NextPhase();
  float* to = out;
  for (std::uint64_t j = 0; j < grid.Count(); ++j, to += outStride) {
    const double position = grid.Position(j);
    const std::uint64_t i = grid.WholeSamples(position);
    if (lastBlock && i + 1 >= nIn) {
      *to = in[nIn - 1];
      break;
    }
    const float fraction = std::max(0.0f, static_cast<float>(position - static_cast<double>(i)));
    *to = i >= nIn ? in[nIn] : (1.0f - fraction) * in[i] + fraction * in[i + 1];
  }
  umlauf::rate::ScaleStrided(out, outStride, grid.Count(), gain);
  return grid.Count();
}
