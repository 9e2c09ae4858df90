#include "tools/output/UnitText.h"

#include <fmt/format.h>

namespace umlauf::tool {
namespace {

/// Null when a unit is used for several quantities.
const char* QuantityOf(CommonUnits::commonUnits unit) {
  using U = CommonUnits;
  switch (unit) {
    case U::second:
    case U::tau:
      return "time";
    case U::hertz:
      return "frequency";
    case U::rpm:
      return "speed";
    case U::radian_per_second:
      return "angular velocity";
    case U::radian_per_second_squared:
      return "angular acceleration";
    case U::kilometre_per_hour:
    case U::mile_per_hour:
    case U::metre_per_second:
      return "velocity";
    case U::metre_per_second_squared:
    case U::gravity:
      return "acceleration";
    case U::metre:
      return "length";
    case U::degree:
    case U::radian:
      return "angle";
    case U::revolution:
      return "revolutions";
    case U::order:
      return "order";
    case U::newton:
      return "force";
    case U::newton_metre:
      return "torque";
    case U::pascal:
    case U::bar:
      return "pressure";
    case U::degree_celsius:
      return "temperature";
    case U::volt:
      return "voltage";
    case U::ampere:
      return "current";
    case U::watt:
      return "power";
    case U::number:
      return "count";
    default:
      return nullptr;
  }
}

}  // namespace

std::string UnitText(const CMeasuringUnit& unit) { return unit.prefixunit(false).ToUtf8(); }

std::string AxisLabel(const CMeasuringUnit& unit, const std::string& otherwise) {
  if (unit.is_db()) {
    CMeasuringUnit plain(unit);
    plain.set_db(false);
    const std::string text = plain.empty() ? std::string() : fmt::format(" {}", UnitText(plain));
    return fmt::format("level in dB re {:g}{}", unit.logref(), text);
  }
  if (unit.empty()) return otherwise + " (no unit)";
  const bool known = unit.unit() < CommonUnits::kCommonUnitCount && unit.power() == 1;
  const char* quantity = known ? QuantityOf(static_cast<CommonUnits::commonUnits>(unit.unit())) : nullptr;
  if (unit.unit() == CommonUnits::order && known) return quantity;  // a number, whose unit says the same
  return fmt::format("{} in {}", quantity != nullptr ? quantity : otherwise, UnitText(unit));
}

}  // namespace umlauf::tool
