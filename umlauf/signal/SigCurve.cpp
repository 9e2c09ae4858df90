#include "umlauf/signal/SigCurve.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/signal/internal/CompressedVector.h"

UMLAUF_IMPLEMENT_DYNCREATE(CSigCurve, CSignal)

CSigCurve::CSigCurve() : CSigCurve(std::uint64_t{0}) {}

CSigCurve::CSigCurve(std::uint64_t n) : CSignal(n) {
  SetSigId(SigIdCurve);
  SetXLen(DLen());
}

CSigCurve::CSigCurve(const CSigCurve& other, bool deep)
    : CSignal(other, deep),
      xMin_(other.xMin_),
      xMax_(other.xMax_),
      scaleFactor_(other.scaleFactor_),
      fileCompression_(other.fileCompression_) {
  SetSigId(SigIdCurve);
  SetXLen(DLen());
}

CSigCurve& CSigCurve::operator=(const CSigCurve& other) {
  if (this == &other) return *this;
  CSignal::operator=(other);
  InitHeader(other, true);
  SetXLen(DLen());
  return *this;
}

void CSigCurve::InitHeader() {
  CSignal::InitHeader();
  SetSigId(SigIdCurve);
  SetXMinMax(0.0f, 1.0f);
  scaleFactor_ = 1.0f;
  fileCompression_ = 1;
}

void CSigCurve::InitHeader(const CSigCurve& source, bool deep) {
  CSignal::InitHeader(source, deep);
  SetSigId(SigIdCurve);
  SetXMinMax(source.xMin_, source.xMax_);
  scaleFactor_ = source.scaleFactor_;
  fileCompression_ = source.fileCompression_;
}

void CSigCurve::CopyData(const CSigCurve& other) {
  const std::uint64_t n = CommonLength(other);
  if (n != 0) std::memmove(FData(), other.FData(), static_cast<std::size_t>(n) * sizeof(float));
}

std::uint64_t CSigCurve::CommonLength(const CSigCurve& other) const { return std::min(DLen(), other.DLen()); }

// Axis and lookup

void CSigCurve::SetXMinMax(float xMin, float xMax) {
  xMin_ = xMin;
  xMax_ = xMax;
}

float CSigCurve::XDelta() const { return DLen() == 0 ? 0.0f : (xMax_ - xMin_) / static_cast<float>(DLen()); }

float CSigCurve::GetPoint(std::int64_t i) const {
  if (DLen() == 0) return 0.0f;
  return (xMax_ - xMin_) * static_cast<float>(i) / static_cast<float>(DLen()) + xMin_;
}

float CSigCurve::IndexPosition(float x) const {
  return (x - xMin_) * static_cast<float>(DLen()) / (xMax_ - xMin_) + 0.5f;
}

std::uint64_t CSigCurve::GetIndex(float x) const {
  if (xMax_ == xMin_) return 0;
  const std::int64_t k = numeric::trunc_sat<std::int32_t>(IndexPosition(x));
  return static_cast<std::uint64_t>(
      std::max<std::int64_t>(std::min(k, static_cast<std::int64_t>(DLen()) - 1), 0));
}

std::int64_t CSigCurve::GetIndexA(float x) const {
  return xMax_ == xMin_ ? 0 : numeric::trunc_sat<std::int64_t>(IndexPosition(x));
}

bool CSigCurve::GetIndexValidate(float x, std::int64_t& i) const {
  if (xMax_ == xMin_ || DLen() == 0) return false;
  i = GetIndexA(x);
  return i >= 0 && i < static_cast<std::int32_t>(DLen());
}

std::int64_t CSigCurve::GetIndexFromY(float y) const { return DLen() != 0 && FData()[0] == y ? 0 : -1; }

float CSigCurve::GetValue(float x) const {
  const std::uint64_t n = DLen();
  if (n == 0) return 0.0f;
  const float* s = FData();
  const float delta = XDelta();
  const float tolerance = delta * 0.001f;
  if (x <= xMin_ + tolerance) return s[0];
  if (x >= xMax_ - tolerance) return s[n - 1];
  const float perStep = 1.0f / delta;
  const std::int64_t last = static_cast<std::int64_t>(n) - 1;
  const auto i = std::clamp<std::int64_t>(numeric::trunc_sat<std::int32_t>((x - xMin_) * perStep), 0, last);
  if (i == last) return s[last];
  return s[i] + (x - (delta * static_cast<float>(i) + xMin_)) * perStep * (s[i + 1] - s[i]);
}

bool CSigCurve::IsInRange(float x) const { return xMin_ <= x && x <= xMax_; }

// Ranges

void CSigCurve::GetXRange(float& lo, float& hi) const {
  lo = xMin_;
  hi = xMax_;
}

void CSigCurve::GetYRange(float& lo, float& hi) const { QVL::VectorMinMax(FData(), DLen(), 1, lo, hi); }

void CSigCurve::GetYRangeX(float& lo, float& hi, float x1, float x2) const {
  if (DLen() == 0) return;
  GetYRangeXI(lo, hi, static_cast<std::size_t>(GetIndex(x1)), static_cast<std::size_t>(GetIndex(x2)));
}

void CSigCurve::GetYRangeXI(float& lo, float& hi, std::size_t i1, std::size_t i2) const {
  if (i1 > i2 || i1 >= DLen()) return;
  i2 = std::min<std::uint64_t>(i2, DLen() - 1);
  QVL::VectorMinMax(FData() + i1, i2 - i1 + 1, 1, lo, hi);
}

CSignal::Range CSigCurve::YRange() const {
  if (DLen() == 0) return {};
  std::size_t iMin = 0;
  std::size_t iMax = 0;
  QVL::VectorMinMaxIndex(FData(), DLen(), iMin, iMax);
  return {{GetPoint(static_cast<std::int64_t>(iMin)), FData()[iMin]},
          {GetPoint(static_cast<std::int64_t>(iMax)), FData()[iMax]}};
}

float CSigCurve::PointDistance(float x, float y, std::size_t* index) const {
  const std::uint64_t n = DLen();
  if (n == 0) return 0.0f;
  const bool left = x < xMin_;
  const bool right = x > xMax_;
  const std::uint64_t i = left ? 0 : right ? n - 1 : GetIndex(x);
  if (index != nullptr) *index = static_cast<std::size_t>(i);
  float px = left ? xMin_ : right ? xMax_ : GetPoint(static_cast<std::int64_t>(i));
  float py = FData()[i];
  if (index == nullptr && !left && !right) {
    px = x;
    py = GetValue(x);
  }
  const float squares = (y - py) * (y - py) + (px - x) * (px - x);
  return static_cast<float>(std::sqrt(static_cast<double>(squares)));
}

// Cutting and framing

CSigCurve& CSigCurve::CutLeft(float x) {
  std::int64_t i = 0;
  if (!GetIndexValidate(x, i)) return *this;
  const std::uint64_t n = DLen() - static_cast<std::uint64_t>(i);
  std::memmove(FData(), FData() + i, static_cast<std::size_t>(n) * sizeof(float));
  SetDLen(n);
  SetXLen(n);
  xMin_ = x;
  return *this;
}

CSigCurve& CSigCurve::CutRight(float x) {
  std::int64_t i = 0;
  if (!GetIndexValidate(x, i)) return *this;
  SetDLen(static_cast<std::uint64_t>(i) + 1);
  SetXLen(DLen());
  xMax_ = x;
  return *this;
}

CSigCurve& CSigCurve::CutLR(float left, float right) {
  CutLeft(left);
  CutRight(right);
  return *this;
}

CSigCurve& CSigCurve::CutNegative() { return CutLeft(0.0f); }
CSigCurve& CSigCurve::CutPositive() { return CutRight(0.0f); }

CSigCurve& CSigCurve::Append(const CSigCurve& other) {
  const std::uint64_t wanted = DLen() + other.DLen();
  const float span = other.xMax_ - other.xMin_;
  CSignal::Append(other);
  if (DLen() == wanted) xMax_ += span;
  return *this;
}

int CSigCurve::Resize(float& x1, float& x2) {
  if (DLen() == 0) {
    Malloc(100);
    SetXLen(DLen());
  }
  if (xMin_ == xMax_) xMax_ = xMin_ + 100.0f;
  const std::int32_t i1 = numeric::trunc_sat<std::int32_t>(IndexPosition(x1));
  const std::int32_t i2 = numeric::trunc_sat<std::int32_t>(IndexPosition(x2));
  x1 = GetPoint(i1);
  x2 = GetPoint(i2);
  if (i1 == i2) return 0;
  using Limits = std::numeric_limits<std::int32_t>;
  ShiftData(i1 == Limits::min() ? Limits::max() : -i1);
  // Saturated indices stand for positions that have none. An inverted interval asks for more samples than can
  // be had.
  const auto far = [](std::int32_t i) { return i == Limits::min() || i == Limits::max(); };
  if (far(i1) || far(i2) || !Resize(static_cast<std::uint64_t>(std::int64_t{i2} - i1))) return 0;
  SetXMinMax(x1, x2);
  SetXLen(DLen());
  return 1;
}

CSigCurve& CSigCurve::MakeSameSize(const CSigCurve& other) {
  if (Malloc(other.DLen()) == nullptr && other.DLen() != 0) return *this;
  InitHeader(other, false);
  SetXLen(DLen());
  return *this;
}

bool CSigCurve::FitTogether(const CSigCurve* other) const {
  const auto close = [](float a, float b) { return static_cast<double>(std::fabs(a - b)) < 0.0001; };
  return DLen() == other->DLen() && close(xMin_, other->xMin_) && close(xMax_, other->xMax_);
}

void CSigCurve::Reset() {
  Nullsetzen();
  InitHeader();
}

// File record

bool CSigCurve::WriteToFile(CFile& file, unsigned version) const {
  if (!CSignal::WriteToFile(file, version)) return false;
  umlauf::signal::CompressedVector section;
  section.mode = fileCompression_;
  section.xMin = xMin_;
  section.xMax = xMax_;
  section.Write(file, FData(), DLen());
  return true;
}

bool CSigCurve::ReadFromFile(CFile& file, unsigned version) {
  if (!CSignal::ReadFromFile(file, version)) return false;
  umlauf::signal::CompressedVector section;
  section.ReadHeader(file);
  const std::uint64_t n = section.SampleCount();
  const bool allocated = MallocUncleared(n) != nullptr || n == 0;
  SetXLen(DLen());
  if (!allocated) return false;
  section.ReadSamples(file, FData());
  SetXMinMax(section.xMin, section.xMax);
  fileCompression_ = section.mode;
  return true;
}
