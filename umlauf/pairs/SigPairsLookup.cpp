#include <cmath>
#include <limits>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/pairs/internal/Interpolation.h"
#include "umlauf/platform/vekta/Decibels.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

float Distance(const SPunkt& a, float x, float y) {
  const double dx = static_cast<double>(a.x) - x;
  const double dy = static_cast<double>(a.y) - y;
  return static_cast<float>(std::sqrt(dx * dx + dy * dy));
}

double SumOfSquares(const CSigPairs& signal) {
  double sum = 0.0;
  for (const SPunkt* p = signal.Punkte(); p != signal.PunkteEnd(); ++p) sum += double{p->y} * p->y;
  return sum;
}

}  // namespace

// Lookup

/// First point from index 1 on at or behind x in the direction of the order; for at least two points.
std::size_t CSigPairs::UpperNeighbour(float x) const {
  const SPunkt* found = std::partition_point(
      Punkte() + 1, PunkteEnd(), [x, up = ascending_](const SPunkt& p) { return up ? p.x < x : p.x > x; });
  return std::min(static_cast<std::size_t>(found - Punkte()), NPaare() - 1);
}

float CSigPairs::WertBei(float x) const {
  if (!Gueltig() || !(ascending_ || descending_)) return 0.0f;
  const SPunkt& first = *Punkte();
  const SPunkt& last = PunkteEnd()[-1];
  if (NPaare() == 1 || (ascending_ ? x <= first.x : x >= first.x)) return first.y;
  if (ascending_ ? x >= last.x : x <= last.x) return last.y;
  const std::size_t i = UpperNeighbour(x);
  return umlauf::pairs::OnLine(Point(i - 1), Point(i), x);
}

std::size_t CSigPairs::IndexZu(float x, int mode) const {
  const std::size_t n = NPaare();
  if (n < 2) return 0;
  if (!(ascending_ || descending_)) {
    std::size_t nearest = 0;
    float least = std::numeric_limits<float>::infinity();
    for (std::size_t i = 0; i < n; ++i) {
      const float distance = std::fabs(x - Punkt(i));
      if (distance < least) {
        least = distance;
        nearest = i;
      }
    }
    return nearest;
  }
  if (ascending_ ? x <= Punkt(0) : x >= Punkt(0)) return 0;
  if (ascending_ ? x >= Punkt(n - 1) : x <= Punkt(n - 1)) return n - 1;
  const std::size_t i = UpperNeighbour(x);
  if (Punkt(i) == x) return i;
  // Intended: the differences are signed, so for descending data the first is never smaller.
  const bool before = ascending_ ? x - Punkt(i - 1) < Punkt(i) - x : Punkt(i - 1) - x < Punkt(i) - x;
  if (mode == naechster) return before ? i - 1 : i;
  return (mode == unterer) == ascending_ ? i - 1 : i;
}

bool CSigPairs::HatWertBei(float x, float tolerance) const {
  return Gueltig() && std::fabs(x - Punkt(IndexZu(x, naechster))) < tolerance;
}

bool CSigPairs::IsInRange(float x) const {
  if (!Gueltig()) return false;
  if (ascending_ || descending_) return Punkt(0) <= x && x <= Punkt(NPaare() - 1);
  const auto below = [x](const SPunkt& p) { return p.x < x; };
  const auto above = [x](const SPunkt& p) { return p.x > x; };
  return std::any_of(Punkte(), PunkteEnd(), below) && std::any_of(Punkte(), PunkteEnd(), above);
}

float CSigPairs::PointDistance(float x, float y, std::size_t* index) const {
  if (!Gueltig()) return 0.0f;
  const std::size_t nearest = IndexZu(x, naechster);
  if (index != nullptr) *index = nearest;
  float lo = 0.0f;
  float hi = 0.0f;
  XBereich(lo, hi);
  const bool onLine = index == nullptr && lo <= x && x <= hi && (ascending_ || descending_);
  return Distance(onLine ? SPunkt{x, WertBei(x)} : Point(nearest), x, y);
}

// Ranges

bool CSigPairs::XBereich(float& lo, float& hi) const {
  if (!Gueltig()) return false;
  if (ascending_ || descending_) {
    lo = Punkt(ascending_ ? 0 : NPaare() - 1);
    hi = Punkt(ascending_ ? NPaare() - 1 : 0);
  } else {
    QVL::VectorMinMax(Samples(), NPaare(), 2, lo, hi);
  }
  return true;
}

bool CSigPairs::YBereich(float& lo, float& hi) const {
  if (!Gueltig()) return false;
  QVL::VectorMinMax(Samples() + 1, NPaare(), 2, lo, hi);
  return true;
}

void CSigPairs::GetYRangeX(float& lo, float& hi, float x1, float x2) const {
  if (ascending_ || descending_) {
    const std::size_t i1 = IndexZu(x1, naechster);
    const std::size_t i2 = IndexZu(x2, naechster);
    GetYRangeXI(lo, hi, ascending_ ? i1 : i2, ascending_ ? i2 : i1);
    return;
  }
  bool any = false;
  for (const SPunkt* p = Punkte(); p != PunkteEnd(); ++p) {
    if (!(x1 <= p->x && p->x <= x2)) continue;
    lo = any ? std::min(lo, p->y) : p->y;
    hi = any ? std::max(hi, p->y) : p->y;
    any = true;
  }
}

void CSigPairs::GetYRangeXI(float& lo, float& hi, std::size_t i1, std::size_t i2) const {
  if (i1 > i2 || i1 >= NPaare()) return;
  QVL::VectorMinMax(Samples() + 2 * i1 + 1, std::min(i2, NPaare() - 1) - i1 + 1, 2, lo, hi);
}

CSignal::Range CSigPairs::YRange() const {
  Range range{};
  range.first.second = FindeYMin(&range.first.first, nullptr);
  range.second.second = FindeYMax(&range.second.first, nullptr);
  return range;
}

float CSigPairs::Report(std::size_t i, float* x, std::size_t* index) const {
  if (x != nullptr) *x = Punkt(i);
  if (index != nullptr) *index = i;
  return Wert(i);
}

float CSigPairs::FindeYMax(float* x, std::size_t* index) const {
  if (!Gueltig()) return 0.0f;
  return Report(static_cast<std::size_t>(std::max_element(Werte(), WerteEnd()) - Werte()), x, index);
}

float CSigPairs::FindeYMin(float* x, std::size_t* index) const {
  if (!Gueltig()) return 0.0f;
  return Report(static_cast<std::size_t>(std::min_element(Werte(), WerteEnd()) - Werte()), x, index);
}

float CSigPairs::MinStepSize() const {
  if (NPaare() < 2) return 0.0f;
  float least = std::fabs(Punkt(1) - Punkt(0));
  for (std::size_t i = 2; i < NPaare(); ++i) least = std::min(least, std::fabs(Punkt(i) - Punkt(i - 1)));
  return least;
}

// Statistics

float CSigPairs::Mittelwert(float* deviation) const {
  const std::size_t n = NPaare();
  if (n < 2) return n == 0 ? 0.0f : Wert(0);
  double sum = 0.0;
  for (const SPunkt* p = Punkte(); p != PunkteEnd(); ++p) sum += p->y;
  const double mean = sum / static_cast<double>(n);
  if (deviation != nullptr) {
    const double variance = SumOfSquares(*this) / static_cast<double>(n) - mean * mean;
    *deviation = static_cast<float>(std::sqrt(variance));
  }
  return static_cast<float>(mean);
}

float CSigPairs::RmsWert() const {
  const std::size_t n = NPaare();
  if (n < 2) return n == 0 ? 0.0f : Wert(0);
  return static_cast<float>(std::sqrt(SumOfSquares(*this) / static_cast<double>(n)));
}

float CSigPairs::MittelwertDb() const {
  const std::size_t n = NPaare();
  if (n < 2) return n == 0 ? 0.0f : Wert(0);
  const double reference = Wert(0);  // keeps the powers near 1
  double sum = 0.0;
  for (const SPunkt* p = Punkte(); p != PunkteEnd(); ++p)
    sum += std::exp(numeric::kLn10By10OfPairs * (p->y - reference));
  return static_cast<float>((std::log(sum) / numeric::kLn10By10OfPairs + reference) / static_cast<double>(n));
}

// Curves

bool CSigPairs::KurveBilden(CSigCurve* curve, int n) const {
  float lo = 0.0f;
  float hi = 0.0f;
  if (curve == nullptr || !(ascending_ || descending_) || !XBereich(lo, hi)) return false;
  const std::uint64_t count = n > 0 ? static_cast<std::uint64_t>(n) : NPaare();
  if (!curve->Resize(count)) return false;
  // The curve's axis ends one step behind its last sample.
  const double span = static_cast<double>(hi) - lo;
  const double step = count > 1 ? span / static_cast<double>(count - 1) : span;
  curve->SetXMinMax(lo, static_cast<float>(span > 0.0 ? hi + step : lo + 1.0));
  if (auto* extended = dynamic_cast<CSigCurveExt*>(curve)) extended->ResetVMinMax();
  for (std::uint64_t i = 0; i < count; ++i) {
    curve->SetAt(i, WertBei(static_cast<float>(lo + static_cast<double>(i) * step)));
  }
  curve->SetName(Name());
  curve->SetXUnit(XUnit());
  curve->SetYUnit(YUnit());
  return true;
}

float CSigPairs::MaxKurvenAbstand(const CSigCurve* curve, float* x, bool onlyInRange) const {
  if (curve == nullptr) return 0.0f;
  float greatest = 0.0f;
  bool any = false;
  for (const SPunkt* p = Punkte(); p != PunkteEnd(); ++p) {
    if (onlyInRange && !curve->IsInRange(p->x)) continue;
    const float distance = std::fabs(p->y - curve->GetValue(p->x));
    if (any && !(distance > greatest)) continue;
    any = true;
    greatest = distance;
    if (x != nullptr) *x = p->x;
  }
  return greatest;
}
