#include "umlauf/rotation/RecordingStatistics.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rotation/internal/Blocks.h"

namespace {

/// Samples whose sums are kept in single precision; few enough for it, and for the processor's nearest cache.
constexpr std::size_t chunk = 1024;

}  // namespace

void CRecordingStatistics::Add(const float* samples, std::size_t n, std::size_t stride) {
  if (stride == 1) {
    for (std::size_t i = 0; i < n; i += chunk) AddChunk(samples + i, std::min(chunk, n - i));
    return;
  }
  std::array<float, chunk> gathered{};
  for (std::size_t i = 0; i < n; i += chunk) {
    const std::size_t count = std::min(chunk, n - i);
    for (std::size_t k = 0; k < count; ++k) gathered[k] = samples[(i + k) * stride];
    AddChunk(gathered.data(), count);
  }
}

void CRecordingStatistics::AddChunk(const float* samples, std::size_t n) {
  if (count_ == 0) {
    const float* const first = std::find_if(samples, samples + n, [](float x) { return std::isfinite(x); });
    n -= static_cast<std::size_t>(first - samples);
    if (n == 0) return;
    samples = first;
    reference_ = min_ = max_ = *first;
  }
  float min = samples[0], max = samples[0];
  QVL::VectorMinMax(samples, n, 1, min, max);
  // In single precision a small difference of two samples is exact.
  std::array<float, chunk> shifted;
  QVL::AddFloat(shifted.data(), samples, n, -reference_);
  const QVL::Moments moments = QVL::VectorMoments(shifted.data(), n);
  // A sample that is not finite leaves no finite sum of squares behind, and is rare.
  if (!std::isfinite(moments.sumSquares)) {
    AddFinite(samples, n);
    return;
  }
  count_ += n;
  min_ = std::min(min_, min);
  max_ = std::max(max_, max);
  sum_ += static_cast<double>(moments.sum);
  sumSquares_ += static_cast<double>(moments.sumSquares);
}

void CRecordingStatistics::AddFinite(const float* samples, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const float x = samples[i];
    if (!std::isfinite(x)) continue;
    ++count_;
    min_ = std::min(min_, x);
    max_ = std::max(max_, x);
    const double difference = static_cast<double>(x) - static_cast<double>(reference_);
    sum_ += difference;
    sumSquares_ += difference * difference;
  }
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
