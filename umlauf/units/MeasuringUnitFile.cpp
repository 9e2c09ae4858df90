// The file record of a unit. Behind the name, version 2 has the fields of the flat record in its order.

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <string>

#include "umlauf/platform/basis/Formatting.h"
#include "umlauf/platform/framework/CFile.h"
#include "umlauf/units/MeasuringUnit.h"
#include "umlauf/units/internal/UnitStrings.h"

namespace {

constexpr std::uint8_t kVersion = 2;
constexpr std::uint8_t kFirstUnknownVersion = 13;
constexpr std::size_t kLongestName = 255;

bool ReadBytes(CFile& file, void* target, std::size_t count) { return file.Read(target, count) == count; }

template <class T>
bool Read(CFile& file, T& value) {
  return ReadBytes(file, &value, sizeof value);
}

}  // namespace

bool CMeasuringUnitInterface::WriteToFile(CFile& file) const {
  try {
    const std::string name = Formatting::unicode2ansi(UnitStrings::Instance().Name(unit()));
    const std::size_t length = std::min(name.size(), kLongestName);
    std::array<char, 2 + kLongestName + sizeof(SMeasuringUnitPOD)> record;
    record[0] = static_cast<char>(kVersion);
    record[1] = static_cast<char>(static_cast<std::uint8_t>(length));
    name.copy(&record[2], length);
    std::memcpy(&record[2 + length], &pod(), sizeof(SMeasuringUnitPOD));
    file.Write(record.data(), 2 + length + sizeof(SMeasuringUnitPOD));
    return !file.Failed();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool CMeasuringUnitInterface::ReadFromFile(CFile& file) {
  std::uint8_t version = 0;
  if (!Read(file, version) || version >= kFirstUnknownVersion) return false;
  try {
    if (ReadBody(file, version)) return true;
  } catch (const std::bad_alloc&) {
  }
  clear();
  return false;
}

bool CMeasuringUnitInterface::ReadBody(CFile& file, unsigned version) {
  clear();
  std::uint8_t length = 0;
  std::array<char, kLongestName> bytes;
  if (!Read(file, length) || !ReadBytes(file, bytes.data(), length)) return false;
  // A name is text: it ends at the first zero.
  const std::string_view name(
      bytes.data(),
      static_cast<std::size_t>(std::find(bytes.data(), bytes.data() + length, '\0') - bytes.data()));
  UnitStrings& registry = UnitStrings::Instance();
  SMeasuringUnitPOD& record = pod();
  if (version == 0 && length == 0) return ReadBytes(file, bytes.data(), 8);
  if (version == 0) {
    record.unit = registry.Lookup(Formatting::ansi2unicode(name), true, false);
  } else {
    if (!Read(file, record.unit)) return false;
    // The index of an uncommon unit is that of the process that wrote it.
    if (record.unit >= kCommonUnitCount) record.unit = registry.Lookup(Formatting::ansi2unicode(name), true);
  }
  if (!Read(file, record.exponent) || !Read(file, record.power) || !Read(file, record.logref)) return false;
  if (version >= 2) return Read(file, record.flags);
  set_db(record.logref != 0.0f);
  return true;
}
