#pragma once

#include <array>
#include <cstdint>
#include <numbers>

// A unit has the name of a calling convention of 16-bit times, which the system's headers on Windows still
// define.
#undef pascal

/// Presentation of a unit: a combination of `flag_db` and `flag_log`, 0 for plain values.
using unitFlags = std::uint32_t;

/// The scope of the common units: write `CMeasuringUnit::rpm` or `commonUnits::rpm`.
struct CommonUnits {
  /// The units that every installation knows, in the order of their registry indices, which files rely on.
  enum commonUnits : std::uint32_t {
    none,                       ///< "-", no unit
    number,                     ///< "№", a count
    letter_x,                   ///< "x"
    letter_y,                   ///< "y"
    letter_z,                   ///< "z"
    newton,                     ///< "N"
    percent,                    ///< "%"
    second,                     ///< "s"
    hertz,                      ///< "Hz"
    rpm,                        ///< "rpm", revolutions per minute
    revolution,                 ///< "rev"
    order,                      ///< "ord", events per revolution
    volt,                       ///< "V"
    pascal,                     ///< "Pa"
    newton_metre,               ///< "Nm"
    degree_celsius,             ///< "°C"
    metre_per_second_squared,   ///< "m/s²"
    gravity,                    ///< "g", standard acceleration of gravity
    metre,                      ///< "m"
    degree,                     ///< "°", of angle
    radian,                     ///< "rad"
    kilometre_per_hour,         ///< "km/h"
    mile_per_hour,              ///< "mph"
    metre_per_second,           ///< "m/s"
    radian_per_second,          ///< "rad/s"
    radian_per_second_squared,  ///< "rad/s²"
    ampere,                     ///< "A"
    per_unit,                   ///< "pu", share of a whole
    bar,                        ///< "bar"
    tau,                        ///< "τ", a time
    watt                        ///< "W"
  };
  static constexpr std::uint32_t kCommonUnitCount = 31;

  /// Bits of `unitFlags`.
  enum : unitFlags {
    flag_db = 1,  ///< values are levels in dB over `logref`
    flag_log = 2  ///< values are decimal logarithms ("10^")
  };
};

using commonUnits = CommonUnits::commonUnits;

/// What is known of a common unit. Factors of 0 mean that there is nothing to convert to.
struct SCommonUnit {
  const wchar_t* name;
  commonUnits unit;      ///< its own index
  commonUnits inverse;   ///< unit of the reciprocal; `none` when it has none
  float inv_fac;         ///< reciprocal in `inverse` = inv_fac / value
  commonUnits standard;  ///< SI unit of the family
  float std_fac;         ///< value in `standard` = value · std_fac
};

/// The common units by index.
/// Intended: "rad/s²" normalises to "-", "№" has an inversion factor without an inverse unit, "%" is a
/// share of "pu".
inline constexpr std::array<SCommonUnit, CommonUnits::kCommonUnitCount> kCommonUnits = [] {
  using U = CommonUnits;
  constexpr float turn = static_cast<float>(2 * std::numbers::pi);
  constexpr float perTurn = static_cast<float>(0.5 / std::numbers::pi);
  return std::array<SCommonUnit, CommonUnits::kCommonUnitCount>{{
      {L"-", U::none, U::none, 0, U::none, 0},
      {L"№", U::number, U::none, 1, U::number, 1},
      {L"x", U::letter_x, U::none, 0, U::letter_x, 1},
      {L"y", U::letter_y, U::none, 0, U::letter_y, 1},
      {L"z", U::letter_z, U::none, 0, U::letter_z, 1},
      {L"N", U::newton, U::none, 0, U::newton, 1},
      {L"%", U::percent, U::none, 0, U::per_unit, 0.01f},
      {L"s", U::second, U::hertz, 1, U::second, 1},
      {L"Hz", U::hertz, U::second, 1, U::hertz, 1},
      {L"rpm", U::rpm, U::second, 60, U::hertz, static_cast<float>(1 / 60.0)},
      {L"rev", U::revolution, U::order, 1, U::revolution, 1},
      {L"ord", U::order, U::revolution, 1, U::order, 1},
      {L"V", U::volt, U::none, 0, U::volt, 1},
      {L"Pa", U::pascal, U::none, 0, U::pascal, 1},
      {L"Nm", U::newton_metre, U::none, 0, U::newton_metre, 1},
      {L"°C", U::degree_celsius, U::none, 0, U::degree_celsius, 1},
      {L"m/s²", U::metre_per_second_squared, U::none, 0, U::metre_per_second_squared, 1},
      {L"g", U::gravity, U::none, 0, U::metre_per_second_squared, 9.80665f},
      {L"m", U::metre, U::none, 0, U::metre, 1},
      {L"°", U::degree, U::order, 360, U::revolution, static_cast<float>(1 / 360.0)},
      {L"rad", U::radian, U::order, turn, U::revolution, perTurn},
      {L"km/h", U::kilometre_per_hour, U::none, 0, U::metre_per_second, static_cast<float>(1 / 3.6)},
      {L"mph", U::mile_per_hour, U::none, 0, U::metre_per_second, 0.44704f},
      {L"m/s", U::metre_per_second, U::none, 0, U::metre_per_second, 1},
      {L"rad/s", U::radian_per_second, U::none, 0, U::hertz, perTurn},
      {L"rad/s²", U::radian_per_second_squared, U::none, 0, U::none, 1},
      {L"A", U::ampere, U::none, 0, U::ampere, 1},
      {L"pu", U::per_unit, U::none, 0, U::per_unit, 1},
      {L"bar", U::bar, U::none, 0, U::pascal, 100000},
      {L"τ", U::tau, U::none, 0, U::second, 1},
      {L"W", U::watt, U::none, 0, U::watt, 1},
  }};
}();

static_assert([] {
  for (std::uint32_t i = 0; i < kCommonUnits.size(); ++i) {
    if (kCommonUnits[i].unit != i) return false;
  }
  return true;
}());
