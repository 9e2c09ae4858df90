#include "umlauf/rotation/internal/SwingScaler.h"

#include <algorithm>
#include <cmath>

namespace umlauf::rotation {
namespace {

constexpr std::size_t longestWait = 1 << 20;  ///< samples
constexpr float cutSwing = 0.5f;  ///< the first and the last swing must be so much of their neighbour

}  // namespace

void SwingScaler::Take(const float* samples, std::size_t n, std::size_t stride) {
  const std::size_t from = waiting_.size();
  preparation_.Take(samples, n, stride, waiting_);
  Follow(from);
}

void SwingScaler::Drop(std::size_t n) {
  ready_.erase(ready_.begin(), ready_.begin() + static_cast<std::ptrdiff_t>(std::min(n, ready_.size())));
}

/// Puts the waiting samples up to position `end` on the scale from one extreme to the other.
void SwingScaler::Scale(std::uint64_t end, float from, float to) {
  if (end <= done_) return;
  const auto n = static_cast<std::size_t>(end - done_);
  const float low = std::min(from, to), factor = 1 / std::max(std::abs(to - from), 1e-37f);
  const std::size_t at = ready_.size();
  ready_.resize(at + n);
  float* const out = ready_.data() + at;
  const float* const in = waiting_.data() + taken_;
  for (std::size_t i = 0; i < n; ++i) out[i] = std::min(std::max((in[i] - low) * factor, 0.0f), 1.0f);
  taken_ += n;
  done_ = end;
}

/// The same, all at one end.
void SwingScaler::Rest(std::uint64_t end, float value) {
  if (end <= done_) return;
  const auto n = static_cast<std::size_t>(end - done_);
  ready_.resize(ready_.size() + n, value);
  taken_ += n;
  done_ = end;
}

void SwingScaler::Turn() {
  const float value = zigzag_.Value();
  ++turns_;
  if (turns_ == 3) {
    // Whether there was a swing before the second extreme shows only now.
    const bool whole = std::abs(last_[0] - last_[1]) >= cutSwing * std::abs(value - last_[0]);
    const float end = last_[0] > last_[1] ? 1.0f : 0.0f;
    Rest(positions_[whole ? 1 : 0], whole ? 1 - end : end);
    if (whole) Scale(positions_[0], last_[1], last_[0]);
  }
  if (turns_ >= 3) Scale(zigzag_.Position(), last_[0], value);
  last_[1] = last_[0];
  last_[0] = value;
  positions_[1] = positions_[0];
  positions_[0] = zigzag_.Position();
}

void SwingScaler::Follow(std::size_t from) {
  for (std::size_t i = from; i < waiting_.size(); ++i) {
    if (zigzag_.Take(waiting_[i])) Turn();
  }
  received_ += waiting_.size() - from;
  if (waiting_.size() - taken_ > longestWait && turns_ > 2) Scale(received_, last_[0], zigzag_.Candidate());
  if (waiting_.size() - taken_ > longestWait) Rest(received_, zigzag_.IsFalling() ? 1.0f : 0.0f);
  waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(taken_));
  taken_ = 0;
}

void SwingScaler::End() {
  ended_ = true;
  const std::size_t from = waiting_.size();
  preparation_.Finish(waiting_);
  Follow(from);
  if (turns_ < 2) return Rest(received_, 0);
  const float end = zigzag_.IsFalling() ? 1.0f : 0.0f;  // where the last extreme lies
  const bool whole = std::abs(zigzag_.Candidate() - last_[0]) >= cutSwing * std::abs(last_[0] - last_[1]);
  if (turns_ == 2) {
    Rest(positions_[1], 1 - end);
    Scale(positions_[0], last_[1], last_[0]);
  }
  if (whole) Scale(received_, last_[0], zigzag_.Candidate());
  Rest(received_, end);
}

}  // namespace umlauf::rotation
