// The file record of a unit. Behind the name, version 2 has the fields of the flat record in its order.

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "umlauf/platform/basis/codepages/CodePages.h"
#include "umlauf/platform/framework/FileFields.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/units/MeasuringUnit.h"
#include "umlauf/units/internal/UnitStrings.h"

using umlauf::ReadField;

namespace {

constexpr std::uint8_t kVersion = 2;
constexpr std::uint8_t kFirstUnknownVersion = 13;
constexpr std::size_t kLongestName = 255;
constexpr std::uint32_t kUnitsByIndex = 31;  // common units that every version knows; others go by name

bool ReadBytes(CFile& file, void* target, std::size_t count) { return file.Read(target, count) == count; }

}  // namespace

bool CMeasuringUnitInterface::WriteToFile(CFile& file) const {
  return umlauf::WithMemory(false, [&] {
    const std::string name = umlauf::codepages::WideToCp1252(UnitStrings::Instance().Name(unit()));
    const std::size_t length = std::min(name.size(), kLongestName);
    std::array<char, 2 + kLongestName + sizeof(SMeasuringUnitPOD)> record;
    record[0] = static_cast<char>(kVersion);
    record[1] = static_cast<char>(static_cast<std::uint8_t>(length));
    name.copy(&record[2], length);
    std::memcpy(&record[2 + length], &pod(), sizeof(SMeasuringUnitPOD));
    file.Write(record.data(), 2 + length + sizeof(SMeasuringUnitPOD));
    return !file.Failed();
  });
}

bool CMeasuringUnitInterface::ReadFromFile(CFile& file) {
  std::uint8_t version = 0;
  if (!ReadField(file, version) || version >= kFirstUnknownVersion) return false;
  if (umlauf::WithMemory(false, [&] { return ReadBody(file, version); })) return true;
  clear();
  return false;
}

bool CMeasuringUnitInterface::ReadBody(CFile& file, unsigned version) {
  clear();
  std::uint8_t length = 0;
  std::array<char, kLongestName> bytes;
  if (!ReadField(file, length) || !ReadBytes(file, bytes.data(), length)) return false;
  // A name is text: it ends at the first zero.
  const std::string_view name(
      bytes.data(),
      static_cast<std::size_t>(std::find(bytes.data(), bytes.data() + length, '\0') - bytes.data()));
  UnitStrings& registry = UnitStrings::Instance();
  SMeasuringUnitPOD& record = pod();
  if (version == 0 && length == 0) return ReadBytes(file, bytes.data(), 8);
  if (version == 0) {
    record.unit = registry.Lookup(umlauf::codepages::Cp1252ToWide(name), true, false);
  } else {
    if (!ReadField(file, record.unit)) return false;
    // Any other index is that of the version and the process that wrote it.
    if (record.unit >= kUnitsByIndex)
      record.unit = registry.Lookup(umlauf::codepages::Cp1252ToWide(name), true);
  }
  if (!ReadField(file, record.exponent) || !ReadField(file, record.power) || !ReadField(file, record.logref))
    return false;
  if (version >= 2) return ReadField(file, record.flags);
  set_db(record.logref != 0.0f);
  return true;
}
