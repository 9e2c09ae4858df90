#include "umlauf/units/MeantUnit.h"

#include <cmath>
#include <string_view>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/units/internal/UnitParser.h"
#include "umlauf/units/internal/UnitStrings.h"

namespace MeantUnit {
namespace {

/// The name behind what may stand before it.
std::wstring_view Inner(std::wstring_view text) {
  for (const std::wstring_view around : {L"dB(", L"10^ ", L"("}) {
    if (text.starts_with(around)) text.remove_prefix(around.size());
  }
  return text;
}

/// A common unit whose name the whole text is, as "pu", which else would have a prefix.
bool IsCommon(std::wstring_view text, CMeasuringUnit& unit) {
  for (std::uint32_t index = 0; index < CommonUnits::kCommonUnitCount; ++index) {
    if (UnitStrings::Instance().Name(index) != text) continue;
    unit.clear();
    unit.unit(index);
    return true;
  }
  return false;
}

/// The parser holds a prefix with its exponent squared, and does not raise it to the unit's power.
void MeanPrefix(std::wstring_view text, CMeasuringUnit& unit) {
  if (unit.exponent() == 0) return;
  const bool isSmall = std::wstring_view(L"fpnuµm").find(Inner(text).front()) != std::wstring_view::npos;
  const double prefix = std::sqrt(static_cast<double>(unit.exponent())) * (isSmall ? -1 : 1);
  unit.exponent(numeric::trunc_sat<std::int16_t>(std::round(prefix * unit.power())));
}

bool ReadText(const CString& text, bool registering, CMeasuringUnit& unit) {
  unit.clear();
  bool good = false;
  umlauf::HadMemory([&] {
    good = IsCommon(text.view(), unit);
    SMeasuringUnitPOD parsed;
    CString reason;
    if (good || !umlauf::units::ParseUnit(text.view(), parsed, reason, registering)) return;
    good = parsed.unit != CommonUnits::none || Inner(text.view()).starts_with(L'-');
    if (!good) return;
    unit = parsed;
    MeanPrefix(text.view(), unit);
  });
  return good;
}

}  // namespace

bool Read(const CString& text, CMeasuringUnit& unit) { return ReadText(text, false, unit); }

bool ReadOrRegister(const CString& text, CMeasuringUnit& unit) { return ReadText(text, true, unit); }

CString Write(const CMeasuringUnitInterface& unit) {
  CMeasuringUnit written(unit);
  const std::int16_t power = unit.power();
  if (power != 0 && unit.exponent() % power == 0) {
    written.exponent(static_cast<std::int16_t>(unit.exponent() / power));
  }
  return written.prefixunit(true);
}

double Factor(const CMeasuringUnitInterface& from, const CMeasuringUnitInterface& to) {
  using Unit = CMeasuringUnitInterface;
  if (from.flags() != 0 || to.flags() != 0) return from == to ? 1 : 0;
  const std::uint32_t standard = Unit::standard(from.unit());
  const bool isSame = from.unit() == to.unit();
  const bool isOneKind = isSame || (standard != CommonUnits::none && standard == Unit::standard(to.unit()));
  if (!isOneKind || from.power() != to.power()) return 0;
  const double ratio = static_cast<double>(Unit::std_fac(from.unit())) / Unit::std_fac(to.unit());
  const double factor =
      (isSame ? 1.0 : std::pow(ratio, from.power())) * std::pow(10.0, from.exponent() - to.exponent());
  return std::isfinite(factor) ? factor : 0;
}

}  // namespace MeantUnit
