// Unit texts, in wide text and in code page 1252, and what is done with the units that they give.

#include <cstring>
#include <string>

#include "fuzz/support/Fuzz.h"
#include "umlauf/units/MeasuringUnit.h"

namespace umlauf::fuzz {
namespace {

/// What the unit says for people reads back as that unit, where it promises to.
void ReadBack(const CMeasuringUnit& unit) {
  const CString name = unit.baseunit();
  if (unit.unit() >= CommonUnits::kCommonUnitCount || unit.exponent() != 0 || unit.power() == 0) return;
  if (unit.is_db() && unit.is_log()) return;  // shown as dB
  for (const wchar_t* exception : {L"-", L"pu", L"km/h", L"mph"}) {
    if (name == exception) return;
  }
  const CMeasuringUnit back(unit.prefixunit(true));
  Require(back.unit() == unit.unit() && back.power() == unit.power() && back.flags() == unit.flags(),
          "the text of a common unit gives that unit");
}

void Compute(const CMeasuringUnit& unit, const CMeasuringUnit& other, Input& input) {
  Require(unit.matches(unit) || unit.logref() != unit.logref(), "a unit matches itself");
  unit.scale_to(other);
  other.scale_to(unit);
  CMeasuringUnit changed = unit;
  changed.normalize();
  changed = unit;
  changed.engineering(input.Take<float>());
  changed = unit;
  changed.invert();
  changed = unit;
  const auto n = input.Take<std::int16_t>();
  changed.CMeasuringUnitInterface::power(n);
  changed.prefixunit(false);
  changed = unit;
  if (!changed.root(n)) {
    Require(std::memcmp(&changed.pod(), &unit.pod(), sizeof unit.pod()) == 0,
            "without a root nothing changes");
  }
}

}  // namespace

// A unit record for the operations, then the text, whose first bytes are their numbers, too.
void FuzzOne(Input input) {
  CMeasuringUnit other(input.Take<SMeasuringUnitPOD>());
  Input numbers = input;
  CMeasuringUnit unit;
  const bool read = unit.set(CString::FromUtf8(input.Text()).GetString());
  Require(read || unit == CMeasuringUnit(), "a text that is refused leaves the cleared unit");
  ReadBack(unit);
  Compute(unit, other, numbers);
  Compute(other, unit, numbers);
  for (const bool longForm : {false, true}) {
    other.prefixunit(longForm);
    CMeasuringUnit again;
    again.set(other.prefixunit(longForm));
  }
  CMeasuringUnit ansi;
  const std::string text(input.Text());
  if (!ansi.setA(text.c_str())) Require(ansi == CMeasuringUnit(), "a refused text leaves the cleared unit");
  ansi.prefixunitA(true);
}

}  // namespace umlauf::fuzz
