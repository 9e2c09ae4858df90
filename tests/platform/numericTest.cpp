#include "umlauf/platform/vekta/numeric.h"

#include "support/Test.h"

namespace {

/// The definition, by way of a type that holds every value of T and F exactly.
template <class T, class F>
T Reference(F x) {
  if (std::isnan(x)) return std::numeric_limits<T>::min();
  const long double whole = std::trunc(static_cast<long double>(x));
  if (whole <= static_cast<long double>(std::numeric_limits<T>::min())) return std::numeric_limits<T>::min();
  if (whole >= static_cast<long double>(std::numeric_limits<T>::max())) return std::numeric_limits<T>::max();
  return static_cast<T>(whole);
}

template <class T, class F>
void CheckBoundaries() {
  using Limits = std::numeric_limits<F>;
  std::vector<F> values{Limits::quiet_NaN(), Limits::infinity(), Limits::max(), Limits::denorm_min(),
                        F(0.75)};
  for (int bit = 0; bit <= 66; ++bit) {
    const F power = std::ldexp(F(1), bit);
    for (const F x : {power, power - F(0.5), power - F(1), power + F(0.5)})
      values.insert(values.end(), {x, std::nextafter(x, F(0)), std::nextafter(x, Limits::infinity())});
  }
  for (const F x : values) {
    EXPECT_EQ((numeric::trunc_sat<T>(x)), (Reference<T>(x))) << x;
    EXPECT_EQ((numeric::trunc_sat<T>(-x)), (Reference<T>(-x))) << -x;
  }
}

template <class F>
void CheckTypes() {
  CheckBoundaries<std::int8_t, F>();
  CheckBoundaries<std::uint8_t, F>();
  CheckBoundaries<std::int16_t, F>();
  CheckBoundaries<std::uint16_t, F>();
  CheckBoundaries<std::int32_t, F>();
  CheckBoundaries<std::uint32_t, F>();
  CheckBoundaries<std::int64_t, F>();
  CheckBoundaries<std::uint64_t, F>();
}

TEST(TruncSat, IsExactAroundEveryPowerOfTwo) {
  CheckTypes<float>();
  CheckTypes<double>();
}

TEST(Round, HalvesGoAwayFromZero) {
  const Cases<float, float> cases = {
      {0.5f, 1.0f}, {0.49999997f, 0.0f}, {2.5f, 3.0f}, {8388607.5f, 8388608.0f}, {16777215.0f, 16777215.0f}};
  for (const auto& [x, rounded] : cases)
    EXPECT_ALL(numeric::round(x) == rounded, numeric::round(-x) == -rounded);
  const double belowHalf = std::nextafter(0.5, 0.0);
  EXPECT_ALL(numeric::round(belowHalf) == 0.0, numeric::round(-0.5) == -1.0, numeric::round(kInf) == kInf,
             std::signbit(numeric::round(-0.25)), std::isnan(numeric::round(kNaN)));
}

}  // namespace
