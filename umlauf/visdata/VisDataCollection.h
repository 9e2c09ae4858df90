#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/visdata/VisDataItem.h"

/// What there is of a set of values; NaN do not count.
struct VisDataStatistics {
  float minimum = 0.0f;  ///< 0 without values, as the others
  float maximum = 0.0f;
  double mean = 0.0;
  std::uint64_t count = 0;
};

/// Drawable items in the order in which they are drawn, with a name: what one presentation shows together.
///
/// Owns its items; a pointer to one is valid until that item is removed. Without memory an operation leaves
/// the collection as it is. Nothing throws. One object is used by one thread at a time.
class UMLAUF_API CVisDataCollection {
 public:
  using ItemPtr = std::unique_ptr<CVisDataItem>;
  using Range = CVisDataItem::Range;
  using Dataaxis = CVisDataItem::Dataaxis;
  /// Index of no item.
  static constexpr std::size_t None = static_cast<std::size_t>(-1);

  CVisDataCollection() = default;
  /// Copies every item. Without items when there is no memory.
  CVisDataCollection(const CVisDataCollection& other);
  CVisDataCollection& operator=(const CVisDataCollection& other);
  CVisDataCollection(CVisDataCollection&&) noexcept = default;
  CVisDataCollection& operator=(CVisDataCollection&&) noexcept = default;

  const CString& Name() const { return name_; }
  void SetName(const CString& name) { name_ = name; }

  // Items
  std::size_t Count() const { return items_.size(); }
  bool IsEmpty() const { return items_.empty(); }
  /// Item i < Count(); not checked.
  CVisDataItem& operator[](std::size_t i) { return *items_[i]; }
  const CVisDataItem& operator[](std::size_t i) const { return *items_[i]; }
  const ItemPtr* begin() const { return items_.data(); }
  const ItemPtr* end() const { return items_.data() + items_.size(); }
  /// Takes an item in front of item `at`, by default as the last one. False, and the item stays with its
  /// owner, for null and without memory.
  bool Insert(ItemPtr&& item, std::size_t at = None);
  /// Adds a copy of an item of one of the concrete classes; likewise.
  bool Add(const CVisDataItem& item);
  /// Takes item i out and hands it over; null when there is none.
  ItemPtr Remove(std::size_t i);
  /// Moves item `from` to place `to`. False when one of them is none.
  bool Move(std::size_t from, std::size_t to);
  void Clear() { items_.clear(); }
  /// First item by exactly this name (of this identification); None when there is none.
  std::size_t Find(const wchar_t* name) const;
  std::size_t Find(const SVisDataId& id) const;

  // Over all items
  /// Calculates the ranges of every item.
  void CalcRanges(Dataaxis axes = CVisDataItem::AllAxes);
  /// The range of one axis that holds those of all items that have it and are not empty; (0, 1) when there
  /// are none. Uses the ranges as last calculated.
  Range CommonRange(Dataaxis axis) const;
  /// Over the elements of all items on one axis: y the values, x their positions, z those of the rows. An
  /// item without that axis has none.
  VisDataStatistics Statistics(Dataaxis axis) const;
  /// Of one item.
  static VisDataStatistics Statistics(const CVisDataItem& item, Dataaxis axis);

  /// A copy with the class of the item; null without memory and for a class that is none of those here.
  static ItemPtr Copy(const CVisDataItem& item);

 private:
  CString name_;
  std::vector<ItemPtr> items_;
};
