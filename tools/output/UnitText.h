#pragma once

#include <string>

#include "umlauf/units/MeasuringUnit.h"

namespace umlauf::tool {

/// A unit as people read it: with its prefix, from the base unit; "-" without a unit.
std::string UnitText(const CMeasuringUnit& unit);

/// What an axis shows, as "speed in rpm": the quantity goes by the unit. `otherwise` names quantities that
/// the unit does not tell; without a unit it stands alone.
std::string AxisLabel(const CMeasuringUnit& unit, const std::string& otherwise);

}  // namespace umlauf::tool
