#pragma once

#include <numbers>

namespace numeric {

/// ln(10) / 10: e to the power of this, times a level in decibels, is its power.
inline constexpr double kLn10By10 = std::numbers::ln10 / 10.0;

/// Intended: sections of extended curves sum levels with the value rounded to single precision.
inline constexpr double kLn10By10OfSections = 0.2302584946155548;
static_assert(kLn10By10OfSections == double{0.2302585f});

/// Intended: the mean level of point pairs is formed with seven digits.
inline constexpr double kLn10By10OfPairs = 0.2302585;

}  // namespace numeric
