#pragma once

#include <algorithm>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/visdata/VisDataItem.h"
#include "umlauf/visdata/VisDataVector.h"

/// Rows of equally many values over a common x axis, one row behind the other along z; y is the value. What
/// arrays and grids share. The rows lie one after the other in the raw data; operations of the base that
/// shrink or free the block leave no more rows than there is room for. One object is used by one thread at a
/// time.
class UMLAUF_API CVisData3dObject : public CVisDataItem {
  UMLAUF_DECLARE_DYNAMIC(CVisData3dObject)

 public:
  std::uint64_t Rows() const { return columns_ == 0 ? 0 : std::min(rows_, RawCapacity() / columns_); }
  /// Values in a row.
  std::uint64_t Columns() const { return columns_; }
  bool Empty() const { return Rows() == 0; }
  /// Row r < Rows(), [Columns() values]; not checked. Valid until the next operation that allocates or frees.
  float* Row(std::uint64_t r) { return RawData() + r * columns_; }
  const float* Row(std::uint64_t r) const { return RawData() + r * columns_; }
  /// Value c < Columns() of row r < Rows(); not checked.
  float& At(std::uint64_t r, std::uint64_t c) { return Row(r)[c]; }
  float At(std::uint64_t r, std::uint64_t c) const { return Row(r)[c]; }

  /// The axis of the columns, [0, 1) at first.
  const SVisDataAxis& Axis() const { return axis_; }
  void SetAxis(const SVisDataAxis& axis) { axis_ = axis; }
  /// x of column c.
  float X(std::int64_t c) const { return axis_.Position(c, columns_); }
  /// z of row r.
  virtual float Z(std::uint64_t r) const = 0;

  /// Of those asked for, x: the ends of the axis; y: the range of all values; z: that of the rows.
  void CalcRange(Dataaxis axes) override;
  /// As CVisDataItem::Reset, and there are no rows and columns; the axes are [0, 1).
  void Reset() override;

 protected:
  using CVisDataItem::CVisDataItem;
  virtual Range ZExtent() const = 0;
  /// Zeroed rows in place of what was there. False, with no rows and columns, when there is no memory.
  bool SetShape(std::uint64_t rows, std::uint64_t columns);
  /// Appends a row of n values, which may lie in the item itself. The first row says how many values a row
  /// has. False, and nothing changed, for a row of another length or of no values; false, with no rows, when
  /// there is no memory.
  bool AppendValues(const float* values, std::uint64_t n);

 private:
  std::uint64_t rows_ = 0;
  std::uint64_t columns_ = 0;
  SVisDataAxis axis_;
};

/// Vectors one behind the other, each at a z of its own, for example the curves of a run-up over time.
class UMLAUF_API CVisDataArray : public CVisData3dObject {
  UMLAUF_DECLARE_DYNCREATE(CVisDataArray)

 public:
  CVisDataArray() : CVisData3dObject(DtArray) {}
  /// Zeroed rows at z = 0 in place of what was there. False, with no rows and columns, when there is no
  /// memory.
  bool SetSize(std::uint64_t rows, std::uint64_t columns);
  /// Appends a row of n values, which may lie in the item itself, at a z. The first row says how many values
  /// a row has. False, and nothing changed, for a row of another length or of no values; false, with no rows,
  /// when there is no memory.
  bool AppendRow(const float* values, std::uint64_t n, float z);
  /// 0 for r >= Rows().
  float Z(std::uint64_t r) const override { return r < z_.Size() ? z_[r] : 0.0f; }
  /// Nothing for r >= Rows().
  void SetZ(std::uint64_t r, float z) {
    if (r < z_.Size()) z_[r] = z;
  }
  void Reset() override;

 protected:
  Range ZExtent() const override;

 private:
  CVisDataVector z_;
};

/// Values over a rectangle, equidistant along x and z, for example a map of level over speed and frequency.
class UMLAUF_API CVisDataGrid : public CVisData3dObject {
  UMLAUF_DECLARE_DYNCREATE(CVisDataGrid)

 public:
  CVisDataGrid() : CVisData3dObject(DtGrid) {}
  /// Zeroed rows in place of what was there. False, with no rows and columns, when there is no memory.
  bool SetSize(std::uint64_t rows, std::uint64_t columns) { return SetShape(rows, columns); }
  /// Appends a row, as CVisDataArray does; the z axis stays and is divided into one row more.
  bool AppendRow(const float* values, std::uint64_t n) { return AppendValues(values, n); }
  /// The axis of the rows, [0, 1) at first.
  const SVisDataAxis& ZAxis() const { return zAxis_; }
  void SetZAxis(const SVisDataAxis& axis) { zAxis_ = axis; }
  float Z(std::uint64_t r) const override { return zAxis_.Position(static_cast<std::int64_t>(r), Rows()); }
  void Reset() override;

 protected:
  Range ZExtent() const override { return zAxis_.Extent(); }

 private:
  SVisDataAxis zAxis_;
};
