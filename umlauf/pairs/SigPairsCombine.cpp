#include <algorithm>
#include <tuple>
#include <utility>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/pairs/internal/GridMerger.h"
#include "umlauf/platform/memory/AlignedBlock.h"

using umlauf::pairs::GridMerger;

namespace {

bool IsUnion(int operation) {
  return operation == CSigPairs::vereinigen || operation == CSigPairs::gitter_vereinigen;
}

/// Minimum and maximum: they keep the points outside the other's range.
bool KeepsAll(int operation) {
  return operation == CSigPairs::minimum || operation == CSigPairs::maximum || operation == 8 ||
         operation == 9;
}

// What becomes of y; see GridMerger.

struct Stays {
  static constexpr bool kForms = false, kWithin = false;
  float operator()(float y, float) const { return y; }
};
template <class Form>
struct Everywhere : Form {
  static constexpr bool kForms = true, kWithin = false;
};
template <class Form>
struct Within : Form {
  static constexpr bool kForms = true, kWithin = true;
};

/// Merges an ascending signal's grid into another one's and forms the values; returns the number of points.
std::size_t Merge(const CSigPairs& own, const CSigPairs& other, float tolerance, int operation,
                  SPunkt* merged) {
  const auto by = [&]<class Rule>(Rule) {
    return GridMerger<Rule>(own, other, tolerance, operation, merged).Merge();
  };
  const auto form = [&by]<class Form>(Form) { return by(Everywhere<Form>()); };
  const auto formWithin = [&by]<class Form>(Form) { return by(Within<Form>()); };
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
      return formWithin([](float y, float v) { return std::min(y, v); });
    case CSigPairs::maximum:
    case 8:
      return formWithin([](float y, float v) { return std::max(y, v); });
    default:
      return by(Stays());
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

bool CSigPairs::AreCombinable(const CSigPairs& other, float& tolerance) const {
  if (!Gueltig() || !other.Gueltig() || !other.ascending_) return false;
  float lo = 0.0f, hi = 0.0f, otherLo = 0.0f, otherHi = 0.0f;
  XBereich(lo, hi);
  other.XBereich(otherLo, otherHi);
  if (otherLo > hi || lo > otherHi) return false;
  tolerance = ToleranzInX();
  return true;
}

bool CSigPairs::OperationVorbereiten(const CSigPairs& other, float& tolerance) {
  if (other.Gueltig() && other.ascending_) DatenSortieren(false);
  return AreCombinable(other, tolerance);
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
  TakeMerged(*this, other, operation, tolerance);
}

bool CSigPairs::TakeMerged(const CSigPairs& own, const CSigPairs& other, int operation, float tolerance) {
  const std::size_t before = own.NPaare();
  const std::uint64_t room = std::uint64_t{before} + other.NPaare();
  umlauf::AlignedBlock<float> block = umlauf::MakeAlignedBlock<float>(2 * room);
  if (block == nullptr) return false;
  SPunkt* const grid = reinterpret_cast<SPunkt*>(block.get());
  SPunkt* from = grid;
  SPunkt* end = from + Merge(own, other, tolerance, operation, grid);
  const bool grown = static_cast<std::size_t>(end - from) > before;
  if (!KeepsAll(operation) && !IsUnion(operation)) {
    std::tie(from, end) =
        Cropped(from, end, other.Punkt(0) - tolerance, other.Punkt(other.NPaare() - 1) + tolerance);
  }
  if (from == end) {
    Neustart();
    return true;
  }
  const auto n = static_cast<std::size_t>(end - from);
  const bool level = from->x == end[-1].x;
  const bool descends = own.descending_ && level && !(grown && before == 1);
  if (n >= room / 2) {
    std::copy(from, end, grid);
    Adopt(std::move(block), 2 * room);
    SetCount(n);
  } else if (!CopyPoints(from, n)) {
    return false;
  }
  SetOrder(true, descends);
  return true;
}

CSigPairs& CSigPairs::Combine(const CSigPairs& other, int operation) {
  Verrechnen(other, operation);
  return *this;
}

CSigPairs CSigPairs::Combined(const CSigPairs& other, int operation) const {
  float tolerance = 0.0f;
  if (&other != this && ascending_ && AreCombinable(other, tolerance)) {
    CSigPairs result(*this, HeaderOnly());
    if (result.TakeMerged(*this, other, operation, tolerance)) return result;
  }
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
