#pragma once

#include <algorithm>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/visdata/VisDataItem.h"

/// Points (x, y) to be connected in their order. They lie interleaved (x0, y0, x1, y1, ...) at the beginning
/// of the raw data; operations of the base that shrink or free the block leave no more points than there is
/// room for. One object is used by one thread at a time.
class UMLAUF_API CVisDataPolygon : public CVisDataItem {
  UMLAUF_DECLARE_DYNCREATE(CVisDataPolygon)

 public:
  CVisDataPolygon() : CVisDataItem(DtPolygon) {}

  std::uint64_t Size() const { return std::min(size_, RawCapacity() / 2); }
  bool Empty() const { return Size() == 0; }
  /// Coordinates of point i < Size(); not checked.
  float& X(std::uint64_t i) { return RawData()[2 * i]; }
  float& Y(std::uint64_t i) { return RawData()[2 * i + 1]; }
  float X(std::uint64_t i) const { return RawData()[2 * i]; }
  float Y(std::uint64_t i) const { return RawData()[2 * i + 1]; }

  /// n points at (0, 0) in place of what was there. False, with no points, when there is no memory.
  bool SetSize(std::uint64_t n);
  /// Copies of n points, interleaved, which may lie in the item itself, in place of what was there. False,
  /// with no points, when there is no memory.
  bool Set(const float* xy, std::uint64_t n);
  /// Appends a point. False, with no points, when there is no memory.
  bool Append(float x, float y);

  /// Ranges of the points' coordinates, each only when asked for.
  void CalcRange(Dataaxis axes) override;
  /// As CVisDataItem::Reset, and there are no points.
  void Reset() override;

 private:
  Range CoordinateRange(std::size_t coordinate) const;

  std::uint64_t size_ = 0;
};
