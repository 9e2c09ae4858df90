#pragma once

#include "umlauf/Export.h"
#include "umlauf/units/MeasuringUnit.h"

/// Units of products and quotients of values: "m" over "s" is "m/s", "V²" over "Hz" is "V²/Hz". Prefixes and
/// powers are kept; powers of one unit join. A unit that is no common one is formed by its name, which is
/// registered. The unit "-" counts as 1.
///
/// Values in dB or as logarithms have no product: the result is the cleared unit, as it is without memory.
/// Safe on several threads.
namespace UnitAlgebra {

UMLAUF_API CMeasuringUnit Product(const CMeasuringUnitInterface& a, const CMeasuringUnitInterface& b);
UMLAUF_API CMeasuringUnit Quotient(const CMeasuringUnitInterface& a, const CMeasuringUnitInterface& b);
/// The n-th power; the cleared unit for n = 0.
UMLAUF_API CMeasuringUnit Power(const CMeasuringUnitInterface& a, std::int16_t n);

}  // namespace UnitAlgebra
