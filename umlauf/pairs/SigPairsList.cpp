#include "umlauf/pairs/SigPairsList.h"

#include <cmath>
#include <limits>
#include <new>

#include "umlauf/pairs/internal/Interpolation.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/framework/CInvalidArgException.h"
#include "umlauf/platform/memory/WithoutMemory.h"

CSigPairsList::~CSigPairsList() = default;

template <class Visit>
void CSigPairsList::ForEach(Visit visit) const {
  for (POSITION position = GetHeadPosition(); position != nullptr;) visit(*GetNext(position));
}

template <class Test>
CSigPairs* CSigPairsList::First(Test test) const {
  for (POSITION position = GetHeadPosition(); position != nullptr;) {
    CSigPairs* const object = GetNext(position);
    if (test(*object)) return object;
  }
  return nullptr;
}

// Pool

bool CSigPairsList::Grow() {
  const std::size_t capacity = capacity_ == 0 ? kFirstCapacity : 2 * capacity_;
  std::unique_ptr<Entry[]> larger(new (std::nothrow) Entry[capacity]);
  if (larger == nullptr) return false;
  std::move(pool_.get(), pool_.get() + capacity_, larger.get());
  pool_ = std::move(larger);
  capacity_ = capacity;
  return true;
}

CSigPairs* CSigPairsList::AusDemVorrat() {
  if (used_ == capacity_ && !Grow()) return nullptr;
  Entry& entry = pool_[used_];
  if (entry == nullptr) entry.reset(new (std::nothrow) CSigPairs);
  if (entry == nullptr) return nullptr;
  ++used_;
  return entry.get();
}

CSigPairs* CSigPairsList::Append(CSigPairs* object) {
  if (AddTail(object) != nullptr) return object;
  --used_;  // it was taken last
  return nullptr;
}

std::size_t CSigPairsList::UsedIndex(const CSigPairs* object) const {
  const Entry* const end = pool_.get() + used_;
  const auto same = [object](const Entry& entry) { return entry.get() == object; };
  return static_cast<std::size_t>(std::find_if(static_cast<const Entry*>(pool_.get()), end, same) -
                                  pool_.get());
}

CSigPairs* CSigPairsList::NeuesObjekt(std::size_t n) {
  CSigPairs* const object = AusDemVorrat();
  if (object == nullptr) return nullptr;
  *object = CSigPairs();
  object->SetColor(0);
  object->SigType(0);
  if (n > 0) object->NeueGroesse(n);
  return Append(object);
}

CSigPairs* CSigPairsList::NeuesObjekt(const CSigPairs* source, void* extData) {
  if (source == nullptr) return nullptr;
  CSigPairs* const object = AusDemVorrat();
  if (object == nullptr) return nullptr;
  *object = *source;
  if (Append(object) == nullptr) return nullptr;
  EnterKey(object, extData);
  return object;
}

void CSigPairsList::InDenVorrat(POSITION position) {
  if (position == nullptr) AfxThrowInvalidArgException();
  CSigPairs* const object = GetAt(position);
  DropKey(object);
  const std::size_t index = UsedIndex(object);
  if (index < used_) std::swap(pool_[index], pool_[--used_]);
  RemoveAt(position);
}

void CSigPairsList::AllesInDenVorrat() {
  byExtData_.clear();
  used_ = 0;
  RemoveAll();
}

void CSigPairsList::AllesLoeschen() {
  AllesInDenVorrat();
  std::for_each(pool_.get(), pool_.get() + capacity_, [](Entry& entry) { entry.reset(); });
}

void CSigPairsList::AnsEndeSetzen(const CSigPairs* object) {
  const POSITION position = Find(object);
  if (position == nullptr) return;
  CSigPairs* const moved = GetAt(position);
  RemoveAt(position);
  AddTail(moved);  // into the place that has just become free
}

// External data

void CSigPairsList::DropKey(CSigPairs* object) {
  const auto found = byExtData_.find(object->ExtData());
  if (found != byExtData_.end() && found->second == object) byExtData_.erase(found);
}

void CSigPairsList::EnterKey(CSigPairs* object, void* extData) {
  object->SetExtData(extData);
  if (extData == nullptr) return;
  if (!umlauf::HadMemory([&] { byExtData_[extData] = object; })) object->SetExtData(nullptr);
}

void CSigPairsList::ExtDataSetzen(CSigPairs* object, void* extData) {
  if (object == nullptr || Find(object) == nullptr) return;
  DropKey(object);
  EnterKey(object, extData);
}

CSigPairs* CSigPairsList::FindeObjektZuExtData(const void* extData) const {
  const auto found = byExtData_.find(extData);
  return found != byExtData_.end() ? found->second : nullptr;
}

CSigPairs* CSigPairsList::FindeObjektZuExtData(const void* extData, const CString& name) const {
  if (extData == nullptr) return nullptr;
  return First([&](const CSigPairs& o) { return o.ExtData() == extData && name == o.Name(); });
}

CSigPairs* CSigPairsList::FindeObjektZuExtData(const void* extData, const CSigPairs& like) const {
  if (extData == nullptr) return nullptr;
  const CString name(like.Name());
  return First([&](const CSigPairs& o) {
    return o.ExtData() == extData && name == o.Name() && o.Parameter() == like.Parameter() &&
           o.Nummer() == like.Nummer();
  });
}

// Searches

CSigPairs* CSigPairsList::FindeObjekt(const wchar_t* name) const {
  const CString wanted(name);
  return First([&](const CSigPairs& o) { return wanted == o.Name(); });
}

CSigPairs* CSigPairsList::FindeObjektZu(float parameter) const {
  return First([parameter](const CSigPairs& o) { return o.Parameter() == parameter; });
}

CSigPairs* CSigPairsList::FindeObjektUngefaehr(float parameter) const {
  if (CSigPairs* const exact = FindeObjektZu(parameter)) return exact;
  CSigPairs* nearest = nullptr;
  float least = 0.0f;
  ForEach([&](CSigPairs& o) {
    const float distance = std::fabs(parameter - o.Parameter());
    if (std::isnan(distance) || (nearest != nullptr && distance >= least)) return;
    nearest = &o;
    least = distance;
  });
  return nearest;
}

// All objects together

bool CSigPairsList::AlleSortiert() const {
  if (IstLeer()) return true;
  const CSigPairs& first = *GetAt(GetHeadPosition());
  if (first.IstSortiert()) return First([](const CSigPairs& o) { return !o.IstSortiert(); }) == nullptr;
  if (!first.IstInversSortiert()) return false;
  return First([](const CSigPairs& o) { return !o.IstInversSortiert(); }) == nullptr;
}

std::size_t CSigPairsList::MaxNPaare() const {
  std::size_t most = 0;
  ForEach([&most](const CSigPairs& o) { most = std::max(most, o.NPaare()); });
  return most;
}

CSignal::Range CSigPairsList::XMinMaxBereich() const {
  CSignal::Range all{};
  bool any = false;
  ForEach([&](const CSigPairs& o) {
    CSignal::Range range{};
    if (!o.XBereich(range.first.first, range.second.first)) return;
    o.YBereich(range.first.second, range.second.second);
    if (any) {
      CSignal::ExpandRange(all, range);
    } else {
      all = range;
    }
    any = true;
  });
  return all;
}

CSigPairs CSigPairsList::VerbundAllerPunkte() const {
  CSigPairs all;
  bool first = true;
  ForEach([&](const CSigPairs& o) {
    if (first) {
      all = o;
    } else {
      all.Append(o);
    }
    first = false;
  });
  return all;
}

CSigPairs CSigPairsList::Intervalle() const {
  CSigPairs grid;
  if (IstLeer()) return grid;
  const CSigPairs& first = *GetAt(GetHeadPosition());
  grid.SetName(name_);
  grid.SetXUnit(first.XUnit());
  grid.SetYUnit(first.YUnit());
  grid.PunktgleichheitToleranz(first.PunktgleichheitToleranz());
  std::uint64_t n = 0;
  ForEach([&n](const CSigPairs& o) { n += o.NPaare(); });
  CAlignedMem<float> x;
  if (!x.alloc(n)) return grid;
  float* end = x.begin();
  ForEach([&end](const CSigPairs& o) {
    for (const SPunkt* p = o.Punkte(); p != o.PunkteEnd(); ++p) {
      if (!std::isnan(p->x)) *end++ = p->x;
    }
  });
  std::sort(x.begin(), end);
  const float tolerance = first.ToleranzInX();
  float* kept = x.begin();
  for (const float* next = x.begin(); next != end; ++next) {
    if (kept == x.begin() || *next - kept[-1] > tolerance) *kept++ = *next;
  }
  if (!grid.NeueGroesse(static_cast<std::size_t>(kept - x.begin()))) return grid;
  for (const float* next = x.begin(); next != kept; ++next) grid.NeuesPaar(*next, 0.0f);
  return grid;
}

/// `fold` takes what was formed so far and the value of one more object; the mean is a sum that is divided by
/// the number of objects.
template <class Fold>
CSigPairs CSigPairsList::OverGrid(float start, Fold fold, bool average) const {
  CSigPairs grid = Intervalle();
  CAlignedMem<double> sums;
  CAlignedMem<std::uint32_t> counts;
  if (!sums.alloc(grid.NPaare()) || !counts.alloc(grid.NPaare())) return {};
  std::fill(sums.begin(), sums.end(), start);
  ForEach([&](const CSigPairs& object) {
    if (!object.Gueltig()) return;
    CSigPairs copy;
    if (!object.IstSortiert()) {
      copy = object;
      copy.DatenSortieren(true);
      if (!copy.Gueltig()) return;
    }
    umlauf::pairs::AscendingReader reader(object.IstSortiert() ? object : copy);
    for (std::size_t i = 0; i < grid.NPaare(); ++i) {
      const float x = grid.Punkt(i);
      if (!reader.Holds(x)) continue;
      sums[i] = fold(sums[i], double{reader.At(x)});
      ++counts[i];
    }
  });
  for (std::size_t i = 0; i < grid.NPaare(); ++i) {
    const double sum = average && counts[i] != 0 ? sums[i] / counts[i] : sums[i];
    grid.Setzen(i, grid.Punkt(i), counts[i] != 0 ? static_cast<float>(sum) : 0.0f);
  }
  return grid;
}

CSigPairs CSigPairsList::Maximum() const {
  return OverGrid(
      -std::numeric_limits<float>::infinity(), [](double a, double v) { return std::max(a, v); }, false);
}

CSigPairs CSigPairsList::Minimum() const {
  return OverGrid(
      std::numeric_limits<float>::infinity(), [](double a, double v) { return std::min(a, v); }, false);
}

CSigPairs CSigPairsList::Mittelwert() const {
  return OverGrid(
      0.0f, [](double a, double v) { return a + v; }, true);
}

CSigPairs CSigPairsList::QuadratSumme() const {
  return OverGrid(
      0.0f, [](double a, double v) { return a + v * v; }, false);
}
