// Unit records of all versions: what is read can be written and read again as the same unit.

#include <cstring>

#include "fuzz/support/Fuzz.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/units/MeasuringUnit.h"

namespace umlauf::fuzz {

void FuzzOne(Input input) {
  CMemFile file(input.Rest());
  CMeasuringUnit before(CMeasuringUnit::volt, 3), unit = before;
  const std::uint8_t version = input.empty() ? 255 : input.Byte();
  if (!unit.ReadFromFile(file)) {
    const bool known = version < 13;
    Require(unit == (known ? CMeasuringUnit() : before),
            "a record that cannot be read leaves what it promises");
    return;
  }
  CMemFile written;
  Require(unit.WriteToFile(written), "a unit that was read can be written");
  written.Seek(0, CFile::begin);
  CMeasuringUnit back;
  Require(back.ReadFromFile(written) && written.Remaining() == 0, "a written unit can be read");
  Require(std::memcmp(&back.pod(), &unit.pod(), sizeof unit.pod()) == 0,
          "a written unit is the one that comes back");
}

}  // namespace umlauf::fuzz
