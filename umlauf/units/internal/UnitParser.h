#pragma once

#include <optional>
#include <string_view>

#include "umlauf/platform/framework/CString.h"
#include "umlauf/units/MeasuringUnit.h"

namespace umlauf::units {

/// Reads a unit text by the rules told at CMeasuringUnitInterface::set. False when it is no expression;
/// then `reason` says why and the unit is not to be used. Whether an unknown name is registered can be given
/// for this one text; its registration is then not told. Throws std::bad_alloc only.
bool ParseUnit(std::wstring_view text, SMeasuringUnitPOD& unit, CString& reason,
               std::optional<bool> registering = {});

}  // namespace umlauf::units
