// Functions that work element by element.

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLElements.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

using Floats = hn::ScalableTag<float>;

void Fill(float* out, size_t n, float value) {
  Map(
      Floats(), [=](auto d) HWY_ATTR { return hn::Set(d, value); }, n, out);
}
void AddValue(float* out, const float* a, size_t n, float value) {
  Map(
      Floats(), [=](auto d, auto v) HWY_ATTR { return hn::Add(v, hn::Set(d, value)); }, n, out, a);
}
void MulValue(float* out, const float* a, size_t n, float factor) {
  Map(
      Floats(), [=](auto d, auto v) HWY_ATTR { return hn::Mul(v, hn::Set(d, factor)); }, n, out, a);
}
void Add(float* out, const float* a, const float* b, size_t n) {
  Map(
      Floats(), [](auto, auto va, auto vb) HWY_ATTR { return hn::Add(va, vb); }, n, out, a, b);
}
void Sub(float* out, const float* a, const float* b, size_t n) {
  Map(
      Floats(), [](auto, auto va, auto vb) HWY_ATTR { return hn::Sub(va, vb); }, n, out, a, b);
}
void Mul(float* out, const float* a, const float* b, size_t n) {
  Map(
      Floats(), [](auto, auto va, auto vb) HWY_ATTR { return hn::Mul(va, vb); }, n, out, a, b);
}
void Maximize(float* out, const float* a, const float* b, size_t n) {
  Map(
      Floats(), [](auto, auto va, auto vb) HWY_ATTR { return Greater(va, vb); }, n, out, a, b);
}
void Minimize(float* out, const float* a, const float* b, size_t n) {
  Map(
      Floats(), [](auto, auto va, auto vb) HWY_ATTR { return Lesser(va, vb); }, n, out, a, b);
}

// Products and sums round separately, as in a scalar loop: no fused multiply-add from here on.
void WeightedSum(float* out, const float* a, float weightA, const float* b, float weightB, size_t n) {
  const auto op = [=](auto d, auto va, auto vb) HWY_ATTR {
    return hn::Add(hn::Mul(va, hn::Set(d, weightA)), hn::Mul(vb, hn::Set(d, weightB)));
  };
  Map(Floats(), op, n, out, a, b);
}
void Scaled(float* out, const float* x, float weight, size_t n) {
  const auto op = [=](auto d, auto sum, auto v)
                      HWY_ATTR { return hn::Add(sum, hn::Mul(v, hn::Set(d, weight))); };
  Map(Floats(), op, n, out, out, x);
}
void Squares(float* out, const float* x, float weight, size_t n) {
  const auto op = [=](auto d, auto sum, auto v)
                      HWY_ATTR { return hn::Add(sum, hn::Mul(hn::Mul(v, v), hn::Set(d, weight))); };
  Map(Floats(), op, n, out, out, x);
}

void Abs(float* out, const float* a, size_t n) {
  Map(
      Floats(), [](auto, auto v) HWY_ATTR { return hn::Abs(v); }, n, out, a);
}
void Square(float* out, const float* a, size_t n) {
  Map(
      Floats(), [](auto, auto v) HWY_ATTR { return hn::Mul(v, v); }, n, out, a);
}
void Root(float* out, const float* a, size_t n) {
  const auto op = [](auto d, auto v)
                      HWY_ATTR { return hn::IfThenZeroElse(hn::Le(v, hn::Zero(d)), hn::Sqrt(v)); };
  Map(Floats(), op, n, out, a);
}
void Ceiling(float* out, const float* a, size_t n, float limit) {
  const auto op = [=](auto d, auto v) HWY_ATTR {
    const auto end = hn::Set(d, limit);
    return hn::IfThenElse(hn::Ge(v, end), end, v);
  };
  Map(Floats(), op, n, out, a);
}
void Floor(float* out, const float* a, size_t n, float limit) {
  const auto op = [=](auto d, auto v) HWY_ATTR {
    const auto end = hn::Set(d, limit);
    return hn::IfThenElse(hn::Le(v, end), end, v);
  };
  Map(Floats(), op, n, out, a);
}

void Quantize(std::uint8_t* out, const float* x, size_t n, float lo, float factor) {
  const auto op = [=](auto d, auto v) HWY_ATTR {
    const hn::Rebind<std::int32_t, decltype(d)> dInt;
    const hn::Rebind<std::uint8_t, decltype(d)> dByte;
    const auto scaled = hn::Mul(hn::Mul(hn::Sub(v, hn::Set(d, lo)), hn::Set(d, factor)), hn::Set(d, 255.0f));
    const auto value = hn::Add(scaled, hn::Set(d, 0.5f));
    // NaN becomes 0: the low byte of the lowest integer.
    const auto whole = hn::ConvertTo(dInt, hn::IfThenElseZero(hn::Eq(value, value), value));
    return hn::TruncateTo(dByte, hn::BitCast(hn::RebindToUnsigned<decltype(dInt)>(), whole));
  };
  Map(Floats(), op, n, out, x);
}
void Dequantize(float* out, const std::uint8_t* in, size_t n, float step, float lo) {
  const auto op = [=](auto d, auto bytes) HWY_ATTR {
    const hn::Rebind<std::int32_t, decltype(d)> dInt;
    const auto value = hn::ConvertTo(d, hn::PromoteTo(dInt, bytes));
    return hn::Add(hn::Mul(value, hn::Set(d, step)), hn::Set(d, lo));
  };
  Map(Floats(), op, n, out, in);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(Fill);
HWY_EXPORT(AddValue);
HWY_EXPORT(MulValue);
HWY_EXPORT(Add);
HWY_EXPORT(Sub);
HWY_EXPORT(Mul);
HWY_EXPORT(Maximize);
HWY_EXPORT(Minimize);
HWY_EXPORT(WeightedSum);
HWY_EXPORT(Scaled);
HWY_EXPORT(Squares);
HWY_EXPORT(Abs);
HWY_EXPORT(Square);
HWY_EXPORT(Root);
HWY_EXPORT(Ceiling);
HWY_EXPORT(Floor);
HWY_EXPORT(Quantize);
HWY_EXPORT(Dequantize);

void FillFloat(float* out, std::size_t n, float value) { HWY_DYNAMIC_DISPATCH(Fill)(out, n, value); }
void AddFloat(float* out, const float* a, std::size_t n, float value) {
  HWY_DYNAMIC_DISPATCH(AddValue)(out, a, n, value);
}
void MulFloat(float* out, const float* a, std::size_t n, float factor) {
  HWY_DYNAMIC_DISPATCH(MulValue)(out, a, n, factor);
}
void AddVectors(float* out, const float* a, const float* b, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Add)(out, a, b, n);
}
void SubVectors(float* out, const float* a, const float* b, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Sub)(out, a, b, n);
}
void MulVectors(float* out, const float* a, const float* b, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Mul)(out, a, b, n);
}
void MaximizeVectors(float* out, const float* a, const float* b, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Maximize)(out, a, b, n);
}
void MinimizeVectors(float* out, const float* a, const float* b, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Minimize)(out, a, b, n);
}
void VectorWeightedSum(float* out, const float* a, float weightA, const float* b, float weightB,
                       std::size_t n) {
  HWY_DYNAMIC_DISPATCH(WeightedSum)(out, a, weightA, b, weightB, n);
}
void AddScaled(float* out, const float* x, float weight, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Scaled)(out, x, weight, n);
}
void AddSquares(float* out, const float* x, float weight, std::size_t n) {
  HWY_DYNAMIC_DISPATCH(Squares)(out, x, weight, n);
}
void AbsVector(float* out, const float* a, std::size_t n) { HWY_DYNAMIC_DISPATCH(Abs)(out, a, n); }
void SquareVector(float* out, const float* a, std::size_t n) { HWY_DYNAMIC_DISPATCH(Square)(out, a, n); }
void SqrtVector(float* out, const float* a, std::size_t n) { HWY_DYNAMIC_DISPATCH(Root)(out, a, n); }
void ClipUpper(float* out, const float* a, std::size_t n, float limit) {
  HWY_DYNAMIC_DISPATCH(Ceiling)(out, a, n, limit);
}
void ClipLower(float* out, const float* a, std::size_t n, float limit) {
  HWY_DYNAMIC_DISPATCH(Floor)(out, a, n, limit);
}
void QuantizeBytes(std::uint8_t* out, const float* x, std::size_t n, float lo, float factor) {
  HWY_DYNAMIC_DISPATCH(Quantize)(out, x, n, lo, factor);
}
void DequantizeBytes(float* out, const std::uint8_t* in, std::size_t n, float step, float lo) {
  HWY_DYNAMIC_DISPATCH(Dequantize)(out, in, n, step, lo);
}

}  // namespace QVL
#endif
