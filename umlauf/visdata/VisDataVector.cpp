#include "umlauf/visdata/VisDataVector.h"

#include "umlauf/platform/vekta/numeric.h"

UMLAUF_IMPLEMENT_DYNCREATE(CVisDataVector, CVisDataItem)
UMLAUF_IMPLEMENT_DYNCREATE(CVisDataIntVector, CVisDataItem)

void CVisDataVector::CalcRange(Dataaxis axes) {
  if ((axes & AxisX) != 0) SetXRange(Axis().Extent());
  if ((axes & AxisY) != 0) {
    Range range(0.0f, 1.0f);
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
  if ((axes & AxisX) != 0) SetXRange(Axis().Extent());
  if ((axes & AxisY) != 0) SetYRange(ValueRange());
}

CVisDataItem::Range CVisDataIntVector::ValueRange() const {
  if (Empty()) return {0.0f, 1.0f};
  const std::uint64_t n = Size();
  const std::int32_t* samples = Data();
  std::int32_t lowest = samples[0];
  std::int32_t highest = samples[0];
  for (std::uint64_t i = 1; i < n; ++i) {
    lowest = std::min(lowest, samples[i]);
    highest = std::max(highest, samples[i]);
  }
  const float a = static_cast<float>(lowest) * ScaleFactor();
  const float b = static_cast<float>(highest) * ScaleFactor();
  return {std::min(a, b), std::max(a, b)};
}
