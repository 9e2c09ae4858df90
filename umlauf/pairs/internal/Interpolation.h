#pragma once

#include <cstddef>
#include <limits>

#include "umlauf/pairs/SigPairs.h"

namespace umlauf::pairs {

/// Value at x on the line through two points.
inline float OnLine(const SPunkt& a, const SPunkt& b, float x) {
  return a.y + (b.y - a.y) / (b.x - a.x) * (x - a.x);
}

/// Values of an ascending signal with at least one point, at positions that do not fall from one call to the
/// next: the same values as `CSigPairs::WertBei`, in one pass over the points for all calls together.
class AscendingReader {
 public:
  explicit AscendingReader(const CSigPairs& signal)
      : points_(signal.Punkte()), first_(points_[0]), last_(points_[signal.NPaare() - 1]) {}

  float At(float x) {
    if (x <= first_.x) return first_.y;
    if (x >= last_.x) return last_.y;
    if (!(x < last_.x)) return std::numeric_limits<float>::quiet_NaN();  // one of them is no number
    while (points_[i_].x < x) ++i_;
    return OnLine(points_[i_ - 1], points_[i_], x);
  }
  bool Holds(float x) const { return first_.x <= x && x <= last_.x; }

 private:
  const SPunkt* points_;
  SPunkt first_;
  SPunkt last_;
  std::size_t i_ = 1;
};

}  // namespace umlauf::pairs
