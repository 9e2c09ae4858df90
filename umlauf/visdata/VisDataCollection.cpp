#include "umlauf/visdata/VisDataCollection.h"

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <new>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/visdata/VisData3dObject.h"
#include "umlauf/visdata/VisDataPolygon.h"
#include "umlauf/visdata/VisDataVector.h"

namespace {

template <class Item>
CVisDataCollection::ItemPtr CopyOf(const CVisDataItem& item) {
  std::unique_ptr<Item> copy(new (std::nothrow) Item);
  if (copy == nullptr) return nullptr;
  *copy = static_cast<const Item&>(item);
  if (copy->RawCapacity() < item.RawCapacity()) return nullptr;
  return copy;
}

class Sum {
 public:
  void Add(float value) {
    if (std::isnan(value)) return;
    if (result_.count++ == 0) result_.minimum = result_.maximum = value;
    result_.minimum = std::min(result_.minimum, value);
    result_.maximum = std::max(result_.maximum, value);
    sum_ += double{value};
  }
  VisDataStatistics Result() const {
    VisDataStatistics result = result_;
    if (result.count != 0) result.mean = sum_ / static_cast<double>(result.count);
    return result;
  }

 private:
  VisDataStatistics result_;
  double sum_ = 0.0;
};

void Collect(const CVisDataItem& item, CVisDataItem::Dataaxis axis, Sum& sum) {
  const bool x = axis == CVisDataItem::AxisX, y = axis == CVisDataItem::AxisY;
  if (const auto* vector = dynamic_cast<const CVisDataVector*>(&item)) {
    for (std::uint64_t i = 0; i < vector->Size() && (x || y); ++i) {
      sum.Add(x ? vector->X(static_cast<std::int64_t>(i)) : (*vector)[i]);
    }
  } else if (const auto* integers = dynamic_cast<const CVisDataIntVector*>(&item)) {
    for (std::uint64_t i = 0; i < integers->Size() && (x || y); ++i) {
      sum.Add(x ? integers->X(static_cast<std::int64_t>(i)) : integers->Value(i));
    }
  } else if (const auto* polygon = dynamic_cast<const CVisDataPolygon*>(&item)) {
    for (std::uint64_t i = 0; i < polygon->Size() && (x || y); ++i)
      sum.Add(x ? polygon->X(i) : polygon->Y(i));
  } else if (const auto* rows = dynamic_cast<const CVisData3dObject*>(&item)) {
    for (std::uint64_t r = 0; r < rows->Rows(); ++r) {
      if (axis == CVisDataItem::AxisZ) sum.Add(rows->Z(r));
      for (std::uint64_t c = 0; c < rows->Columns() && y; ++c) sum.Add(rows->At(r, c));
    }
    for (std::uint64_t c = 0; c < rows->Columns() && x && rows->Rows() != 0; ++c) {
      sum.Add(rows->X(static_cast<std::int64_t>(c)));
    }
  }
}

}  // namespace

CVisDataCollection::CVisDataCollection(const CVisDataCollection& other) { *this = other; }

CVisDataCollection& CVisDataCollection::operator=(const CVisDataCollection& other) {
  if (this == &other) return *this;
  name_ = other.name_;
  items_.clear();
  for (const ItemPtr& item : other.items_) {
    if (Add(*item)) continue;
    items_.clear();
    break;
  }
  return *this;
}

CVisDataCollection::ItemPtr CVisDataCollection::Copy(const CVisDataItem& item) {
  switch (item.DataType()) {
    case CVisDataItem::DtVector:
      return CopyOf<CVisDataVector>(item);
    case CVisDataItem::DtIntVector:
      return CopyOf<CVisDataIntVector>(item);
    case CVisDataItem::DtPolygon:
      return CopyOf<CVisDataPolygon>(item);
    case CVisDataItem::DtArray:
      return CopyOf<CVisDataArray>(item);
    case CVisDataItem::DtGrid:
      return CopyOf<CVisDataGrid>(item);
    default:
      return nullptr;
  }
}

bool CVisDataCollection::Insert(ItemPtr&& item, std::size_t at) {
  if (item == nullptr) return false;
  const bool room = umlauf::HadMemory([&] {
    if (items_.size() == items_.capacity()) items_.reserve(std::max<std::size_t>(8, 2 * items_.size()));
  });
  if (room)
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(std::min(at, Count())), std::move(item));
  return room;
}

bool CVisDataCollection::Add(const CVisDataItem& item) { return Insert(Copy(item)); }

CVisDataCollection::ItemPtr CVisDataCollection::Remove(std::size_t i) {
  if (i >= Count()) return nullptr;
  ItemPtr item = std::move(items_[i]);
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
  return item;
}

bool CVisDataCollection::Move(std::size_t from, std::size_t to) {
  if (from >= Count() || to >= Count()) return false;
  const auto at = [this](std::size_t i) { return items_.begin() + static_cast<std::ptrdiff_t>(i); };
  if (from < to) std::rotate(at(from), at(from + 1), at(to + 1));
  if (to < from) std::rotate(at(to), at(from), at(from + 1));
  return true;
}

std::size_t CVisDataCollection::Find(const wchar_t* name) const {
  for (std::size_t i = 0; i < Count() && name != nullptr; ++i) {
    if (std::wcscmp(items_[i]->Name(), name) == 0) return i;
  }
  return None;
}

std::size_t CVisDataCollection::Find(const SVisDataId& id) const {
  for (std::size_t i = 0; i < Count(); ++i) {
    if (items_[i]->Id() == id) return i;
  }
  return None;
}

void CVisDataCollection::CalcRanges(Dataaxis axes) {
  for (const ItemPtr& item : items_) item->CalcRange(axes);
}

CVisDataCollection::Range CVisDataCollection::CommonRange(Dataaxis axis) const {
  Range common(0.0f, 1.0f);
  bool first = true;
  for (const ItemPtr& item : items_) {
    if (Statistics(*item, axis).count == 0) continue;
    const Range& own = axis == CVisDataItem::AxisX   ? item->XRange()
                       : axis == CVisDataItem::AxisY ? item->YRange()
                                                     : item->ZRange();
    common = first ? own : Range(std::min(common.first, own.first), std::max(common.second, own.second));
    first = false;
  }
  return common;
}

VisDataStatistics CVisDataCollection::Statistics(Dataaxis axis) const {
  Sum sum;
  for (const ItemPtr& item : items_) Collect(*item, axis, sum);
  return sum.Result();
}

VisDataStatistics CVisDataCollection::Statistics(const CVisDataItem& item, Dataaxis axis) {
  Sum sum;
  Collect(item, axis, sum);
  return sum.Result();
}
