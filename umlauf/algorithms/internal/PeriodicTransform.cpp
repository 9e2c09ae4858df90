#include "umlauf/algorithms/internal/PeriodicTransform.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace umlauf::algorithms {
namespace {

/// Below this length every size is fast enough.
constexpr std::uint64_t kShort = 2048;

bool IsFast(std::uint64_t n) {
  for (const std::uint64_t prime : {2u, 3u, 5u}) {
    while (n % prime == 0) n /= prime;
  }
  return n == 1;
}

CRealTransform SizedFor(std::uint64_t n) {
  if (n == 0 || n > CRealTransform::kMaxSize / 2) return {};
  const auto size = static_cast<std::size_t>(n);
  // Some room for the way back.
  return CRealTransform(n <= kShort || IsFast(n) ? size : CRealTransform::FastSize(size + size / 64), true);
}

}  // namespace

PeriodicTransform::PeriodicTransform(const float* samples, std::uint64_t n) : transform_(SizedFor(n)) {
  if (!IsValid()) return;
  std::copy_n(samples, n, transform_.Samples());
  const std::size_t size = transform_.Size();
  const auto way = static_cast<double>(size - n + 1);
  for (std::size_t i = static_cast<std::size_t>(n); i < size; ++i) {
    const double part = 0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(i - n + 1) / way);
    transform_.Samples()[i] =
        static_cast<float>(double{samples[n - 1]} + part * (double{samples[0]} - double{samples[n - 1]}));
  }
  transform_.Forward();
}

const float* PeriodicTransform::Back() {
  transform_.Inverse();
  return transform_.Samples();
}

}  // namespace umlauf::algorithms
