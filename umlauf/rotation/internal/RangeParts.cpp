#include "umlauf/rotation/internal/RangeParts.h"

#include <algorithm>

#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::rotation {

void RangeParts::Take(const float* samples, std::size_t n, std::size_t stride) {
  while (n > 0) {
    const std::size_t count = std::min(n, part - inPart_);
    TakeRange(samples, count, stride);
    samples += count * stride;
    n -= count;
  }
}

void RangeParts::Begin(Range range) {
  if (ranges_.size() == mostRanges) {
    for (std::size_t i = 0; i < mostRanges / 2; ++i) {
      ranges_[i] = {std::min(ranges_[2 * i].low, ranges_[2 * i + 1].low),
                    std::max(ranges_[2 * i].high, ranges_[2 * i + 1].high)};
    }
    ranges_.resize(mostRanges / 2);
    rangeParts_ *= 2;
  }
  ranges_.push_back(range);
}

void RangeParts::EndPart() {
  inPart_ = 0;
  if (++partsInRange_ == rangeParts_) partsInRange_ = 0;
}

void RangeParts::TakeRange(const float* samples, std::size_t n, std::size_t stride) {
  if (inPart_ == 0 && partsInRange_ == 0) Begin({samples[0], samples[0]});
  float low = 0, high = 0;
  QVL::VectorMinMax(samples, n, stride, low, high);
  ranges_.back().low = std::min(ranges_.back().low, low);
  ranges_.back().high = std::max(ranges_.back().high, high);
  inPart_ += n;
  if (inPart_ == part) EndPart();
}

void RangeParts::TakePart(Range range) {
  if (partsInRange_ == 0) Begin(range);
  ranges_.back().low = std::min(ranges_.back().low, range.low);
  ranges_.back().high = std::max(ranges_.back().high, range.high);
  EndPart();
}

bool RangeParts::Pass(float upper, float lower, float smallest) const {
  // A part may hold less than a tooth, so it is looked at together with its neighbours.
  for (std::size_t i = 0; i + 3 <= ranges_.size(); ++i) {
    float low = ranges_[i].low, high = ranges_[i].high;
    for (std::size_t k = i + 1; k < i + 3; ++k) {
      low = std::min(low, ranges_[k].low);
      high = std::max(high, ranges_[k].high);
    }
    if (high - low > 2 * smallest && (low > lower || high < upper)) return false;
  }
  return true;
}

}  // namespace umlauf::rotation
