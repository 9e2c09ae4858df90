// What every signal offers: done to each curve of the array, or over all of them.

#include <algorithm>
#include <cmath>
#include <limits>

#include "umlauf/signal/SigCurveArray.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Widens a range by what a curve tells; a curve that tells nothing leaves its outputs alone.
template <class Ask>
void Widen(float& lo, float& hi, Ask ask) {
  float curveLo = kInfinity, curveHi = -kInfinity;
  ask(curveLo, curveHi);
  lo = std::min(lo, curveLo);
  hi = std::max(hi, curveHi);
}

void Store(float& lo, float& hi, float foundLo, float foundHi) {
  if (foundLo > foundHi) return;
  lo = foundLo;
  hi = foundHi;
}

}  // namespace

template <class Act>
CSigCurveArray& CSigCurveArray::ForEach(Act act) {
  for (const CurvePtr& curve : curves_) act(*curve);
  return *this;
}

CSigCurveArray& CSigCurveArray::Abs() {
  return ForEach([](CSigCurveExt& curve) { curve.Abs(); });
}
CSigCurveArray& CSigCurveArray::Clip(float value, bool upper) {
  return ForEach([=](CSigCurveExt& curve) { curve.Clip(value, upper); });
}
CSigCurveArray& CSigCurveArray::Add(float value) {
  return ForEach([=](CSigCurveExt& curve) { curve.Add(value); });
}
CSigCurveArray& CSigCurveArray::Scale(float factor) {
  return ForEach([=](CSigCurveExt& curve) { curve.Scale(factor); });
}
CSigCurveArray& CSigCurveArray::CutLeft(float x) {
  return ForEach([=](CSigCurveExt& curve) { curve.CutLeft(x); });
}
CSigCurveArray& CSigCurveArray::CutRight(float x) {
  return ForEach([=](CSigCurveExt& curve) { curve.CutRight(x); });
}
CSigCurveArray& CSigCurveArray::CutLR(float left, float right) {
  return ForEach([=](CSigCurveExt& curve) { curve.CutLR(left, right); });
}

float CSigCurveArray::PointDistance(float x, float y, std::size_t* index) const {
  float nearest = kInfinity;
  for (std::size_t c = 0; c < Count(); ++c) {
    if (!curves_[c]->IsValid()) continue;
    const float distance = curves_[c]->PointDistance(x, y, nullptr);
    if (!(distance < nearest)) continue;
    nearest = distance;
    if (index != nullptr) *index = c;
  }
  return std::isinf(nearest) ? 0.0f : nearest;
}

bool CSigCurveArray::IsInRange(float x) const {
  return std::any_of(curves_.begin(), curves_.end(), [=](const CurvePtr& c) { return c->IsInRange(x); });
}

float CSigCurveArray::GetValue(float x) const {
  double sum = 0.0;
  std::size_t count = 0;
  for (const CurvePtr& curve : curves_) {
    if (!curve->IsValid() || !curve->IsInRange(x)) continue;
    sum += double{curve->GetValue(x)};
    ++count;
  }
  return count == 0 ? 0.0f : static_cast<float>(sum / static_cast<double>(count));
}

void CSigCurveArray::GetXRange(float& lo, float& hi) const {
  float foundLo = kInfinity, foundHi = -kInfinity;
  for (const CurvePtr& curve : curves_) {
    if (curve->IsValid()) Widen(foundLo, foundHi, [&](float& a, float& b) { curve->GetXRange(a, b); });
  }
  Store(lo, hi, foundLo, foundHi);
}

void CSigCurveArray::GetYRange(float& lo, float& hi) const {
  if (!IsEmpty()) GetYRangeXI(lo, hi, 0, Count() - 1);
}

void CSigCurveArray::GetYRangeX(float& lo, float& hi, float x1, float x2) const {
  float foundLo = kInfinity, foundHi = -kInfinity;
  for (const CurvePtr& curve : curves_) {
    if (!curve->IsValid() || x2 < curve->VMin() || x1 > curve->VMax()) continue;
    Widen(foundLo, foundHi, [&](float& a, float& b) { curve->GetYRangeX(a, b, x1, x2); });
  }
  Store(lo, hi, foundLo, foundHi);
}

void CSigCurveArray::GetYRangeXI(float& lo, float& hi, std::size_t i1, std::size_t i2) const {
  float foundLo = kInfinity, foundHi = -kInfinity;
  for (std::size_t c = i1; c < Count() && c <= i2; ++c) {
    if (!curves_[c]->IsValid()) continue;
    Widen(foundLo, foundHi, [&](float& a, float& b) { curves_[c]->GetYRange(a, b); });
  }
  Store(lo, hi, foundLo, foundHi);
}

CSignal::Range CSigCurveArray::YRange() const {
  Range range{};
  bool first = true;
  for (const CurvePtr& curve : curves_) {
    if (!curve->IsValid()) continue;
    const Range own = curve->YRange();
    if (first || own.first.second < range.first.second) range.first = own.first;
    if (first || own.second.second > range.second.second) range.second = own.second;
    first = false;
  }
  return range;
}
