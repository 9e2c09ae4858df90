#include "umlauf/orders/SynchronousAverage.h"

#include <algorithm>
#include <cmath>

#include "umlauf/orders/AngleResampler.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

CSynchronousAverage::CSynchronousAverage(const AngleGrid& grid, unsigned channels, unsigned revolutions)
    : channels_(channels), revolutions_(revolutions) {
  const double steps = grid.stepsPerRevolution * revolutions;
  if (!grid.IsValid() || grid.stepsPerRevolution != std::floor(grid.stepsPerRevolution) || channels < 1 ||
      channels > CAngleResampler::mostChannels || !(steps >= 1 && steps <= 1e8)) {
    return;
  }
  const auto n = numeric::trunc_sat<std::size_t>(steps);
  const bool had = umlauf::HadMemory([&] {
    sums_.resize(n * channels);
    squares_.resize(channels);
    counts_.resize(n);
  });
  if (had) steps_ = n;
}

std::size_t CSynchronousAverage::StepOf(const CShaftAngle::Passing& place) const {
  const auto n = static_cast<std::int64_t>(steps_);
  const std::int64_t rest = place.count % n;
  return static_cast<std::size_t>(rest < 0 ? rest + n : rest);
}

void CSynchronousAverage::Take(const float* frames, const CShaftAngle::Passing* places, std::size_t n) {
  if (!IsValid()) return;
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t step = StepOf(places[i]);
    ++counts_[step];
    for (unsigned c = 0; c < channels_; ++c) {
      const auto value = static_cast<double>(frames[i * channels_ + c]);
      sums_[step * channels_ + c] += value;
      squares_[c] += value * value;
    }
  }
}

double CSynchronousAverage::Mean(std::size_t step, unsigned c) const {
  return counts_[step] > 0 ? sums_[step * channels_ + c] / counts_[step] : 0;
}

double CSynchronousAverage::Count() const {
  double sum = 0;
  for (const std::uint32_t each : counts_) sum += each;
  return sum;
}

double CSynchronousAverage::Spans() const { return IsValid() ? Count() / static_cast<double>(steps_) : 0; }

/// Of the average in the place of each frame.
double CSynchronousAverage::SynchronousSquares(unsigned c) const {
  double sum = 0;
  for (std::size_t step = 0; step < steps_; ++step) sum += counts_[step] * Mean(step, c) * Mean(step, c);
  return sum;
}

double CSynchronousAverage::AverageRms(unsigned c) const {
  return c < channels_ && Count() > 0 ? std::sqrt(SynchronousSquares(c) / Count()) : 0;
}

double CSynchronousAverage::ResidualRms(unsigned c) const {
  if (c >= channels_ || !(Count() > 0)) return 0;
  // The average is a projection: what is left has the rest of the power.
  return std::sqrt(std::max(0.0, squares_[c] - SynchronousSquares(c)) / Count());
}

bool CSynchronousAverage::Average(unsigned c, const CMeasuringUnit& unit, CSigCurve& out) const {
  out.InitHeader();
  out.Free();
  out.SetXMinMax(0.0f, static_cast<float>(revolutions_));
  if (!IsValid() || c >= channels_ || !(Spans() > 0) || !out.Resize(steps_)) return false;
  out.SetXUnit(CMeasuringUnit(CMeasuringUnit::revolution));
  out.SetYUnit(unit);
  out.SetFileCompression(false);
  for (std::size_t step = 0; step < steps_; ++step) out.FData()[step] = static_cast<float>(Mean(step, c));
  return true;
}

void CSynchronousAverage::Subtract(float* frames, const CShaftAngle::Passing* places, std::size_t n) const {
  if (!IsValid()) return;
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t step = StepOf(places[i]);
    for (unsigned c = 0; c < channels_; ++c) frames[i * channels_ + c] -= static_cast<float>(Mean(step, c));
  }
}
