#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace umlauf::rotation {

/// Extremes of a signal, high and low in turn: turning points from which it went back by at least a smallest
/// swing. What goes back by less is noise and does not count.
class Zigzag {
 public:
  explicit Zigzag(float smallest) : smallest_(smallest) {}

  /// Takes the next sample, a number. True when it confirms the extreme at `Position`, `Value`, which is then
  /// a high one when `IsFalling`.
  bool Take(float x) {
    const std::uint64_t at = at_++;
    if (direction_ > 0) {
      if (x > candidate_) return Follow(x, at);
      return candidate_ - x >= smallest_ && Turn(x, at);
    }
    if (direction_ < 0) {
      if (x < candidate_) return Follow(x, at);
      return x - candidate_ >= smallest_ && Turn(x, at);
    }
    return Begin(x, at);
  }

  /// The same for sample number `at`, where those since the last one need not be looked at.
  bool TakeAt(std::uint64_t at, float x) {
    at_ = at;
    return Take(x);
  }
  /// Whether this one, as the next sample, would confirm an extreme.
  bool Turns(float x) const {
    if (direction_ > 0) return candidate_ - x >= smallest_;
    if (direction_ < 0) return x - candidate_ >= smallest_;
    return at_ > 0 && smallest_ > 0 && std::max(high_, x) - std::min(low_, x) >= smallest_;
  }

  bool IsFalling() const { return direction_ < 0; }
  /// Of the last extreme that was confirmed.
  float Value() const { return value_; }
  std::uint64_t Position() const { return position_; }
  /// The farthest that the signal went since; the next extreme when it goes back from there.
  float Candidate() const { return candidate_; }
  std::uint64_t CandidatePosition() const { return candidatePosition_; }

 private:
  bool Follow(float x, std::uint64_t at) {
    candidate_ = x;
    candidatePosition_ = at;
    return false;
  }
  bool Turn(float x, std::uint64_t at) {
    value_ = candidate_;
    position_ = candidatePosition_;
    direction_ = -direction_;
    Follow(x, at);
    return true;
  }
  /// Until the first swing both ends of the range may be the first extreme.
  bool Begin(float x, std::uint64_t at) {
    if (at == 0 || x < low_) low_ = x, lowAt_ = at;
    if (at == 0 || x > high_) high_ = x, highAt_ = at;
    if (!(high_ - low_ >= smallest_) || !(smallest_ > 0)) return false;
    direction_ = highAt_ > lowAt_ ? 1 : -1;
    value_ = direction_ > 0 ? low_ : high_;
    position_ = direction_ > 0 ? lowAt_ : highAt_;
    Follow(x, at);
    return true;
  }

  float smallest_;
  int direction_ = 0;
  float candidate_ = 0, value_ = 0, low_ = 0, high_ = 0;
  std::uint64_t at_ = 0, candidatePosition_ = 0, position_ = 0, lowAt_ = 0, highAt_ = 0;
};

}  // namespace umlauf::rotation
