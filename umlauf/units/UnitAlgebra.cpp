#include "umlauf/units/UnitAlgebra.h"

#include <algorithm>
#include <limits>
#include <string>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/units/internal/UnitStrings.h"

namespace UnitAlgebra {
namespace {

using U = CommonUnits;

/// Known quotients of plain common units.
struct Known {
  U::commonUnits dividend, divisor, quotient;
};
constexpr Known kKnown[] = {{U::metre, U::second, U::metre_per_second},
                            {U::metre_per_second, U::second, U::metre_per_second_squared},
                            {U::radian, U::second, U::radian_per_second},
                            {U::radian_per_second, U::second, U::radian_per_second_squared},
                            {U::none, U::second, U::hertz},
                            {U::revolution, U::second, U::hertz},
                            {U::none, U::hertz, U::second}};

std::int16_t Saturated(int value) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(std::clamp<int>(value, Limits::min(), Limits::max()));
}

CMeasuringUnit Unit(std::uint32_t unit, int exponent, int power) {
  return CMeasuringUnit(SMeasuringUnitPOD{unit, Saturated(exponent), Saturated(power), 1.0f, 0});
}

bool HasProducts(const CMeasuringUnitInterface& a) { return !a.is_db() && !a.is_log() && a.power() != 0; }

/// Name with power, without prefix, in parentheses where an operator before it would tear it.
std::wstring NameOf(const CMeasuringUnitInterface& a, bool behindOperator) {
  CMeasuringUnit plain(a);
  plain.clearExponent();
  std::wstring name = plain.prefixstring().GetString();
  if (behindOperator && name.find_first_of(L"*/") != std::wstring::npos && name.back() != L')') {
    name = L"(" + name + L")";
  }
  return name;
}

CMeasuringUnit Named(const std::wstring& name, int exponent) {
  return Unit(UnitStrings::Instance().Lookup(name, true, false), exponent, 1);
}

CMeasuringUnit Over(const CMeasuringUnitInterface& a, const CMeasuringUnitInterface& b) {
  const int exponent = a.exponent() - b.exponent();
  if (a.unit() == b.unit()) {
    const int power = a.power() - b.power();
    return power == 0 ? Unit(U::none, exponent, 1) : Unit(a.unit(), exponent, power);
  }
  if (b.empty()) return Unit(a.unit(), exponent, a.power());
  if ((a.power() == 1 || a.empty()) && b.power() == 1) {
    for (const Known& known : kKnown) {
      if (a.unit() == known.dividend && b.unit() == known.divisor) return Unit(known.quotient, exponent, 1);
    }
  }
  if (a.empty()) return Unit(b.unit(), exponent, -b.power());
  return Named(NameOf(a, false) + L"/" + NameOf(b, true), exponent);
}

CMeasuringUnit Times(const CMeasuringUnitInterface& a, const CMeasuringUnitInterface& b) {
  const int exponent = a.exponent() + b.exponent();
  if (b.empty()) return Unit(a.unit(), exponent, a.power());
  if (a.empty()) return Unit(b.unit(), exponent, b.power());
  if (a.unit() == b.unit()) {
    const int power = a.power() + b.power();
    return power == 0 ? Unit(U::none, exponent, 1) : Unit(a.unit(), exponent, power);
  }
  if (a.power() == 1 && b.power() == 1) {
    for (const Known& known : kKnown) {
      if (a.unit() == known.quotient && b.unit() == known.divisor) return Unit(known.dividend, exponent, 1);
    }
  }
  const std::wstring name = NameOf(a, false);
  const std::wstring divisor = L"/" + NameOf(b, true);
  if (name.size() > divisor.size() && name.ends_with(divisor)) {
    CMeasuringUnit dividend(CString(name.substr(0, name.size() - divisor.size())));
    if (!dividend.empty()) return Unit(dividend.unit(), exponent, dividend.power());
  }
  return Named(name + L"*" + NameOf(b, true), exponent);
}

}  // namespace

CMeasuringUnit Product(const CMeasuringUnitInterface& a, const CMeasuringUnitInterface& b) {
  if (!HasProducts(a) || !HasProducts(b)) return CMeasuringUnit();
  return umlauf::WithMemory(CMeasuringUnit(), [&] { return Times(a, b); });
}

CMeasuringUnit Quotient(const CMeasuringUnitInterface& a, const CMeasuringUnitInterface& b) {
  if (!HasProducts(a) || !HasProducts(b)) return CMeasuringUnit();
  return umlauf::WithMemory(CMeasuringUnit(), [&] { return Over(a, b); });
}

CMeasuringUnit Power(const CMeasuringUnitInterface& a, std::int16_t n) {
  if (!HasProducts(a) || a.empty() || n == 0) return CMeasuringUnit();
  return Unit(a.unit(), a.exponent() * n, a.power() * n);
}

}  // namespace UnitAlgebra
