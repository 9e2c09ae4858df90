#include "umlauf/rotation/RecordingStatistics.h"

#include <algorithm>
#include <cmath>

#include "umlauf/rotation/internal/Blocks.h"

void CRecordingStatistics::Add(const float* samples, std::size_t n, std::size_t stride) {
  CRecordingStatistics all = *this;  // stays in registers
  for (std::size_t i = 0; i < n; ++i) {
    const float x = samples[i * stride];
    if (!std::isfinite(x)) continue;
    if (all.count_++ == 0) all.min_ = all.max_ = all.reference_ = x;
    all.min_ = std::min(all.min_, x);
    all.max_ = std::max(all.max_, x);
    const double difference = static_cast<double>(x) - static_cast<double>(all.reference_);
    all.sum_ += difference;
    all.sumSquares_ += difference * difference;
  }
  *this = all;
}

void CRecordingStatistics::Add(CBlockSource& source, unsigned channel, std::size_t blockSize) {
  umlauf::rotation::ForEachBlock(
      source, channel, blockSize,
      [this](const float* samples, std::size_t n, std::size_t stride) { Add(samples, n, stride); });
}

double CRecordingStatistics::Mean() const {
  return count_ > 0 ? static_cast<double>(reference_) + sum_ / static_cast<double>(count_) : 0;
}

double CRecordingStatistics::Deviation() const {
  if (count_ == 0) return 0;
  const double n = static_cast<double>(count_), offset = sum_ / n;
  return std::sqrt(std::max(sumSquares_ / n - offset * offset, 0.0));
}
