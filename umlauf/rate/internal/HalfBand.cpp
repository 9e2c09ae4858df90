#include "umlauf/rate/internal/HalfBand.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/rate/internal/Kaiser.h"

namespace umlauf::rate {

bool HalfBand::Make(double decibels, double width, float gain, unsigned planes, std::uint64_t mostInput) {
  // Kaiser's rules for the length and the shape of his window.
  const double length = (decibels - 7.95) / (2.285 * 2.0 * std::numbers::pi * width);
  const double shape = 0.1102 * (decibels - 8.7);
  half_ = numeric::trunc_sat<std::uint64_t>(std::ceil((length + 2.0) / 4.0));
  planes_ = planes;
  centre_ = 0.5f * gain;
  capacity_ = (2 * half_ + 2 * mostInput + vekta::kConvolved + 64) / 32 * 32;
  if (capacity_ > UINT64_MAX / 2 / planes || !taps_.alloc(2 * half_) ||
      !history_.alloc(2 * capacity_ * planes))
    return false;
  const auto value = [&](std::uint64_t k) {
    const double distance = 2.0 * static_cast<double>(k) + 1.0,
                 x = distance / (2.0 * static_cast<double>(half_));
    return (k % 2 == 0 ? 1.0 : -1.0) / distance * BesselI0(shape * std::sqrt(1.0 - x * x));
  };
  double sum = 0.0;
  for (std::uint64_t k = 0; k < half_; ++k) sum += value(k);
  for (std::uint64_t k = 0; k < half_; ++k) {
    taps_[half_ + k] = taps_[half_ - 1 - k] =
        static_cast<float>(0.25 * static_cast<double>(gain) * value(k) / sum);
  }
  return true;
}

std::int64_t HalfBand::FirstReached(std::int64_t input) const {
  const std::int64_t twice = input - 2 * Half() + 1;
  return twice >= 0 ? (twice + 1) / 2 : -(-twice / 2);
}

void HalfBand::Start(std::int64_t output, std::int64_t input) {
  // The history begins with an even input, the one in front of the first that the output reads.
  held_ = static_cast<std::uint64_t>(input - (First(output) - 1));
  dropped_ = 0;
  for (unsigned p = 0; p < planes_; ++p) {
    std::fill_n(Even(p), (held_ + 1) / 2, 0.0f);
    std::fill_n(Odd(p), held_ / 2, 0.0f);
  }
}

void HalfBand::MakeRoom(std::uint64_t n) {
  if ((held_ + n + 1) / 2 + vekta::kConvolved <= capacity_) return;
  // What follows lies on whole cache lines again.
  constexpr std::uint64_t line = 16;
  const std::uint64_t beside = (line - (held_ / 2 - dropped_) % line) % line;
  const std::uint64_t dropped = dropped_ - std::min(dropped_, beside);
  held_ -= 2 * dropped;
  dropped_ -= dropped;
  for (unsigned p = 0; p < planes_; ++p) {
    for (float* half : {Even(p), Odd(p)}) {
      std::memmove(half, half + dropped, (held_ + 1) / 2 * sizeof(float));
    }
  }
}

void HalfBand::Append(unsigned plane, const float* in, std::size_t stride, std::uint64_t n) {
  if (plane == 0) MakeRoom(n);
  if (n == 0) return;
  float *even = Even(plane) + (held_ + 1) / 2, *odd = Odd(plane) + held_ / 2;
  if (held_ % 2 != 0) {
    *odd++ = *in;
    in += stride;
    --n;
  }
  if (stride == 1) {
    float* const halves[] = {even, odd};
    QVL::Deinterleave(halves, in, 2, n / 2);
    if (n % 2 != 0) even[n / 2] = in[n - 1];
  } else {
    QVL::Interleave(even, 1, in, 2 * stride, (n + 1) / 2);
    QVL::Interleave(odd, 1, in + stride, 2 * stride, n / 2);
  }
}

void HalfBand::AppendFrames(const float* in, std::uint64_t n) {
  if (2 * planes_ > kSplit) {
    for (unsigned p = 0; p < planes_; ++p) Append(p, in + p, planes_, n);
    return;
  }
  MakeRoom(n);
  if (n == 0) return;
  std::array<float*, kSplit> halves;
  for (unsigned p = 0; p < planes_; ++p) {
    halves[p] = Even(p) + (held_ + 1) / 2;
    halves[planes_ + p] = Odd(p) + held_ / 2;
  }
  if (held_ % 2 != 0) {
    for (unsigned p = 0; p < planes_; ++p) *halves[planes_ + p]++ = *in++;
    --n;
  }
  QVL::Deinterleave(halves.data(), in, std::size_t{2} * planes_, n / 2);
  if (n % 2 != 0) {
    for (unsigned p = 0; p < planes_; ++p) halves[p][n / 2] = in[(n - 1) * planes_ + p];
  }
}

std::uint64_t HalfBand::Ready() const {
  // Output m of those that are left reads the odd inputs up to number m + 2 half - 1 of the history.
  const std::uint64_t odd = held_ / 2 - dropped_, needed = 2 * half_ - 1;
  return odd > needed ? odd - needed : 0;
}

void HalfBand::Compute(unsigned plane, float* out, std::uint64_t n, std::uint64_t from) const {
  const float* const even = history_.data() + 2 * plane * capacity_ + dropped_ + from;
  const vekta::FilterSpan spans[] = {{even + capacity_, taps_.data(), 2 * half_},
                                     {even + half_, &centre_, 1}};
  vekta::Convolve(out, n, spans, 2, 1.0f);
}

}  // namespace umlauf::rate
