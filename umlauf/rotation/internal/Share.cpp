#include "umlauf/rotation/internal/Share.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::rotation {

void Share::Take(const float* samples, std::size_t n, std::size_t stride) {
  alignas(128) std::array<float, part> buffer;
  while (n > 0) {
    const std::size_t count = std::min({n, part - inPart_, part});
    const float* x = samples;
    if (stride != 1) {
      QVL::Interleave(buffer.data(), 1, samples, stride, count);
      x = buffer.data();
    }
    TakeRange(x, count);
    const std::uint64_t index = at_ / stretch;
    if (index % interval_ == 0) {
      if (at_ % stretch == 0) {
        if (stretches_.size() == mostStretches) {
          interval_ *= 2;
          for (std::size_t i = 1; 2 * i < stretches_.size(); ++i)
            stretches_[i] = std::move(stretches_[2 * i]);
          stretches_.resize(mostStretches / 2);
        }
        if (index % interval_ == 0) {
          stretches_.push_back({at_, {}});
          stretches_.back().samples.reserve(stretch);
        }
      }
      if (index % interval_ == 0) {
        std::vector<float>& kept = stretches_.back().samples;
        kept.insert(kept.end(), x, x + count);
      }
    }
    at_ += count;
    samples += count * stride;
    n -= count;
  }
}

void Share::TakeRange(const float* samples, std::size_t n) {
  if (inPart_ == 0 && partsInRange_ == 0) {
    if (ranges_.size() == mostRanges) {
      for (std::size_t i = 0; i < mostRanges / 2; ++i) {
        ranges_[i] = {std::min(ranges_[2 * i].low, ranges_[2 * i + 1].low),
                      std::max(ranges_[2 * i].high, ranges_[2 * i + 1].high)};
      }
      ranges_.resize(mostRanges / 2);
      rangeParts_ *= 2;
    }
    ranges_.push_back({samples[0], samples[0]});
  }
  float low = 0, high = 0;
  QVL::VectorMinMax(samples, n, 1, low, high);
  ranges_.back().low = std::min(ranges_.back().low, low);
  ranges_.back().high = std::max(ranges_.back().high, high);
  inPart_ += n;
  if (inPart_ < part) return;
  inPart_ = 0;
  if (++partsInRange_ == rangeParts_) partsInRange_ = 0;
}

Stretches Share::Finish() {
  Stretches joined;
  for (Stretch& each : stretches_) {
    if (!joined.empty() && joined.back().begin + joined.back().samples.size() == each.begin) {
      std::vector<float>& before = joined.back().samples;
      before.insert(before.end(), each.samples.begin(), each.samples.end());
      each.samples = {};
    } else {
      joined.push_back(std::move(each));
      if (interval_ == 1) joined.back().samples.reserve(at_ - joined.back().begin);
    }
  }
  stretches_.clear();
  return joined;
}

}  // namespace umlauf::rotation
