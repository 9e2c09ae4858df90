#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/pairs/internal/Interpolation.h"

namespace umlauf::pairs {

/// Merges the grid of an ascending signal into that of another one and forms the values, in a single pass.
/// The merged points grow in a block of their own; the signal's points that lie behind the current x follow
/// them unmoved, so that together both are the grid "as it stands". Values are formed as points are merged;
/// what later points are interpolated from is kept as it was before.
///
/// `Rule` has `float operator()(float y, float v)`, which forms a value from the own y and the other's value
/// v at the same x, and two constants: `kForms`, false where y just stays, and `kWithin`, true where it forms
/// values from the first to the last x of the other signal only.
template <class Rule>
class GridMerger {
 public:
  /// `merged` has room for the points of both signals, of which neither is empty. The first `skipped` own
  /// points, which lie in front of all others, are merged but not written.
  GridMerger(const CSigPairs& own, const CSigPairs& other, float tolerance, int operation, SPunkt* merged,
             std::size_t skipped)
      : own_(own.Punkte()),
        n_(own.NPaare()),
        other_(other.Punkte()),
        otherCount_(other.NPaare()),
        tolerance_(tolerance),
        isUnion_(operation == CSigPairs::vereinigen || operation == CSigPairs::gitter_vereinigen),
        keepsY_(operation == CSigPairs::vereinigen),
        newY_(operation != CSigPairs::gitter_vereinigen),
        next_(merged),
        skipped_(skipped),
        lowest_(own_[0].x),
        highest_(own_[n_ - 1].x) {}

  /// Returns the number of merged points, those that were not written included.
  std::size_t Merge() {
    if constexpr (Rule::kWithin) {
      while (rest_ < n_ && own_[rest_].x < other_[0].x) Put<false>(own_[rest_++]);
    }
    left_ = other_[0];
    const SPunkt* p = other_;
    const SPunkt* const end = other_ + otherCount_;
    while (p != end && (count_ == 0 || p->x <= left_.x)) Step<false>(*p++);
    // Points between the ends of both signals, which are nearly all, need less care.
    const float inner = std::min(own_[n_ - 1].x, end[-1].x);
    while (p != end && p->x < inner) Step<true>(*p++);
    while (p != end) Step<false>(*p++);
    const SPunkt* formed = own_ + n_;
    if constexpr (Rule::kWithin) {
      while (formed != own_ + rest_ && formed[-1].x > left_.x) --formed;
    }
    while (own_ + rest_ < formed) PutFormed<false>(own_[rest_++]);
    std::copy(own_ + rest_, own_ + n_, next_);
    return count_ + (n_ - rest_);
  }

 private:
  /// Takes the own points up to the other signal's next one, then that. `kInner` is true where it lies
  /// between the ends of both signals, with points merged before it.
  template <bool kInner>
  void Step(const SPunkt& point) {
    if (Rule::kForms && point.x != left_.x) {
      start_ = left_;
      slope_ = (point.y - left_.y) / (point.x - left_.x);
    }
    while (rest_ < n_ && own_[rest_].x <= point.x) PutFormed<kInner>(own_[rest_++]);
    Add<kInner>(point);
    left_ = point;
  }

  template <bool kInner>
  void Add(const SPunkt& point) {
    const bool within = kInner || !(point.x < lowest_ - tolerance_ || point.x > highest_ + tolerance_);
    if (!within) {
      if (isUnion_) Insert<kInner>({point.x, keepsY_ ? point.y : 0.0f});
      return;
    }
    const bool found = HasPointNear(point.x);
    ++within_;
    if (!found) Insert<kInner>({point.x, newY_ ? ValueAt(point.x) : 0.0f});
  }

  template <bool kInner>
  void Insert(const SPunkt& point) {
    PutFormed<kInner>(point);
    if constexpr (!kInner) {
      lowest_ = std::min(lowest_, point.x);
      highest_ = std::max(highest_, point.x);
    }
  }

  template <bool kInner>
  void Put(const SPunkt& point) {
    Put<kInner>(point, point.y);
  }

  template <bool kInner>
  void PutFormed(const SPunkt& point) {
    if constexpr (Rule::kForms) {
      Put<kInner>(point, Rule()(point.y, OtherAt<kInner>(point.x)));
    } else {
      Put<kInner>(point);
    }
  }

  template <bool kInner>
  void Put(const SPunkt& point, float formed) {
    if (point.x != last_.x || count_ == 0) {
      beforeRun_ = last_;
      run_ = point;
    }
    last_ = point;
    if (!kInner && count_ == 0) first_ = point.x;
    if (kInner || count_ >= skipped_) *next_++ = {point.x, formed};
    ++count_;
  }

  /// Value of the other signal at an x on its current line, all points of which are formed with one slope.
  template <bool kInner>
  float OtherAt(float x) const {
    if constexpr (!kInner) {
      if (x <= other_[0].x) return other_[0].y;
      const SPunkt& last = other_[otherCount_ - 1];
      if (x >= last.x) return last.y;
    }
    return start_.y + slope_ * (x - start_.x);
  }

  /// Looks for a point within the tolerance from index `within_` of the grid on. The points within it are
  /// neighbours, so the last point that is not beyond decides.
  bool HasPointNear(float x) {
    near_ = std::max(near_, rest_);
    while (near_ < n_ && own_[near_].x - x <= tolerance_) ++near_;
    const std::size_t end = count_ + (near_ - rest_);
    if (end <= within_) return false;
    const float candidate = near_ > rest_ ? own_[near_ - 1].x : last_.x;
    return std::fabs(candidate - x) <= tolerance_;
  }

  /// Value of the grid as it stands, on the line between the point that is not below x first and the one
  /// before it.
  float ValueAt(float x) const {
    if (count_ == 0) return own_[rest_].y;
    if (last_.x < x) return rest_ == n_ ? last_.y : OnLine(last_, own_[rest_], x);
    if (x <= first_) return run_.y;
    return rest_ == n_ ? last_.y : OnLine(beforeRun_, run_, x);
  }

  const SPunkt* own_;
  std::size_t n_;
  const SPunkt* other_;
  std::size_t otherCount_;
  float tolerance_;
  bool isUnion_, keepsY_, newY_;
  SPunkt* next_;  // where the next merged point is written
  std::size_t skipped_;
  float first_ = 0.0f;  // x of the first merged point
  float lowest_;        // x of the first and the last point of the grid
  float highest_;
  SPunkt left_;   // the other signal's point before the current one
  SPunkt start_;  // where its line to the current one starts; of equal x, the one to the first
  float slope_ = 0.0f;
  SPunkt last_;             // last merged point, the first one of its x, and the one before that, each with
  SPunkt run_, beforeRun_;  // the y that it had before
  std::size_t count_ = 0;   // merged points: all that do not lie beyond the current x
  std::size_t rest_ = 0;    // own points from here on are not merged yet
  std::size_t near_ = 0;    // own points from here on lie beyond the current x and the tolerance
  std::size_t within_ = 0;  // points of the other signal that were within the range
};

}  // namespace umlauf::pairs
