#include "umlauf/visdata/VisData3dObject.h"

UMLAUF_IMPLEMENT_DYNAMIC(CVisData3dObject, CVisDataItem)
UMLAUF_IMPLEMENT_DYNCREATE(CVisDataArray, CVisData3dObject)
UMLAUF_IMPLEMENT_DYNCREATE(CVisDataGrid, CVisData3dObject)

void CVisData3dObject::CalcRange(Dataaxis axes) {
  if ((axes & AxisX) != 0) SetXRange(axis_.Extent());
  if ((axes & AxisY) != 0) {
    Range range(0.0f, 1.0f);
    CalcVecRange(RawData(), Rows() * columns_, range);
    SetYRange(range);
  }
  if ((axes & AxisZ) != 0) SetZRange(ZExtent());
}

void CVisData3dObject::Reset() {
  CVisDataItem::Reset();
  rows_ = 0;
  columns_ = 0;
  axis_ = SVisDataAxis();
}

bool CVisData3dObject::SetShape(std::uint64_t rows, std::uint64_t columns) {
  const bool done = AllocRawData(FloatsFor(rows, columns));
  rows_ = done ? rows : 0;
  columns_ = done ? columns : 0;
  return done;
}

bool CVisData3dObject::AppendValues(const float* values, std::uint64_t n) {
  const std::uint64_t rows = Rows();
  if (values == nullptr || n == 0 || (rows != 0 && n != columns_)) return false;
  const bool done = AppendRawData(rows * n, values, n);
  rows_ = done ? rows + 1 : 0;
  columns_ = n;
  return done;
}

bool CVisDataArray::SetSize(std::uint64_t rows, std::uint64_t columns) {
  if (SetShape(rows, columns) && z_.SetSize(Rows())) return true;
  SetShape(0, 0);
  return false;
}

bool CVisDataArray::AppendRow(const float* values, std::uint64_t n, float z) {
  if (!AppendValues(values, n)) return false;
  if (!z_.Resize(Rows())) {
    SetShape(0, 0);
    return false;
  }
  z_[Rows() - 1] = z;
  return true;
}

void CVisDataArray::Reset() {
  CVisData3dObject::Reset();
  z_.Reset();
}

CVisDataItem::Range CVisDataArray::ZExtent() const {
  Range range(0.0f, 1.0f);
  CalcVecRange(z_.Data(), std::min(z_.Size(), Rows()), range);
  return range;
}

void CVisDataGrid::Reset() {
  CVisData3dObject::Reset();
  zAxis_ = SVisDataAxis();
}
