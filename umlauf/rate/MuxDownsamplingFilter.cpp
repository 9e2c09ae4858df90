#include "umlauf/rate/MuxDownsamplingFilter.h"

#include <algorithm>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rate/DownsamplingFilter.h"
#include "umlauf/rate/internal/FilterRun.h"

using umlauf::rate::OutputGrid;

std::uint32_t CMuxDownsamplingFilter::Taps(float ratio) const {
  return umlauf::rate::PhasedTaps::Taps(info_, ratio);
}

void CMuxDownsamplingFilter::SetInfo(const CDownsamplingInfo& info) {
  info_ = info;
  taps_.Forget();
}

std::uint64_t CMuxDownsamplingFilter::Downsampling(float* out, const float* in, std::uint64_t nIn,
                                                   unsigned channels, float ratio, float& phase, float gain) {
  const OutputGrid grid(nIn, ratio, phase);
  umlauf::rate::PhasedTaps* const arranged = taps_.Get();
  if (!grid.Valid() || channels == 0 || arranged == nullptr || !arranged->Arrange(info_, ratio)) return 0;
  // The channels are laid out one by one, as many frames at a time as stay in the cache, so that they go
  // through the single-channel run.
  constexpr unsigned together = 8;
  const std::size_t taps = arranged->Rows().taps, frames = 4096 + 5 * taps;
  if (planes_.size() < together * frames && !planes_.alloc(together * frames)) return 0;
  phase = grid.NextPhase();
  const umlauf::rate::FilterRun run(grid, *arranged, gain);
  const double distances = static_cast<double>(frames - taps - 1) / grid.Ratio();
  const std::uint64_t most = 1 + numeric::trunc_sat<std::uint64_t>(distances);  // outputs from so many frames
  for (unsigned first = 0; first < channels; first += together) {
    const unsigned count = std::min(together, channels - first);
    for (std::uint64_t j = 0; j < grid.Count(); j += most) {
      const std::uint64_t n = std::min(most, grid.Count() - j);
      const std::int64_t begin = run.Begin(j);
      const std::size_t used = static_cast<std::size_t>(run.Begin(j + n - 1) - begin) + taps;
      const float* from = in + begin * static_cast<std::int64_t>(channels) + first;
      for (unsigned c = 0; c < count; ++c) {
        QVL::Interleave(planes_.data() + c * frames, 1, from + c, channels, used);
      }
      run.Write(out + j * channels + first, channels, j, n, {planes_.data(), frames, count}, begin);
    }
  }
  return grid.Count();
}

std::uint64_t CMuxDownsamplingFilter::NoResampling(float* out, const float* in, std::uint64_t n,
                                                   unsigned channels, float ratio, float& phase, float gain) {
  if (channels == 0) return 0;
  CDownsamplingFilter::KeinDownsampling(out, in, n * channels, ratio, phase, gain);
  return n;
}

std::uint64_t CMuxDownsamplingFilter::SimpleDownsamplingMean(float* out, const float* in, std::uint64_t nIn,
                                                             unsigned channels, float ratio, float& phase,
                                                             float* partialSums, float gain, bool lastBlock) {
  const float start = phase;
  std::uint64_t outputs = 0;
  for (unsigned c = 0; c < channels; ++c) {
    phase = start;
    outputs = CDownsamplingFilter::SimpleDownsamplingMean(out + c, channels, in + c, nIn, channels, ratio,
                                                          phase, partialSums[c], gain, lastBlock);
  }
  return outputs;
}
