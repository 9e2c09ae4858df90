#pragma once

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/units/MeasuringUnit.h"

/// Units as people write and mean them. CMeasuringUnitInterface::set keeps to the established rules, by which
/// a prefix counts with its exponent squared; here "kHz" is 10³ Hz and "km²" is 10⁶ m². Safe on several
/// threads.
namespace MeantUnit {

/// Reads a unit by the rules of `set`, but with prefixes as they are meant. False, with the cleared unit, for
/// a text that is no unit, for an unknown name, and without memory; the log then says what is wrong.
UMLAUF_API bool Read(const CString& text, CMeasuringUnit& unit);
/// As above, but a name that is unknown (at most 65536 in a process) is registered as a unit.
UMLAUF_API bool ReadOrRegister(const CString& text, CMeasuringUnit& unit);
/// The text that `Read` gives the same unit for, where there is one: "km²", not "Mm²" for 10⁶ m². Empty when
/// the power is 0 and without memory.
UMLAUF_API CString Write(const CMeasuringUnitInterface& unit);

/// Factor by which values in one unit are multiplied to be in another one, in double precision; units without
/// an SI unit convert to themselves. 0 when there is none: for units of another kind or power, for levels and
/// logarithms (but to an equal unit), and for a factor beyond the range of numbers.
UMLAUF_API double Factor(const CMeasuringUnitInterface& from, const CMeasuringUnitInterface& to);

}  // namespace MeantUnit
