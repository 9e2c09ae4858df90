#include "umlauf/rotation/internal/SamplePreparation.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::rotation {
namespace {

constexpr double ownShare = 0.995;  ///< of all steps that belong to the signal itself
constexpr float wholeRange = 0.8f;
constexpr double fewWraps = 3, mostJumps = 0.5;
constexpr float beyondOwn = 1.7f;

constexpr std::size_t stepsAtATime = 1024;  ///< that are looked at together

float Median(float a, float b, float c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

}  // namespace

void SamplePreparation::Take(const float* samples, std::size_t n, std::size_t stride,
                             std::vector<float>& out) {
  for (std::size_t i = 0; i < n; ++i) {
    const float raw = samples[i * stride];
    const float x = std::isfinite(raw) ? raw : last_;
    if (!any_) {
      before_ = last_ = x;
      any_ = true;
      level_ = static_cast<double>(x);
      if (preparation_ != Preparation::median) out.push_back(x);
      continue;
    }
    if (preparation_ == Preparation::median) {
      out.push_back(Median(before_, last_, x));
    } else if (preparation_ == Preparation::jumps) {
      const float step = x - last_;
      if (std::abs(step) <= limit_) level_ += static_cast<double>(step);
      out.push_back(static_cast<float>(level_));
    } else if (preparation_ == Preparation::unwrapped) {
      const float step = x - last_;
      level_ += static_cast<double>(step - limit_ * std::round(step / limit_));
      out.push_back(static_cast<float>(level_));
    } else {
      out.push_back(x);
    }
    before_ = last_;
    last_ = x;
  }
}

void SamplePreparation::Finish(std::vector<float>& out) {
  if (any_ && preparation_ == Preparation::median) out.push_back(last_);
}

bool AreFinite(std::span<const float> samples) {
  for (std::size_t i = 0; i < samples.size(); i += stepsAtATime) {
    const QVL::Moments moments =
        QVL::VectorMoments(samples.data() + i, std::min(stepsAtATime, samples.size() - i));
    if (!std::isfinite(moments.sumSquares)) return false;
  }
  return true;
}

float WrapRange(std::span<const float> samples) {
  if (samples.empty()) return 0;
  float low = 0, high = 0;
  QVL::VectorMinMax(samples.data(), samples.size(), 1, low, high);
  const float range = high - low;
  std::size_t jumps = 0, wraps = 0;
  std::array<float, stepsAtATime> differences;
  for (std::size_t i = 2; i + 1 < samples.size(); ++i) {
    // Most blocks hold no jump.
    if ((i - 2) % stepsAtATime == 0) {
      const std::size_t n = std::min(stepsAtATime, samples.size() - 1 - i);
      QVL::SubVectors(differences.data(), samples.data() + i, samples.data() + i - 1, n);
      if (!(QVL::VectorMaxMagnitude(differences.data(), n) > wholeRange * range)) {
        i += n - 1;
        continue;
      }
    }
    const float step = samples[i] - samples[i - 1];
    if (!(std::abs(step) > wholeRange * range)) continue;
    ++jumps;
    // The signal goes on as before, from the other end.
    const float before = samples[i - 1] - samples[i - 2], behind = samples[i + 1] - samples[i];
    const bool goesOn = before * step < 0 && behind * step < 0;
    if (goesOn && std::max(std::abs(before), std::abs(behind)) < wholeRange * range / 2) ++wraps;
  }
  return static_cast<double>(wraps) >= fewWraps &&
                 static_cast<double>(wraps) > mostJumps * static_cast<double>(jumps)
             ? range
             : 0;
}

float JumpLimit(std::span<const float> samples) {
  std::vector<float> steps;
  for (std::size_t i = 1; i < samples.size(); ++i) {
    const float step = std::abs(samples[i] - samples[i - 1]);
    if (std::isfinite(step)) steps.push_back(step);
  }
  if (steps.empty()) return 0;
  const auto at =
      steps.begin() + static_cast<std::ptrdiff_t>(ownShare * static_cast<double>(steps.size() - 1));
  std::nth_element(steps.begin(), at, steps.end());
  return beyondOwn * *at;
}

}  // namespace umlauf::rotation
