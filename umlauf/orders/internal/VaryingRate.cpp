#include "umlauf/orders/internal/VaryingRate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::orders {

namespace {

constexpr std::size_t kBlock = 16384;  ///< frames that are taken between two moves of what is kept
constexpr std::size_t kPlaces = 256;

}  // namespace

VaryingRate::VaryingRate(double pass, double stop, double narrowest, double widest, unsigned channels)
    : ladder_(pass, stop, narrowest, widest), channels_(channels) {
  capacity_ = (4 * ladder_.Reach() + kBlock + 31) / 32 * 32;
  if (!ladder_.IsValid() || !planes_.alloc(numeric::mul_sat(capacity_ + vekta::kReadBehind, channels)))
    return;
  const bool had = HadMemory([this] {
    in_.resize(kPlaces);
    row_.resize(kPlaces);
    mix_.resize(kPlaces);
    next_.resize(kPlaces * channels_);
  });
  if (!had) planes_ = CAlignedMem<float>();
  Restart();
}

void VaryingRate::Restart() {
  begin_ = end_ = needed_ = -static_cast<std::int64_t>(ladder_.Reach());
  held_ = rung_ = 0;
  started_ = finished_ = false;
}

void VaryingRate::Append(const float* frames, std::size_t n, std::size_t stride) {
  for (unsigned c = 0; c < channels_; ++c) {
    QVL::Interleave(planes_.data() + c * capacity_ + held_, 1, frames + c, stride, n);
  }
  held_ += n;
  end_ += static_cast<std::int64_t>(n);
}

std::size_t VaryingRate::Put(const float* frames, std::size_t n, std::size_t stride) {
  if (n == 0 || finished_) return 0;
  if (!started_) {
    started_ = true;
    for (std::size_t i = 0; i < ladder_.Reach(); ++i) Append(frames, 1, channels_);
  }
  // What is appended at the end has its room.
  if (Room() < n + ladder_.Reach()) MakeRoom();
  n = std::min(n, Room() > ladder_.Reach() ? Room() - ladder_.Reach() : 0);
  if (n > 0) Append(frames, n, stride);
  return n;
}

void VaryingRate::Finish() {
  if (finished_ || !started_) return;
  if (Room() < ladder_.Reach()) MakeRoom();
  finished_ = true;
  std::array<float, 64> last{};
  for (unsigned c = 0; c < channels_; ++c) last[c] = planes_[c * capacity_ + held_ - 1];
  for (std::size_t i = 0; i < ladder_.Reach() && Room() > 0; ++i) Append(last.data(), 1, channels_);
}

void VaryingRate::Release(double position) {
  const auto first =
      numeric::trunc_sat<std::int64_t>(std::floor(position)) - static_cast<std::int64_t>(ladder_.Reach());
  needed_ = std::max(needed_, std::min(first, end_));
}

void VaryingRate::MakeRoom() {
  const auto dropped = static_cast<std::size_t>(std::clamp<std::int64_t>(needed_ - begin_, 0, end_ - begin_));
  if (dropped == 0) return;
  held_ -= dropped;
  begin_ += static_cast<std::int64_t>(dropped);
  for (unsigned c = 0; c < channels_; ++c) {
    float* plane = planes_.data() + c * capacity_;
    std::memmove(plane, plane + dropped, held_ * sizeof(float));
  }
}

void VaryingRate::Run(std::size_t rung, const Place* places, std::size_t n, float* out) {
  const FilterLadder::Rung& filter = ladder_[rung];
  const std::uint32_t last = numeric::trunc_sat<std::uint32_t>(filter.phases) - 1;
  for (std::size_t i = 0; i < n; ++i) {
    const double whole = std::floor(places[i].position);
    const double phase = (places[i].position - whole) * filter.phases;
    // Rounded, a phase may be that of the next sample.
    const std::uint32_t row = std::min(numeric::trunc_sat<std::uint32_t>(phase), last);
    in_[i] = static_cast<std::int32_t>(numeric::trunc_sat<std::int64_t>(whole) - filter.lead - begin_);
    row_[i] = row * static_cast<std::uint32_t>(filter.rows.stride);
    mix_[i] = static_cast<float>(phase - row);
  }
  vekta::PlacedDotProducts(out, channels_, {in_.data(), row_.data(), mix_.data()}, n,
                           {planes_.data(), capacity_, channels_}, filter.rows, 1.0f);
}

void VaryingRate::Get(const Place* places, std::size_t n, float* out) {
  for (std::size_t i = 0; i < n;) {
    // As many as share a filter.
    rung_ = ladder_.RungOf(places[i].ratio, rung_);
    std::size_t count = 1;
    while (i + count < n && count < kPlaces && ladder_.RungOf(places[i + count].ratio, rung_) == rung_) {
      ++count;
    }
    float* frames = out + i * channels_;
    Run(rung_, places + i, count, frames);
    if (ladder_.HasNext(rung_)) {
      Run(rung_ + 1, places + i, count, next_.data());
      for (std::size_t j = 0; j < count; ++j) {
        const float share = ladder_.ShareOfNext(places[i + j].ratio, rung_);
        for (unsigned c = 0; c < channels_; ++c) {
          const std::size_t at = j * channels_ + c;
          frames[at] += share * (next_[at] - frames[at]);
        }
      }
    }
    i += count;
  }
  if (n > 0) Release(places[n - 1].position);
}

}  // namespace umlauf::orders
