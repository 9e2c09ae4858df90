#include "umlauf/orders/internal/StepHalver.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "umlauf/orders/internal/KaiserSinc.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::orders {

StepHalver::StepHalver(double pass, double stop, unsigned channels) : channels_(channels) {
  const bool had = HadMemory([&] {
    const KaiserSinc kernel(pass, stop);
    half_ = numeric::trunc_sat<std::size_t>(std::ceil(2 * kernel.HalfLength()));
    capacity_ = (4 * half_ + 4 * batch + 31) / 32 * 32;
    if (!taps_.alloc((2 * half_ + 1 + 15) / 16 * 16)) return;
    double sum = 0;
    const auto tap = [&](std::size_t j) {
      return kernel.At((static_cast<double>(j) - static_cast<double>(half_)) / 2);
    };
    for (std::size_t j = 0; j <= 2 * half_; ++j) sum += tap(j);
    for (std::size_t j = 0; j <= 2 * half_; ++j) taps_[j] = static_cast<float>(tap(j) / sum);
    places_.resize(capacity_);
    windows_.resize(batch);
    last_.resize(channels);
    planes_.alloc(numeric::mul_sat(capacity_, channels));
  });
  if (!had) planes_ = CAlignedMem<float>();
}

void StepHalver::Restart() { next_ = held_ = 0; }

void StepHalver::Append(const float* frames, const CShaftAngle::Passing* places, std::size_t n) {
  if (held_ + n > capacity_) {
    const std::size_t dropped = next_ - half_;
    held_ -= dropped;
    next_ = half_;
    for (unsigned c = 0; c < channels_; ++c) {
      float* plane = planes_.data() + c * capacity_;
      std::memmove(plane, plane + dropped, held_ * sizeof(float));
    }
    std::copy_n(places_.begin() + static_cast<std::ptrdiff_t>(dropped), held_, places_.begin());
  }
  for (unsigned c = 0; c < channels_; ++c) {
    QVL::Interleave(planes_.data() + c * capacity_ + held_, 1, frames + c, channels_, n);
  }
  std::copy_n(places, n, places_.begin() + static_cast<std::ptrdiff_t>(held_));
  held_ += n;
}

/// Frames that are none of the recording's: their count is odd, so that they are not kept.
void StepHalver::Repeat(const float* frame, CShaftAngle::Passing place) {
  place.count = 1;
  for (std::size_t i = 0; i < half_; ++i) Append(frame, &place, 1);
}

void StepHalver::Put(const float* frames, const CShaftAngle::Passing* places, std::size_t n) {
  if (n == 0) return;
  if (held_ == 0) {
    Repeat(frames, places[0]);
    next_ = half_;
  }
  Append(frames, places, n);
  std::copy_n(frames + (n - 1) * channels_, channels_, last_.begin());
}

void StepHalver::Finish() {
  if (held_ > 0) Repeat(last_.data(), places_[held_ - 1]);
}

std::size_t StepHalver::Get(float* frames, CShaftAngle::Passing* places, std::size_t most) {
  std::size_t n = 0;
  for (most = std::min(most, batch); n < most && next_ + half_ < held_; ++next_) {
    CShaftAngle::Passing place = places_[next_];
    if (place.count % 2 != 0) continue;
    windows_[n] = {static_cast<std::ptrdiff_t>(next_ - half_), 0, 0};
    place.count /= 2;
    if (places != nullptr) places[n] = place;
    ++n;
  }
  if (n == 0) return 0;
  vekta::DotProducts(frames, channels_, windows_.data(), n, {planes_.data(), capacity_, channels_},
                     {taps_.data(), taps_.size(), 2 * half_ + 1}, 1.0f);
  return n;
}

}  // namespace umlauf::orders
