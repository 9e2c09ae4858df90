#include "umlauf/visdata/VisDataPolygon.h"

#include "umlauf/platform/vekta/QVL.h"

UMLAUF_IMPLEMENT_DYNCREATE(CVisDataPolygon, CVisDataItem)

bool CVisDataPolygon::SetSize(std::uint64_t n) {
  size_ = AllocRawData(FloatsFor(n, 2)) ? n : 0;
  return size_ == n;
}

bool CVisDataPolygon::Set(const float* xy, std::uint64_t n) {
  size_ = CopyRawData(xy, FloatsFor(n, 2)) ? n : 0;
  return size_ == n;
}

bool CVisDataPolygon::Append(float x, float y) {
  const float point[] = {x, y};
  const std::uint64_t size = Size();
  size_ = AppendRawData(2 * size, point, 2) ? size + 1 : 0;
  return size_ != 0;
}

void CVisDataPolygon::CalcRange(Dataaxis axes) {
  if ((axes & AxisX) != 0) SetXRange(CoordinateRange(0));
  if ((axes & AxisY) != 0) SetYRange(CoordinateRange(1));
}

CVisDataItem::Range CVisDataPolygon::CoordinateRange(std::size_t coordinate) const {
  Range range(0.0f, 1.0f);
  if (!Empty()) {
    QVL::VectorMinMax(RawData() + coordinate, static_cast<std::size_t>(Size()), 2, range.first, range.second);
  }
  return range;
}

void CVisDataPolygon::Reset() {
  CVisDataItem::Reset();
  size_ = 0;
}
