#include "umlauf/signal/SigCurveExt.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "umlauf/platform/framework/FileFields.h"
#include "umlauf/platform/vekta/Decibels.h"
#include "umlauf/platform/vekta/QVL.h"

UMLAUF_IMPLEMENT_DYNCREATE(CSigCurveExt, CSigCurve)

namespace {

/// The field in the file, or the fallback where the file no longer holds all of its bytes.
float ReadFloat(CFile& file, float fallback) {
  float field = 0.0f;
  return umlauf::ReadField(file, field) ? field : fallback;
}

}  // namespace

CSigCurveExt::CSigCurveExt() : CSigCurveExt(std::uint64_t{0}) {}

CSigCurveExt::CSigCurveExt(std::uint64_t n) : CSigCurve(n) {
  SetSigId(SigIdCurveExt);
  ResetVMinMax();
}

CSigCurveExt::CSigCurveExt(const CSigCurveExt& other, bool deep)
    : CSigCurve(other, deep), date_(other.date_), curveId_(other.curveId_) {
  SetSigId(SigIdCurveExt);
  SetSpan(other.vMin_, other.vMax_, other.iMin_, other.iMax_);
}

CSigCurveExt& CSigCurveExt::operator=(const CSigCurveExt& other) {
  if (this == &other) return *this;
  CSigCurve::operator=(other);
  InitHeader(other, true);
  return *this;
}

CSigCurveExt& CSigCurveExt::operator=(const CSigCurve& other) {
  if (this == &other) return *this;
  CSigCurve::operator=(other);
  InitHeader(other, true);
  return *this;
}

void CSigCurveExt::InitHeader() {
  CSigCurve::InitHeader();
  SetSigId(SigIdCurveExt);
  SetSpan(0.0f, 1.0f, 0, -1);
  date_ = 0.0f;
  curveId_ = 0;
}

void CSigCurveExt::InitHeader(const CSigCurveExt& source, bool deep) {
  CSigCurve::InitHeader(source, deep);
  SetSigId(SigIdCurveExt);
  SetSpan(source.vMin_, source.vMax_, source.iMin_, source.iMax_);
  date_ = source.date_;
  curveId_ = source.curveId_;
}

void CSigCurveExt::InitHeader(const CSigCurve& source, bool deep) {
  CSigCurve::InitHeader(source, deep);
  SetSigId(SigIdCurveExt);
  ResetVMinMax();
  date_ = 0.0f;
  curveId_ = -1;
}

CSigCurveExt& CSigCurveExt::MakeSameSize(const CSigCurveExt& other) {
  CSigCurve::MakeSameSize(other);
  if (DLen() != other.DLen()) return *this;
  SetSigId(SigIdCurveExt);
  SetSpan(other.vMin_, other.vMax_, other.iMin_, other.iMax_);
  curveId_ = other.curveId_;
  return *this;
}

// Valid span

void CSigCurveExt::SetSpan(float from, float to, std::int64_t first, std::int64_t last) {
  vMin_ = from;
  vMax_ = to;
  iMin_ = first;
  iMax_ = last;
  SetXLen(static_cast<std::uint64_t>(std::max<std::int64_t>(ILen(), 0)));
}

void CSigCurveExt::SetVMinMax(float from, float to) {
  from = from >= XMin() ? from : XMin();
  to = to <= XMax() ? to : XMax();
  SetSpan(from, to, static_cast<std::int64_t>(GetIndex(from)), static_cast<std::int64_t>(GetIndex(to)));
}

void CSigCurveExt::SetVIMinMax(std::int64_t from, std::int64_t to) {
  const auto limited = [last = static_cast<std::int64_t>(DLen()) - 1](std::int64_t i) {
    return std::max<std::int64_t>(std::min(i, last), 0);
  };
  SetSpan(GetPoint(from), GetPoint(to), limited(from), limited(to));
}

void CSigCurveExt::ResetVMinMax() { SetSpan(XMin(), XMax(), 0, static_cast<std::int64_t>(DLen()) - 1); }

void CSigCurveExt::Invalidate() { SetVIMinMax(1, 0); }

void CSigCurveExt::Expandieren(float from, float to) {
  SetVMinMax(vMin_ < from ? vMin_ : from, vMax_ > to ? vMax_ : to);
}

void CSigCurveExt::Schrumpfen(float from, float to) {
  SetVMinMax(vMin_ > from ? vMin_ : from, vMax_ < to ? vMax_ : to);
}

std::int64_t CSigCurveExt::GetIndexV(float x) const { return std::max(std::min(GetIndexA(x), iMax_), iMin_); }

SSampleRun CSigCurveExt::ValidSamples() const {
  const std::int64_t first = std::max<std::int64_t>(iMin_, 0);
  const std::int64_t last = std::min(iMax_, static_cast<std::int64_t>(DLen()) - 1);
  return {first, std::max<std::int64_t>(last - first + 1, 0)};
}

float CSigCurveExt::SampleNear(std::int64_t i) const {
  return FData()[std::clamp<std::int64_t>(i, 0, static_cast<std::int64_t>(DLen()) - 1)];
}

// Lookup and ranges

float CSigCurveExt::GetValue(float x) const {
  if (DLen() == 0) return 0.0f;
  const float tolerance = XDelta() * 0.001f;
  if (x <= vMin_ + tolerance) return SampleNear(iMin_);
  if (x >= vMax_ - tolerance) return SampleNear(iMax_);
  return CSigCurve::GetValue(x);
}

bool CSigCurveExt::IsInRange(float x) const { return vMin_ <= x && x <= vMax_; }

void CSigCurveExt::GetXRange(float& lo, float& hi) const {
  lo = vMin_;
  hi = vMax_;
}

void CSigCurveExt::GetYRange(float& lo, float& hi) const { GetYRangeXI(lo, hi, iMin_, iMax_); }

void CSigCurveExt::GetYRangeX(float& lo, float& hi, float x1, float x2) const {
  GetYRangeXI(lo, hi, static_cast<std::int64_t>(GetIndex(x1)), static_cast<std::int64_t>(GetIndex(x2)));
}

void CSigCurveExt::GetYRangeXI(float& lo, float& hi, std::int64_t i1, std::int64_t i2) const {
  const auto n = static_cast<std::int64_t>(DLen());
  const std::int64_t first = std::max(i1, iMin_);
  if (i1 > i2 || first >= n) return;
  const std::int64_t last = std::max(std::min({i2, iMax_, n - 1}), first);
  QVL::VectorMinMax(FData() + first, static_cast<std::size_t>(last - first + 1), 1, lo, hi);
}

float CSigCurveExt::PointDistance(float x, float y, std::size_t* index) const {
  if (!IsValid()) return 0.0f;
  const bool left = x < vMin_;
  const bool right = x > vMax_;
  const std::int64_t i = left ? iMin_ : right ? iMax_ : GetIndexV(x);
  if (index != nullptr) *index = static_cast<std::size_t>(i);
  double px = left ? vMin_ : right ? vMax_ : GetPoint(i);
  double py = SampleNear(i);
  if (index == nullptr && !left && !right) {
    px = x;
    py = GetValue(x);
  }
  return static_cast<float>(std::sqrt((px - x) * (px - x) + (y - py) * (y - py)));
}

float CSigCurveExt::AbschnittSumme(float x1, float x2, bool energetic) const {
  if (!IsValid() || x1 > vMax_ || vMin_ > x2) return 0.0f;
  const std::int64_t first = GetIndexV(x1);
  const std::int64_t last = std::min(GetIndexV(x2), static_cast<std::int64_t>(DLen()) - 1);
  if (first > last) return 0.0f;
  if (!energetic) return QVL::VectorSum(FData() + first, static_cast<std::size_t>(last - first + 1));
  const double reference = FData()[first];  // keeps the powers near 1
  double sum = 0.0;
  for (std::int64_t i = first; i <= last; ++i)
    sum += std::exp(numeric::kLn10By10OfSections * (FData()[i] - reference));
  return sum > 0.0 ? static_cast<float>(std::log(sum) / numeric::kLn10By10OfSections + reference) : 0.0f;
}

// Shape

bool CSigCurveExt::Resize(std::uint64_t n) {
  const bool done = CSigCurve::Resize(n);
  ResetVMinMax();
  return done;
}

CSigCurveExt& CSigCurveExt::CutLeft(float x) {
  CSigCurve::CutLeft(x);
  SetVMinMax(x, vMax_);
  return *this;
}

CSigCurveExt& CSigCurveExt::CutRight(float x) {
  CSigCurve::CutRight(x);
  SetVMinMax(vMin_, x);
  return *this;
}

CSigCurveExt& CSigCurveExt::CutLR(float left, float right) {
  CSigCurve::CutLeft(left);
  CSigCurve::CutRight(right);
  SetVMinMax(left, right);
  return *this;
}

CSigCurveExt& CSigCurveExt::Append(const CSigCurveExt& other) {
  const float width = other.vMax_ - other.vMin_;
  CSigCurve::Append(other);
  SetVMinMax(vMin_, vMax_ + width);
  return *this;
}

CSigCurveExt& CSigCurveExt::MirrorX() {
  if (DLen() == 0) return *this;
  CSigCurve::MirrorX();
  SetVMinMax(-vMax_, -vMin_);
  return *this;
}

void CSigCurveExt::Reset() {
  CSigCurve::Reset();
  InitHeader();
  SetSpan(vMin_, vMax_, 0, static_cast<std::int64_t>(DLen()) - 1);
}

// Joining two extended curves

void CSigCurveExt::CopyFrom(const CSigCurveExt& other, std::int64_t otherFirst, std::int64_t first,
                            std::int64_t last) {
  const auto n = static_cast<std::int64_t>(DLen());
  const auto available = static_cast<std::int64_t>(other.DLen()) - otherFirst;
  const std::int64_t count = std::min(std::min(last, n - 1) - first + 1, available);
  if (count <= 0) return;
  std::memmove(FData() + first, other.FData() + otherFirst, static_cast<std::size_t>(count) * sizeof(float));
}

CSigCurveExt& CSigCurveExt::operator^=(const CSigCurveExt& other) {
  if (XDelta() != other.XDelta()) return *this;
  if (other.vMin_ > vMax_ || vMin_ > other.vMax_) return *this;
  if (vMin_ > other.vMin_ && iMin_ >= 1) {
    const std::int64_t before = iMin_;
    iMin_ = static_cast<std::int64_t>(GetIndex(other.vMin_));
    vMin_ = GetPoint(iMin_);
    CopyFrom(other, static_cast<std::int64_t>(other.GetIndex(vMin_)), iMin_, before - 1);
  }
  if (other.vMax_ > vMax_ && iMax_ < static_cast<std::int64_t>(DLen()) - 1) {
    const std::int64_t first = iMax_ + 1;
    iMax_ = static_cast<std::int64_t>(GetIndex(other.vMax_));
    vMax_ = GetPoint(iMax_);
    CopyFrom(other, static_cast<std::int64_t>(other.GetIndex(GetPoint(first))), first, iMax_);
  }
  return *this;
}

CSigCurveExt& CSigCurveExt::Maximize(const CSigCurveExt* other, int mode) {
  if (!IsValid() || !other->IsValid() || vMin_ > other->vMax_ || other->vMin_ > vMax_) return *this;
  const bool startHere = vMin_ > other->vMin_;
  const std::int64_t first = startHere ? iMin_ : static_cast<std::int64_t>(GetIndex(other->vMin_));
  const std::int64_t otherFirst =
      startHere ? static_cast<std::int64_t>(other->GetIndex(vMin_)) : other->iMin_;
  const std::int64_t last = other->vMax_ > vMax_ ? iMax_ : static_cast<std::int64_t>(GetIndex(other->vMax_));
  const std::int64_t count = std::min(std::min(last, static_cast<std::int64_t>(DLen()) - 1) - first + 1,
                                      static_cast<std::int64_t>(other->DLen()) - otherFirst);
  if (count <= 0) return *this;
  const auto combine = mode == 0 ? QVL::MinimizeVectors : QVL::MaximizeVectors;
  float* own = FData() + first;
  combine(own, other->FData() + otherFirst, own, static_cast<std::size_t>(count));
  return *this;
}

template <class Term>
void CSigCurveExt::AddTerms(const CSigCurve& other, int offset, Term term) {
  const SSampleRun source = other.ValidSamples();
  const SSampleRun own = ValidSamples();
  const std::int64_t skipped = std::max<std::int64_t>(-std::int64_t{offset}, 0);
  const std::int64_t start = std::max<std::int64_t>(offset, 0);
  const std::int64_t count = std::min(source.count - skipped, own.count - start);
  if (count <= 0) return;
  float* out = FData() + own.first + start;
  const float* in = other.FData() + source.first + skipped;
  for (std::int64_t i = 0; i < count; ++i) out[i] += term(in[i]);
}

CSigCurveExt& CSigCurveExt::AddSquared(const CSigCurve& other, float weight, int offset) {
  if (weight == 0.0f) return *this;
  if (&other == this) return AddSquared(CSigCurveExt(*this), weight, offset);
  AddTerms(other, offset, [weight](float s) { return s * weight * s; });
  return *this;
}

CSigCurveExt& CSigCurveExt::AddWithWeight(const CSigCurve& other, float weight, int offset) {
  if (weight == 0.0f) return *this;
  if (&other == this) return AddWithWeight(CSigCurveExt(*this), weight, offset);
  AddTerms(other, offset, [weight](float s) { return weight * s; });
  return *this;
}

// File record

bool CSigCurveExt::WriteToFile(CFile& file, unsigned version) const {
  if (!CSigCurve::WriteToFile(file, version)) return false;
  if (version < 2) return true;
  for (const float field : {date_, vMin_, vMax_}) umlauf::WriteField(file, field);
  return true;
}

bool CSigCurveExt::ReadFromFile(CFile& file, unsigned version) {
  if (!CSigCurve::ReadFromFile(file, version)) return false;
  ResetVMinMax();
  date_ = 0.0f;
  if (version < 2) return true;
  date_ = ReadFloat(file, 0.0f);
  const float from = ReadFloat(file, XMin());
  const float to = ReadFloat(file, XMax());
  SetVMinMax(from, to);
  return true;
}
