#include "umlauf/pairs/SigPairs.h"

#include <cstring>
#include <limits>

#include "umlauf/platform/memory/WithoutMemory.h"

UMLAUF_IMPLEMENT_DYNCREATE(CSigPairs, CSignal)

namespace {

constexpr std::uint64_t kMostPairs = std::numeric_limits<std::uint64_t>::max() / 2;
constexpr std::size_t kFirstRoom = 16;  // points, when a signal grows point by point

void CopyOver(SPunkt* to, const SPunkt* from, std::size_t n) {
  if (n != 0) std::memmove(to, from, n * sizeof(SPunkt));
}

}  // namespace

CSigPairs::CSigPairs() : CSigPairs(std::size_t{0}) {}

CSigPairs::CSigPairs(std::size_t n) {
  SetSigId(SigIdPairs);
  if (n != 0) NeueGroesse(n);
}

CSigPairs::CSigPairs(const CSigPairs& other, HeaderOnly)
    : CSignal(other, HeaderOnly()),
      parameter_(other.parameter_),
      number_(other.number_),
      ascending_(other.ascending_),
      descending_(other.descending_),
      tolerance_(other.tolerance_) {
  SetSigId(SigIdPairs);
}

CSigPairs::CSigPairs(const CSigPairs& other, bool) : CSigPairs(other, HeaderOnly()) {
  CopyPoints(other.Punkte(), other.NPaare());
}

CSigPairs::CSigPairs(const CSigCurve& curve) : CSigPairs() { AusSigCurveBilden(curve); }

CSigPairs& CSigPairs::operator=(const CSigPairs& other) {
  if (this == &other) return *this;
  // With the room made first, the base's copy of `DLen` floats finds its place and fails no more.
  Neustart();
  if (!Reserve(other.NPaare())) return *this;
  CSignal::operator=(other);
  CopyPoints(other.Punkte(), other.NPaare());
  parameter_ = other.parameter_;
  number_ = other.number_;
  tolerance_ = other.tolerance_;
  SetOrder(other.ascending_, other.descending_);
  return *this;
}

CSigPairs& CSigPairs::operator=(const CSigCurve& curve) {
  AusSigCurveBilden(curve);
  return *this;
}

void CSigPairs::InitHeader() {
  CSignal::InitHeader();
  SetSigId(SigIdPairs);
  parameter_ = 0.0f;
  number_ = 0;
  PunktgleichheitAutoToleranz();
  Neustart();
}

// Storage

void CSigPairs::SetCount(std::size_t n) {
  SetDLen(n);
  SetXLen(n);
}

void CSigPairs::SetOrder(bool ascending, bool descending) {
  ascending_ = ascending;
  descending_ = descending;
}

bool CSigPairs::Reserve(std::uint64_t n) {
  if (n <= Capacity() / 2) return true;
  if (n > kMostPairs) return false;
  const std::size_t count = NPaare();
  SetDLen(2 * count);  // the floats to keep
  const bool grown = CSigRaw::Resize(2 * n);
  SetDLen(count);
  return grown;
}

bool CSigPairs::ReserveNext() {
  const std::size_t n = NPaare();
  if (n < Capacity() / 2) return true;
  return Reserve(std::max(2 * n, kFirstRoom)) || Reserve(n + 1);
}

bool CSigPairs::CopyPoints(const SPunkt* points, std::size_t n) {
  if (!Reserve(n)) return false;
  CopyOver(Punkte(), points, n);
  SetCount(n);
  return true;
}

bool CSigPairs::NeueGroesse(std::size_t n) {
  const bool made = n <= kMostPairs && (Malloc(2 * std::uint64_t{n}) != nullptr || n == 0);
  Neustart();
  return made;
}

bool CSigPairs::Resize(std::uint64_t n) {
  if (!Reserve(n)) return false;
  const std::size_t before = NPaare();
  SetCount(static_cast<std::size_t>(n));
  if (n > before) std::fill(Punkte() + before, PunkteEnd(), SPunkt{});
  return true;
}

bool CSigPairs::SetzeGueltig(std::size_t n) {
  if (n > Capacity() / 2) return false;
  SetCount(n);
  return true;
}

void CSigPairs::Neustart() {
  SetCount(0);
  SetOrder(true, true);
}

std::valarray<float> CSigPairs::ValArray() const {
  return umlauf::WithMemory(std::valarray<float>(), [this] {
    std::valarray<float> values(NPaare());
    std::copy(Werte(), WerteEnd(), std::begin(values));
    return values;
  });
}

void CSigPairs::SetzeNummerOH(std::int16_t number) {
  const auto upper = static_cast<std::uint32_t>(static_cast<std::uint16_t>(number));
  number_ = static_cast<LONG>(upper << 16 | (static_cast<std::uint32_t>(number_) & 0xFFFFu));
}

// Building

void CSigPairs::AusSigCurveBilden(const CSigCurve& curve) {
  Neustart();
  if (curve.DLen() == 0 || !Reserve(curve.DLen())) return;
  SetName(curve.Name());
  SetXUnit(curve.XUnit());
  SetYUnit(curve.YUnit());
  const auto [first, count] = curve.ValidSamples();
  if (count == 0) return;
  const double start = curve.GetPoint(first);
  const double step = curve.XDelta();
  SPunkt* out = Punkte();
  for (std::int64_t i = 0; i < count; ++i) {
    *out++ = {static_cast<float>(start + static_cast<double>(i) * step), curve.FData()[first + i]};
  }
  SetCount(static_cast<std::size_t>(count));
  SetOrder(step >= 0.0, step < 0.0);
}

bool CSigPairs::NeuesPaar(float x, float y) {
  if (!ReserveNext()) return false;
  const std::size_t n = NPaare();
  if (n == 0) {
    SetOrder(true, true);
  } else {
    const float last = Punkt(n - 1);
    SetOrder(ascending_ && !(x < last), descending_ && !(x > last));
  }
  SetCount(n + 1);
  Setzen(n, x, y);
  return true;
}

std::size_t CSigPairs::InsertionIndex(float x) const {
  const SPunkt* end = PunkteEnd();
  const SPunkt* place = end;
  if (ascending_) {
    place = std::upper_bound(Punkte(), end, x, [](float value, const SPunkt& p) { return value < p.x; });
  } else if (descending_) {
    place = std::upper_bound(Punkte(), end, x, [](float value, const SPunkt& p) { return value > p.x; });
  }
  return static_cast<std::size_t>(place - Punkte());
}

std::size_t CSigPairs::NeuesPaarEinsortieren(float x, float y) {
  if (!ReserveNext()) return KeinPunkt;
  const std::size_t n = NPaare();
  if (n == 0) {
    SetOrder(true, true);
  } else if (ascending_ && x != Punkt(0)) {
    descending_ = false;
  }
  const std::size_t i = InsertionIndex(x);
  SetCount(n + 1);
  CopyOver(Punkte() + i + 1, Punkte() + i, n - i);
  Setzen(i, x, y);
  return i;
}

std::size_t CSigPairs::Aendern(std::size_t i, float x, float y) {
  const std::size_t n = NPaare();
  if (i >= n) return KeinPunkt;
  Setzen(i, x, y);
  if (n == 1 || !(ascending_ || descending_)) return i;
  if (ascending_ && x != Punkt(i == 0 ? 1 : 0)) descending_ = false;
  const auto behind = [up = ascending_](float a, float b) { return up ? a > b : a < b; };
  SPunkt* const first = Punkte();
  SPunkt* const moved = first + i;
  if (i + 1 < n && behind(x, moved[1].x)) {
    SPunkt* const to =
        std::partition_point(moved + 1, first + n, [&](const SPunkt& p) { return !behind(p.x, x); });
    std::rotate(moved, moved + 1, to);
    return static_cast<std::size_t>(to - first) - 1;
  }
  if (i > 0 && behind(moved[-1].x, x)) {
    SPunkt* const to = std::partition_point(first, moved, [&](const SPunkt& p) { return !behind(p.x, x); });
    std::rotate(to, moved, moved + 1);
    return static_cast<std::size_t>(to - first);
  }
  return i;
}

CSigPairs& CSigPairs::Append(const CSigPairs& other) {
  const std::size_t n = NPaare();
  const std::size_t added = other.NPaare();
  if (added == 0 || !Reserve(std::uint64_t{n} + added)) return *this;
  if (n == 0) {
    SetOrder(other.ascending_, other.descending_);
  } else {
    const float before = Punkt(n - 1);
    const float behind = other.Punkt(0);
    SetOrder(ascending_ && other.ascending_ && !(behind < before),
             descending_ && other.descending_ && !(behind > before));
  }
  SetCount(n + added);
  CopyOver(Punkte() + n, other.Punkte(), added);
  return *this;
}

void CSigPairs::Append(const CSignal& other) {
  if (const auto* pairs = dynamic_cast<const CSigPairs*>(&other)) {
    Append(*pairs);
  } else if (const auto* curve = dynamic_cast<const CSigCurve*>(&other)) {
    Append(CSigPairs(*curve));
  }
}

std::size_t CSigPairs::AbschnittKopieren(const CSigPairs& source, float x1, float x2) {
  const auto between = [x1, x2](const SPunkt& p) { return x1 <= p.x && p.x <= x2; };
  const SPunkt* const from = source.Punkte();
  const auto n = static_cast<std::size_t>(std::count_if(from, source.PunkteEnd(), between));
  if (!Reserve(n)) return 0;
  std::copy_if(source.Punkte(), source.PunkteEnd(), Punkte(), between);
  SetCount(n);
  PruefeSortierung();
  return n;
}

std::size_t CSigPairs::AbschnittKopierenIdx(const CSigPairs& source, std::size_t i1, std::size_t i2) {
  const std::size_t available = source.NPaare();
  const std::size_t n = i1 > i2 || i1 >= available ? 0 : std::min(i2, available - 1) - i1 + 1;
  if (!Reserve(n)) return 0;
  CopyPoints(source.Punkte() + (n == 0 ? 0 : i1), n);
  PruefeSortierung();
  return n;
}

std::size_t CSigPairs::KeepRange(std::size_t first, std::size_t n) {
  if (n == 0) {
    Neustart();
  } else {
    CopyOver(Punkte(), Punkte() + first, n);
    SetCount(n);
    if (n == 1 && !ascending_ && !descending_) SetOrder(true, true);
  }
  return n;
}

void CSigPairs::PunkteEntfernen(std::size_t i, std::size_t n) {
  const std::size_t count = NPaare();
  if (i >= count) return;
  n = std::min(n, count - i);
  CopyOver(Punkte() + i, Punkte() + i + n, count - i - n);
  KeepRange(0, count - n);
}

// Order

bool CSigPairs::PruefeSortierung() {
  bool ascending = true;
  bool descending = true;
  const SPunkt* p = Punkte();
  for (std::size_t i = 1; i < NPaare(); ++i) {
    ascending &= !(p[i].x < p[i - 1].x);
    descending &= !(p[i].x > p[i - 1].x);
  }
  SetOrder(ascending, descending);
  return ascending;
}

bool CSigPairs::PruefeInverseSortierung() {
  const auto rises = [](const SPunkt& a, const SPunkt& b) { return b.x > a.x; };
  if (std::adjacent_find(Punkte(), PunkteEnd(), rises) != PunkteEnd()) return false;
  SetOrder(false, true);
  return true;
}

void CSigPairs::DatenWenden() {
  std::reverse(Punkte(), PunkteEnd());
  PruefeSortierung();
}
