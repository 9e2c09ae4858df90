#include "umlauf/signal/SigCurveArray.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "umlauf/platform/memory/WithoutMemory.h"

UMLAUF_IMPLEMENT_DYNCREATE(CSigCurveArray, CSignal)

namespace {

struct ByDate {
  bool operator()(const CSigCurveArray::CurvePtr& a, const CSigCurveArray::CurvePtr& b) const {
    return a->Date() < b->Date();
  }
  bool operator()(const CSigCurveArray::CurvePtr& a, float date) const { return a->Date() < date; }
  bool operator()(float date, const CSigCurveArray::CurvePtr& b) const { return date < b->Date(); }
};

/// A copy with the units; null when there is no memory.
CSigCurveArray::CurvePtr Copy(const CSigCurve& curve) {
  CSigCurveArray::CurvePtr copy(new (std::nothrow) CSigCurveExt);
  if (copy == nullptr) return nullptr;
  if (const auto* extended = dynamic_cast<const CSigCurveExt*>(&curve)) {
    *copy = *extended;
  } else {
    *copy = curve;
  }
  if (copy->DLen() != curve.DLen()) return nullptr;
  return copy;
}

}  // namespace

CSigCurveArray::CSigCurveArray() { SetSigId(SigIdCurveArray); }

CSigCurveArray::CSigCurveArray(const CSigCurveArray& other) : CSignal() {
  SetSigId(SigIdCurveArray);
  *this = other;
}

CSigCurveArray& CSigCurveArray::operator=(const CSigCurveArray& other) {
  if (this == &other) return *this;
  CSignal::operator=(other);
  SetSigId(SigIdCurveArray);
  arrayUnit_ = other.arrayUnit_;
  curves_.clear();
  Append(static_cast<const CSignal&>(other));
  return *this;
}

void CSigCurveArray::InitHeader() {
  CSignal::InitHeader();
  SetSigId(SigIdCurveArray);
  arrayUnit_.clear();
  curves_.clear();
}

void CSigCurveArray::TakeUnits(const CSignal& curve) {
  if (!IsEmpty()) return;
  if (XUnit().empty()) SetXUnit(curve.XUnit());
  if (YUnit().empty()) SetYUnit(curve.YUnit());
}

// Curves

bool CSigCurveArray::Append(CurvePtr&& curve) {
  if (curve == nullptr || std::isnan(curve->Date())) return false;
  if (!IsEmpty() && curve->Date() < curves_.back()->Date()) return false;
  return Insert(std::move(curve)) != None;
}

bool CSigCurveArray::Append(const CSigCurve& curve, float position) {
  CurvePtr copy = Copy(curve);
  if (copy == nullptr) return false;
  copy->Date(position);
  return Append(std::move(copy));
}

void CSigCurveArray::Append(const CSignal& other) {
  const auto* array = dynamic_cast<const CSigCurveArray*>(&other);
  if (array == nullptr) return;
  umlauf::HadMemory([&] {
    std::vector<CurvePtr> joined;
    joined.reserve(Count() + array->Count());
    for (const CurvePtr& curve : array->curves_) {
      joined.push_back(Copy(*curve));
      if (joined.back() == nullptr) return;
    }
    if (!joined.empty()) TakeUnits(*joined.front());
    for (CurvePtr& curve : curves_) joined.push_back(std::move(curve));
    std::rotate(joined.begin(), joined.begin() + static_cast<std::ptrdiff_t>(array->Count()), joined.end());
    curves_ = std::move(joined);
    Sort();
  });
}

std::size_t CSigCurveArray::Insert(CurvePtr&& curve) {
  if (curve == nullptr || std::isnan(curve->Date())) return None;
  return umlauf::WithMemory(None, [&] {
    const auto place = std::upper_bound(curves_.begin(), curves_.end(), curve->Date(), ByDate());
    const auto index = place - curves_.begin();
    if (curves_.size() == curves_.capacity()) curves_.reserve(std::max<std::size_t>(16, 2 * curves_.size()));
    TakeUnits(*curve);
    curves_.insert(curves_.begin() + index, std::move(curve));
    return static_cast<std::size_t>(index);
  });
}

CSigCurveArray::CurvePtr CSigCurveArray::Remove(std::size_t i) {
  if (i >= Count()) return nullptr;
  CurvePtr curve = std::move(curves_[i]);
  curves_.erase(curves_.begin() + static_cast<std::ptrdiff_t>(i));
  return curve;
}

void CSigCurveArray::TakeCurves(CSigCurveArray& from) {
  if (&from == this) return;
  curves_.clear();
  if (!from.IsEmpty()) TakeUnits(*from.curves_.front());
  curves_.swap(from.curves_);
}

void CSigCurveArray::Sort() {
  const auto isNumber = [](const CurvePtr& curve) { return !std::isnan(curve->Date()); };
  if (std::all_of(curves_.begin(), curves_.end(), isNumber) &&
      std::is_sorted(curves_.begin(), curves_.end(), ByDate())) {
    return;
  }
  std::stable_sort(curves_.begin(), std::stable_partition(curves_.begin(), curves_.end(), isNumber),
                   ByDate());
}

// Array axis

void CSigCurveArray::GetArrayRange(float& lo, float& hi) const {
  if (IsEmpty()) return;
  lo = curves_.front()->Date();
  hi = curves_.back()->Date();
}

std::size_t CSigCurveArray::Find(float position) const {
  const auto place = std::lower_bound(curves_.begin(), curves_.end(), position, ByDate());
  return place != curves_.end() && (*place)->Date() == position
             ? static_cast<std::size_t>(place - curves_.begin())
             : None;
}

std::size_t CSigCurveArray::FindBefore(float position) const {
  const auto place = std::upper_bound(curves_.begin(), curves_.end(), position, ByDate());
  return place == curves_.begin() ? None : static_cast<std::size_t>(place - curves_.begin()) - 1;
}

std::size_t CSigCurveArray::FindNearest(float position) const {
  if (IsEmpty()) return None;
  const std::size_t before = FindBefore(position);
  if (before == None) return 0;
  if (before + 1 == Count()) return before;
  return position - curves_[before]->Date() <= curves_[before + 1]->Date() - position ? before : before + 1;
}

bool CSigCurveArray::Part(float from, float to, CSigCurveArray& part) const {
  std::vector<CurvePtr> copies;
  const bool done = umlauf::HadMemory([&] {
    for (const CurvePtr& curve : curves_) {
      if (!(curve->Date() >= from && curve->Date() <= to)) continue;
      copies.push_back(Copy(*curve));
      if (copies.back() == nullptr) throw std::bad_alloc();
    }
  });
  if (!done) {
    part.Clear();
    return false;
  }
  if (&part != this) {
    part.CSignal::operator=(*this);
    part.SetSigId(SigIdCurveArray);
    part.arrayUnit_ = arrayUnit_;
  }
  part.curves_ = std::move(copies);
  return true;
}

// File record

bool CSigCurveArray::WriteToFile(CFile& file, unsigned version) const {
  if (version != 2 || !CSignal::WriteToFile(file, version)) return false;
  const auto count = static_cast<std::uint32_t>(Count());
  file.Write(&count, sizeof count);
  arrayUnit_.WriteToFile(file);
  return std::all_of(curves_.begin(), curves_.end(), [&](const CurvePtr& curve) {
    const std::int32_t id = curve->CurveId();
    file.Write(&id, sizeof id);
    return curve->WriteToFile(file, version);
  });
}

bool CSigCurveArray::ReadFromFile(CFile& file, unsigned version) {
  Clear();
  if (version != 2 || !CSignal::ReadFromFile(file, version)) return false;
  std::uint32_t count = 0;
  CMeasuringUnit unit;
  if (file.Read(&count, sizeof count) != sizeof count || !unit.ReadFromFile(file)) return false;
  arrayUnit_ = unit;
  for (; count > 0; --count) {
    std::int32_t id = 0;
    CurvePtr curve(new (std::nothrow) CSigCurveExt);
    if (curve == nullptr || file.Read(&id, sizeof id) != sizeof id || !curve->ReadFromFile(file, version)) {
      return false;
    }
    curve->CurveId(id);
    if (!Append(std::move(curve))) return false;
  }
  return true;
}
