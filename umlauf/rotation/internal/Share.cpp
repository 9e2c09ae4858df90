#include "umlauf/rotation/internal/Share.h"

#include <algorithm>

#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::rotation {

void Share::Take(const float* samples, std::size_t n, std::size_t stride) {
  while (n > 0) {
    const std::uint64_t index = at_ / stretch, in = at_ % stretch;
    const std::size_t count = std::min(n, stretch - static_cast<std::size_t>(in));
    if (in == 0 && index % interval_ == 0 && stretches_.size() == mostStretches) Thin();
    if (index % interval_ == 0) {
      if (in == 0) {
        stretches_.push_back({at_, {}});
        stretches_.back().samples.reserve(stretch);
      }
      LargeVector<float>& kept = stretches_.back().samples;
      kept.resize(kept.size() + count);
      QVL::Interleave(kept.data() + (kept.size() - count), 1, samples, stride, count);
    }
    at_ += count;
    samples += count * stride;
    n -= count;
  }
}

void Share::Thin() {
  interval_ *= 2;
  for (std::size_t i = 1; 2 * i < stretches_.size(); ++i) stretches_[i] = std::move(stretches_[2 * i]);
  stretches_.resize(mostStretches / 2);
}

void Share::TakeAt(std::uint64_t begin, const float* samples, std::size_t n, std::size_t stride) {
  at_ = begin;
  Take(samples, n, stride);
}

std::uint64_t Share::Interval(std::uint64_t samples, std::uint64_t keep) {
  std::uint64_t interval = 1;
  while ((samples + stretch - 1) / stretch > keep / stretch * interval) interval *= 2;
  return interval;
}

Stretches Share::Finish() {
  Stretches joined;
  for (Stretch& each : stretches_) {
    if (!joined.empty() && joined.back().begin + joined.back().samples.size() == each.begin) {
      LargeVector<float>& before = joined.back().samples;
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
