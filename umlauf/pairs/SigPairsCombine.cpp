#include <cmath>
#include <tuple>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/pairs/internal/Interpolation.h"
#include "umlauf/platform/basis/CAlignedMem.h"

using umlauf::pairs::AscendingReader;
using umlauf::pairs::OnLine;

namespace {

bool IsUnion(int operation) {
  return operation == CSigPairs::vereinigen || operation == CSigPairs::gitter_vereinigen;
}

/// Minimum and maximum: they keep the points outside the other's range.
bool KeepsAll(int operation) {
  return operation == CSigPairs::minimum || operation == CSigPairs::maximum || operation == 8 ||
         operation == 9;
}

/// Merges the grid of an ascending signal into that of another one in a single pass. The merged points grow
/// in a block of their own; the signal's points that lie behind the current x follow them unmoved, so that
/// together both are the grid "as it stands".
class GridMerger {
 public:
  /// `merged` has room for the points of both signals.
  GridMerger(const CSigPairs& own, float tolerance, int operation, SPunkt* merged)
      : own_(own.Punkte()),
        n_(own.NPaare()),
        tolerance_(tolerance),
        operation_(operation),
        merged_(merged),
        first_(own.Punkt(0)),
        last_(own.Punkt(n_ - 1)) {}

  void Add(const SPunkt& point) {
    while (rest_ < n_ && own_[rest_].x <= point.x) merged_[count_++] = own_[rest_++];
    const bool within = !(point.x < first_ - tolerance_ || point.x > last_ + tolerance_);
    if (!within) {
      if (IsUnion(operation_)) Insert({point.x, operation_ == CSigPairs::vereinigen ? point.y : 0.0f});
      return;
    }
    const bool found = HasPointNear(point.x);
    ++within_;
    if (!found) Insert({point.x, operation_ == CSigPairs::gitter_vereinigen ? 0.0f : ValueAt(point.x)});
  }

  /// Takes over the rest of the points; returns the number of all.
  std::size_t Finish() {
    std::copy(own_ + rest_, own_ + n_, merged_ + count_);
    return count_ + (n_ - rest_);
  }

 private:
  void Insert(const SPunkt& point) {
    merged_[count_++] = point;
    first_ = std::min(first_, point.x);
    last_ = std::max(last_, point.x);
  }

  /// Looks for a point within the tolerance from index `within_` of the grid on. The points within it are
  /// neighbours, so the last point that is not beyond decides.
  bool HasPointNear(float x) {
    near_ = std::max(near_, rest_);
    while (near_ < n_ && own_[near_].x - x <= tolerance_) ++near_;
    const std::size_t end = count_ + (near_ - rest_);
    if (end <= within_) return false;
    const float candidate = near_ > rest_ ? own_[near_ - 1].x : merged_[count_ - 1].x;
    return std::fabs(candidate - x) <= tolerance_;
  }

  float ValueAt(float x) {
    if (count_ == 0) return own_[rest_].y;
    if (x <= merged_[0].x) return merged_[0].y;
    if (rest_ == n_) return merged_[count_ - 1].y;
    while (notBelow_ < count_ && merged_[notBelow_].x < x) ++notBelow_;
    return OnLine(merged_[notBelow_ - 1], notBelow_ < count_ ? merged_[notBelow_] : own_[rest_], x);
  }

  const SPunkt* own_;
  std::size_t n_;
  float tolerance_;
  int operation_;
  SPunkt* merged_;
  float first_;  // x of the first and the last point of the grid
  float last_;
  std::size_t count_ = 0;     // merged points: all that do not lie beyond the current x
  std::size_t rest_ = 0;      // own points from here on are not merged yet
  std::size_t near_ = 0;      // own points from here on lie beyond the current x and the tolerance
  std::size_t notBelow_ = 1;  // merged points from here on do not lie below the current x
  std::size_t within_ = 0;    // points of the other signal that were within the range
};

/// Forms the values of ascending points from their own and the other signal's.
void FormValues(SPunkt* from, SPunkt* end, AscendingReader other, int operation) {
  const auto form = [&](auto rule) {
    for (SPunkt* p = from; p != end; ++p) p->y = rule(p->y, other.At(p->x));
  };
  switch (operation) {
    case CSigPairs::addieren:
      return form([](float y, float v) { return y + v; });
    case CSigPairs::subtrahieren:
      return form([](float y, float v) { return y - v; });
    case CSigPairs::multiplizieren:
      return form([](float y, float v) { return y * v; });
    case CSigPairs::dividieren:
      return form([](float y, float v) { return v == 0.0f ? 0.0f : y / v; });
    case CSigPairs::quadrat_addieren:
      return form([](float y, float v) { return y + v * v; });
    case CSigPairs::quadrat_subtrahieren:
      return form([](float y, float v) { return y - v * v; });
    case CSigPairs::minimum:
    case 9:
      return form([](float y, float v) { return std::min(y, v); });
    case CSigPairs::maximum:
    case 8:
      return form([](float y, float v) { return std::max(y, v); });
    default:
      return;
  }
}

/// Ascending points from ... end with x >= lo and x <= hi.
std::pair<SPunkt*, SPunkt*> Cropped(SPunkt* from, SPunkt* end, float lo, float hi) {
  while (from != end && from->x < lo) ++from;
  while (from != end && end[-1].x > hi) --end;
  return {from, end};
}

}  // namespace

float CSigPairs::ToleranzInX() const {
  if (tolerance_ >= 0.0f) return tolerance_;
  float lo = 0.0f, hi = 0.0f;
  if (!XBereich(lo, hi)) return 0.0f;
  const float percent = tolerance_ >= -100.0f ? -tolerance_ : 5.0f;
  return percent * 0.01f * ((hi - lo) / static_cast<float>(NPaare()));
}

bool CSigPairs::OperationVorbereiten(const CSigPairs& other, float& tolerance) {
  if (!Gueltig() || !other.Gueltig() || !other.ascending_) return false;
  DatenSortieren(false);
  float lo = 0.0f, hi = 0.0f, otherLo = 0.0f, otherHi = 0.0f;
  XBereich(lo, hi);
  other.XBereich(otherLo, otherHi);
  if (otherLo > hi || lo > otherHi) return false;
  tolerance = ToleranzInX();
  return true;
}

void CSigPairs::Verrechnen(const CSigPairs& other, int operation) {
  if (&other == this || !other.ascending_) {
    CSigPairs sorted(other);
    if (sorted.NPaare() != other.NPaare()) return;  // no memory
    sorted.DatenSortieren(false);
    return sorted.ascending_ ? Verrechnen(sorted, operation) : Neustart();
  }
  float tolerance = 0.0f;
  if (!OperationVorbereiten(other, tolerance)) return Neustart();
  const std::size_t before = NPaare();
  CAlignedMem<SPunkt> grid;
  if (!grid.alloc(std::uint64_t{before} + other.NPaare())) return;
  GridMerger merger(*this, tolerance, operation, grid.data());
  for (const SPunkt* p = other.Punkte(); p != other.PunkteEnd(); ++p) merger.Add(*p);
  SPunkt* from = grid.data();
  SPunkt* end = from + merger.Finish();
  const bool grown = static_cast<std::size_t>(end - from) > before;

  const float lo = other.Punkt(0);
  const float hi = other.Punkt(other.NPaare() - 1);
  if (KeepsAll(operation)) {
    const auto [first, last] = Cropped(from, end, lo, hi);
    FormValues(first, last, AscendingReader(other), operation);
  } else if (!IsUnion(operation)) {
    std::tie(from, end) = Cropped(from, end, lo - tolerance, hi + tolerance);
    FormValues(from, end, AscendingReader(other), operation);
  }
  if (from == end) return Neustart();
  if (!CopyPoints(from, static_cast<std::size_t>(end - from))) return;
  const bool level = from->x == end[-1].x;
  SetOrder(true, descending_ && level && !(grown && before == 1));
}

CSigPairs& CSigPairs::Combine(const CSigPairs& other, int operation) {
  Verrechnen(other, operation);
  return *this;
}

CSigPairs CSigPairs::Combined(const CSigPairs& other, int operation) const {
  CSigPairs result(*this);
  result.Verrechnen(other, operation);
  return result;
}

bool CSigPairs::Compare(const CSigPairs& other, float sign) const {
  CSigPairs grid(*this);
  grid.Verrechnen(other, schneiden);
  const auto beyond = [sign](float a, float b) { return sign < 0.0f ? a > b : a < b; };
  if (grid.Gueltig()) {
    const std::size_t n = std::min(grid.NPaare(), NPaare());
    for (std::size_t i = 0; i < n; ++i) {
      if (beyond(Wert(i), other.WertBei(grid.Punkt(i)))) return false;
    }
    return true;
  }
  float lo = 0.0f, hi = 0.0f, otherLo = 0.0f, otherHi = 0.0f;
  if (!YBereich(lo, hi) || !other.YBereich(otherLo, otherHi)) return false;
  return sign < 0.0f ? beyond(otherLo, hi) : beyond(otherHi, lo);
}
