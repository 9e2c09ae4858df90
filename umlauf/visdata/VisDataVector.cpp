#include "umlauf/visdata/VisDataVector.h"

#include "umlauf/platform/vekta/numeric.h"

UMLAUF_IMPLEMENT_DYNCREATE(CVisDataVector, CVisDataItem)
UMLAUF_IMPLEMENT_DYNCREATE(CVisDataIntVector, CVisDataItem)

void CVisDataVector::CalcRange(Dataaxis axes) {
  if (Empty()) return;
  if ((axes & AxisX) != 0) SetXRange(Axis().Extent());
  if ((axes & AxisY) != 0) {
    Range range;
    CalcVecRange(Data(), Size(), range);
    SetYRange(range);
  }
}

bool CVisDataIntVector::SetValues(const float* values, std::uint64_t n) {
  if (!SetSize(values != nullptr ? n : 0)) return false;
  const float perUnit = InverseScaleFactor();
  std::transform(values, values + Size(), Data(), [perUnit](float value) {
    return numeric::trunc_sat<std::int32_t>(numeric::round(value * perUnit));
  });
  return Size() == n;
}

void CVisDataIntVector::CalcRange(Dataaxis axes) {
  if (Empty()) return;
  if ((axes & AxisX) != 0) SetXRange(Axis().Extent());
  if ((axes & AxisY) != 0) {
    std::int32_t lowest = (*this)[0];
    std::int32_t highest = lowest;
    for (const std::int32_t* sample = Data(); sample != Data() + Size(); ++sample) {
      lowest = std::min(lowest, *sample);
      highest = std::max(highest, *sample);
    }
    const float a = static_cast<float>(lowest) * ScaleFactor();
    const float b = static_cast<float>(highest) * ScaleFactor();
    SetYRange(std::minmax({a, b}));
  }
}
