#include "umlauf/timemachine/TimeCapsule.h"

#include <algorithm>
#include <cmath>

#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/timemachine/internal/WrappingCount.h"

namespace KxTimeMachine {
namespace {

std::uint64_t Shifted(std::uint64_t value, int shift) {
  if (shift >= 64 || shift <= -64) return 0;
  return shift >= 0 ? value << shift : value >> -shift;
}

}  // namespace

CTimeCapsule CTimeCapsule::ForCounter(int bits, int shift, std::function<std::uint64_t()> source) {
  CTimeCapsule capsule;
  capsule.shift = shift;
  capsule.raw_mask = ~0ull >> (64 - std::clamp(bits, 1, 64));
  const std::uint64_t high_bit = capsule.raw_mask ^ capsule.raw_mask >> 1;
  capsule.high_mask = Shifted(capsule.raw_mask, shift);
  // 2^(bits + shift), also where 2^bits alone does not fit
  capsule.wrap_increment = shift < 0 ? Shifted(high_bit, shift + 1) : Shifted(high_bit << 1, shift);
  capsule.source = std::move(source);
  return capsule;
}

void CTimeCapsule::Take(std::uint64_t raw) {
  const std::uint64_t masked = raw & raw_mask;
  const std::uint64_t shifted = Shifted(masked, shift);
  std::uint64_t extended = (static_cast<std::uint64_t>(extended_count) & ~high_mask) | shifted;
  if (masked < last_raw) extended += wrap_increment;
  extended_count = static_cast<std::int64_t>(extended);
  last_raw = masked;
  if (on_reading) on_reading(shifted, masked);
}

void CTimeCapsule::Update() {
  if (source) {
    Take(source());
  } else if (master_link != nullptr) {
    extended_count = master_link->extended_count;
    last_raw = master_link->last_raw;
    Take(last_raw);
  }
}

std::int64_t CTimeCapsule::Time() const {
  return WrappingSum(WrappingDifference(extended_count, zero_point), WrappingSum(base_offset, adjustment));
}

void CTimeCapsule::ResetAdjustment() {
  extended_count = 0;
  last_raw = 0;
  adjustment = 0;
  adjustment_valid = false;
  remainder = 0;
  zero_point = 0;
  if (on_reset) on_reset();
}

void CTimeCapsule::Align(std::int64_t delta) {
  if (!adjustment_valid) {
    adjustment = delta;
    adjustment_valid = true;
    return;
  }
  const std::int64_t pending = WrappingSum(remainder, delta);
  if (rate == 0.0 || !std::isfinite(rate)) {
    remainder = pending;
    return;
  }
  const auto step = numeric::trunc_sat<std::int64_t>(static_cast<double>(pending) * rate);
  adjustment = WrappingSum(adjustment, step);
  remainder = WrappingDifference(pending, numeric::trunc_sat<std::int64_t>(static_cast<double>(step) / rate));
}

}  // namespace KxTimeMachine
