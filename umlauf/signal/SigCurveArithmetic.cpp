#include <algorithm>
#include <cmath>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/signal/SigCurve.h"

CSigCurve& CSigCurve::Clip(float value, bool upper) {
  if (upper) {
    QVL::ClipUpper(FData(), FData(), DLen(), value);
  } else {
    QVL::ClipLower(FData(), FData(), DLen(), value);
  }
  return *this;
}

CSigCurve& CSigCurve::Square() {
  QVL::SquareVector(FData(), FData(), DLen());
  CMeasuringUnit unit(YUnit());
  unit.power(2);
  SetYUnit(unit);
  return *this;
}

CSigCurve& CSigCurve::SquareRoot() {
  QVL::SqrtVector(FData(), FData(), DLen());
  CMeasuringUnit unit(YUnit());
  unit.root(2);
  SetYUnit(unit);
  return *this;
}

CSigCurve& CSigCurve::Log(float reference) {
  const std::int16_t power = YUnit().power() == 0 ? std::int16_t{1} : YUnit().power();
  const float scale = std::pow(reference, static_cast<float>(power));
  const float perPower = 1.0f / static_cast<float>(power);
  std::transform(FData(), FData() + DLen(), FData(), [scale, perPower](float s) {
    if (s > 0.0f) return std::log10(s * scale) * perPower * 20.0f + 0.0f;  // a level of 0 has no sign
    return s <= 0.0f ? 0.0f : s;
  });
  CMeasuringUnit unit(YUnit());
  unit.root(power);
  unit.logref(reference);
  unit.set_db(true);
  SetYUnit(unit);
  return *this;
}

CSigCurve& CSigCurve::MirrorX() {
  if (DLen() == 0) return *this;
  QVL::ReverseVector(FData(), DLen());
  SetXMinMax(-XMax(), -XMin());
  return *this;
}

CSigCurve& CSigCurve::MirrorY() { return *this *= -1.0f; }

CSigCurve& CSigCurve::Abs() {
  QVL::AbsVector(FData(), FData(), DLen());
  return *this;
}

CSigCurve& CSigCurve::operator+=(const CSigCurve& other) {
  QVL::AddVectors(FData(), FData(), other.FData(), CommonLength(other));
  return *this;
}

CSigCurve& CSigCurve::operator-=(const CSigCurve& other) {
  QVL::SubVectors(FData(), FData(), other.FData(), CommonLength(other));
  return *this;
}

CSigCurve& CSigCurve::AddWithWeight(const CSigCurve& other, float weight) {
  QVL::AddScaled(FData(), other.FData(), weight, CommonLength(other));
  return *this;
}

CSigCurve& CSigCurve::AddSquared(const CSigCurve& other, float weight) {
  QVL::AddSquares(FData(), other.FData(), weight, CommonLength(other));
  return *this;
}

CSigCurve& CSigCurve::SubtractSquared(const CSigCurve& other) { return AddSquared(other, -1.0f); }

CSigCurve& CSigCurve::Max(const CSigCurve& other) {
  QVL::MaximizeVectors(FData(), FData(), other.FData(), CommonLength(other));
  return *this;
}

CSigCurve& CSigCurve::Min(const CSigCurve& other) {
  // The own sample stays unless it is strictly greater, so the other one stands first.
  QVL::MinimizeVectors(FData(), other.FData(), FData(), CommonLength(other));
  return *this;
}

CSigCurve& CSigCurve::operator=(float value) {
  QVL::FillFloat(FData(), DLen(), value);
  return *this;
}

CSigCurve& CSigCurve::operator+=(float value) {
  QVL::AddFloat(FData(), FData(), DLen(), value);
  return *this;
}

CSigCurve& CSigCurve::operator*=(float factor) {
  QVL::MulFloat(FData(), FData(), DLen(), factor);
  return *this;
}

CSigCurve& CSigCurve::operator/=(float divisor) { return divisor == 0.0f ? *this : *this *= 1.0f / divisor; }
