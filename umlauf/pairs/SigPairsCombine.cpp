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
/// The first `skipped` of them are not written.
std::size_t Merge(const CSigPairs& own, const CSigPairs& other, float tolerance, int operation,
                  SPunkt* merged, std::size_t skipped) {
  const auto by = [&]<class Rule>(Rule) {
    return GridMerger<Rule>(own, other, tolerance, operation, merged, skipped).Merge();
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
  // Own points outside the other's range are cropped. Those in front of it need not be written at all.
  const bool crops = !KeepsAll(operation) && !IsUnion(operation);
  const float lo = other.Punkt(0) - tolerance, hi = other.Punkt(other.NPaare() - 1) + tolerance;
  std::size_t skipped = 0;
  while (crops && skipped < before && own.Punkt(skipped) < lo) ++skipped;
  const std::size_t merged = Merge(own, other, tolerance, operation, grid, skipped);
  std::size_t n = merged - skipped;
  while (crops && n > 0 && grid[n - 1].x > hi) --n;
  if (n == 0) {
    Neustart();
    return true;
  }
  const bool level = grid[0].x == grid[n - 1].x;
  const bool descends = own.descending_ && level && !(merged > before && before == 1);
  if (n >= room / 2) {
    Adopt(std::move(block), 2 * room);
    SetCount(n);
  } else if (!CopyPoints(grid, n)) {
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
  CSigPairs result(*this, HeaderOnly());  // the only one, so that it is not copied when it is returned
  const bool direct = &other != this && ascending_ && AreCombinable(other, tolerance);
  if (direct && result.TakeMerged(*this, other, operation, tolerance)) return result;
  result = *this;
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
