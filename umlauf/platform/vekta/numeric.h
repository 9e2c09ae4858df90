#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

/// Conversions between number types and arithmetic that are defined for every input.
namespace numeric {

/// Truncates toward zero and saturates: a value outside the range of T gives the nearest end of the range,
/// NaN the lowest value of T. The one way from floating point to integer in this library.
template <class T, class F>
constexpr T trunc_sat(F x) {
  static_assert(std::is_integral_v<T> && std::is_floating_point_v<F>);
  using Limits = std::numeric_limits<T>;
  // 2^digits: the first value above the range, exact in every floating-point type used here.
  constexpr F above = static_cast<F>(Limits::max() / 2 + 1) * F(2);
  if (!(x > static_cast<F>(Limits::min()))) return Limits::min();
  if (x >= above) return Limits::max();
  return static_cast<T>(x);
}

/// Product and sum that stay at the greatest number when they overflow: sizes and positions formed from
/// counts that foreign data holds.
constexpr std::uint64_t mul_sat(std::uint64_t a, std::uint64_t b) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return a != 0 && b > most / a ? most : a * b;
}
constexpr std::uint64_t add_sat(std::uint64_t a, std::uint64_t b) {
  return a + b < a ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

namespace detail {
/// Not std::round: some run-time libraries take the number just below a half for a half.
template <class F>
F round(F x) {
  const F whole = std::trunc(x);
  return std::abs(x - whole) >= F{0.5} ? whole + std::copysign(F{1}, x) : whole;
}
}  // namespace detail

/// Nearest integer, halves away from zero.
inline float round(float x) { return detail::round(x); }
inline double round(double x) { return detail::round(x); }

}  // namespace numeric
