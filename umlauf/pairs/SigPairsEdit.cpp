#include <cmath>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/pairs/internal/PointOrder.h"

void CSigPairs::DatenSortieren(bool force) {
  if (NPaare() < 2 || (ascending_ && !force)) return;
  umlauf::pairs::SortAsExchanging(Punkte(), NPaare());
  SetOrder(true, false);
}

// Values

CSigPairs& CSigPairs::DatenSpiegeln() {
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->y = -p->y;
  return *this;
}

CSigPairs& CSigPairs::WurzelZiehen() {
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->y = std::sqrt(p->y);
  return *this;
}

CSigPairs& CSigPairs::Abs() {
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->y = std::fabs(p->y);
  return *this;
}

CSigPairs& CSigPairs::Clip(float value, bool upper) {
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p)
    p->y = upper ? std::min(p->y, value) : std::max(p->y, value);
  return *this;
}

CSigPairs& CSigPairs::operator=(float value) {
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->y = value;
  return *this;
}

CSigPairs& CSigPairs::operator+=(float value) {
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->y += value;
  return *this;
}

CSigPairs& CSigPairs::operator*=(float factor) {
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->y *= factor;
  return *this;
}

CSigPairs& CSigPairs::operator/=(float divisor) {
  return divisor == 0.0f ? *this = 0.0f : *this *= 1.0f / divisor;
}

// Positions

CSigPairs& CSigPairs::PunkteSpiegeln() {
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->x = -p->x;
  if (ascending_ || descending_) SetOrder(!ascending_, ascending_);
  return *this;
}

CSigPairs& CSigPairs::operator>>(float shift) {
  if (shift == 0.0f) return *this;
  for (SPunkt* p = Punkte(); p != PunkteEnd(); ++p) p->x += shift;
  return *this;
}

CSigPairs& CSigPairs::CutLeft(float x) {
  DatenSortieren(false);
  const std::size_t n = NPaare();
  if (n == 0 || !(Punkt(0) < x)) return *this;
  const std::size_t first = x >= Punkt(n - 1) ? n : UpperNeighbour(x) - 1;
  KeepRange(first, n - first);
  return *this;
}

CSigPairs& CSigPairs::CutRight(float x) {
  DatenSortieren(false);
  const std::size_t n = NPaare();
  if (n == 0 || !(Punkt(n - 1) > x)) return *this;
  if (x <= Punkt(0)) {
    KeepRange(0, 0);
    return *this;
  }
  KeepRange(0, InsertionIndex(x) + 1);
  return *this;
}

CSigPairs& CSigPairs::CutLR(float left, float right) {
  CutLeft(left);
  return CutRight(right);
}

// Fewer or smoother points

namespace {

using umlauf::pairs::IndexOf;
using umlauf::pairs::OrderKey;

/// Sum of the y in a window that moves up over points in order of x. Only additions: values that left the
/// window leave no rounding error behind, and an infinite one no NaN.
class WindowSum {
 public:
  WindowSum(const SPunkt* points, const CAlignedMem<OrderKey>& order, CAlignedMem<double>& sums)
      : points_(points), order_(order), fromHere_(sums) {}

  /// Sum over the places first ... end - 1; neither bound may fall from one call to the next.
  double Over(std::size_t first, std::size_t end) {
    for (; end_ < end; ++end_) behind_ += Y(end_);
    if (first >= split_) {  // the front part is used up: what is behind it becomes the front
      double sum = 0.0;
      for (std::size_t i = end; i-- > first;) fromHere_[i] = sum += Y(i);
      split_ = end;
      behind_ = 0.0;
    }
    return fromHere_[first] + behind_;
  }

 private:
  double Y(std::size_t place) const { return points_[IndexOf(order_[place])].y; }

  const SPunkt* points_;
  const CAlignedMem<OrderKey>& order_;
  CAlignedMem<double>& fromHere_;  // from a place up to the split
  std::size_t split_ = 0;
  std::size_t end_ = 0;
  double behind_ = 0.0;  // from the split to the end
};

bool HasFiniteX(const SPunkt& p) { return std::isfinite(p.x); }

}  // namespace

void CSigPairs::Glaetten(float width) {
  if (NPaare() < 3 || !(width > 0.0f)) return;
  // Points without a finite x are close to none, not even to themselves.
  CAlignedMem<OrderKey> order;
  CAlignedMem<double> sums;
  CAlignedMem<float> smooth;
  if (!umlauf::pairs::SortedKeys(Punkte(), NPaare(), HasFiniteX, order)) return;
  const std::size_t n = static_cast<std::size_t>(order.size());
  if (!sums.alloc(n) || !smooth.alloc(n)) return;
  const auto x = [&](std::size_t place) { return Punkt(IndexOf(order[place])); };
  WindowSum window(Punkte(), order, sums);
  std::size_t first = 0;
  std::size_t end = 0;
  for (std::size_t i = 0; i < n; ++i) {
    while (!(x(i) - x(first) < width)) ++first;
    while (end < n && (end <= i || x(end) - x(i) < width)) ++end;
    smooth[i] = static_cast<float>(window.Over(first, end) / static_cast<double>(end - first));
  }
  for (std::size_t i = 0; i < n; ++i) Punkte()[IndexOf(order[i])].y = smooth[i];
}

void CSigPairs::Unterabtasten(int factor, bool average) {
  const std::size_t n = NPaare();
  if (factor < 2 || n < 3) return;
  std::size_t kept = 1;
  for (std::size_t before = 0; before < n - 1;) {
    const std::size_t last = std::min(before + static_cast<std::size_t>(factor), n - 1);
    float y = Wert(last);
    if (average) {
      double sum = 0.0;
      for (std::size_t i = before + 1; i <= last; ++i) sum += Wert(i);
      y = static_cast<float>(sum / static_cast<double>(last - before));
    }
    Setzen(kept++, Punkt(last), y);
    before = last;
  }
  SetCount(kept);
}

void CSigPairs::Linearisieren(float divisor) {
  const std::size_t n = NPaare();
  if (n < 3 || !(ascending_ || descending_)) return;
  float lo = 0.0f;
  float hi = 0.0f;
  YBereich(lo, hi);
  const float threshold = (hi - lo) / divisor;
  SPunkt* const p = Punkte();
  std::size_t anchor = 0;  // behind it lie the points from `next` on, which move up when they are kept
  std::size_t next = 1;
  while (next + 1 < n) {
    const SPunkt from = p[anchor];
    // Intended: the ratio of the x values, not their difference.
    const float slope = (p[next].y - from.y) / (p[next].x / from.x);
    while (next + 1 < n &&
           std::fabs((p[next + 1].y - from.y) - (p[next + 1].x - from.x) * slope) < threshold) {
      ++next;
    }
    p[++anchor] = p[next++];
  }
  while (next < n) p[++anchor] = p[next++];
  SetCount(anchor + 1);
}
