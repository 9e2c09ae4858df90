#pragma once

#include <string>

#include "umlauf/units/MeasuringUnit.h"

namespace umlauf::tool {

/// What an axis shows, as "speed in rpm": the quantity goes by the unit. `otherwise` names quantities that
/// the unit does not tell; without a unit it stands alone.
std::string AxisLabel(const CMeasuringUnit& unit, const std::string& otherwise);

}  // namespace umlauf::tool
