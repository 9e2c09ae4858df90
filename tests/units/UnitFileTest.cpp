#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/units/MeasuringUnit.h"
#include "units/LogCapture.h"

namespace {

using testing::SizeIs;
using U = CMeasuringUnit;

CMemFile FileOf(const std::string& bytes) { return CMemFile(std::as_bytes(std::span(bytes))); }

std::string BytesOf(const CMemFile& file) {
  return {reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size()};
}

// Little-endian fields of a record.
std::string Version(int version) { return std::string(1, static_cast<char>(version)); }
std::string Name(const std::string& name) { return static_cast<char>(name.size()) + name; }
std::string Index(unsigned char index) { return std::string{static_cast<char>(index), 0, 0, 0}; }
const std::string kFields("\3\0\2\0", 4);  // exponent 3, power 2
const std::string kOne("\0\0\x80\x3F", 4);
const std::string kNul(1, '\0');
const std::string kZero(4, '\0');

TEST(UnitFile, GoldenRecordsAreReadWhateverTheirVersionAndRefusedWhenCut) {
  const struct {
    const char* version;
    std::string bytes;
    CMeasuringUnit unit;
  } cases[] = {
      {"2", Version(2) + Name("\xB0") + Index(19) + kFields + kOne + Index(2),
       CMeasuringUnit(U::degree, 3, 2, 1, 2)},
      {"2, index first", Version(2) + Name("V") + Index(9) + kFields + kOne + kZero,
       CMeasuringUnit(U::rpm, 3, 2)},
      {"2, name", Version(2) + Name("Upm") + Index(99) + kFields + kOne + kZero,
       CMeasuringUnit(U::rpm, 3, 2)},
      {"12", Version(12) + Name("V") + Index(12) + kFields + kOne + kZero, CMeasuringUnit(U::volt, 3, 2)},
      {"1, dB", Version(1) + Name("V") + Index(12) + kFields + kOne, CMeasuringUnit(U::volt, 3, 2, 1, 1)},
      {"1", Version(1) + Name("V") + Index(12) + kFields + kZero, CMeasuringUnit(U::volt, 3, 2, 0)},
      {"0", kNul + Name("\xB0") + kFields + kOne, CMeasuringUnit(U::degree, 3, 2, 1, 1)},
      {"0, no unit", kNul + kNul + kFields + kOne, CMeasuringUnit()},
  };
  const LogCapture silence;
  for (const auto& c : cases) {
    CMemFile file = FileOf(c.bytes + "next");
    CMeasuringUnit unit(U::watt);
    EXPECT_TRUE(unit.ReadFromFile(file)) << c.version;
    EXPECT_TRUE(unit == c.unit) << c.version;
    EXPECT_EQ(file.Remaining(), 4u) << c.version;
    for (std::size_t n = 0; n < c.bytes.size(); ++n) {
      CMemFile cut = FileOf(c.bytes.substr(0, n));
      unit = CMeasuringUnit(U::watt);
      EXPECT_FALSE(unit.ReadFromFile(cut)) << c.version << " cut at " << n;
      EXPECT_TRUE(unit == CMeasuringUnit(n == 0 ? U::watt : U::none)) << c.version << " cut at " << n;
    }
  }
  CMemFile written;
  EXPECT_TRUE(cases[0].unit.WriteToFile(written));
  EXPECT_EQ(BytesOf(written), cases[0].bytes);
  CFile closed;
  EXPECT_FALSE(cases[0].unit.WriteToFile(closed));
  CMemFile thirteen = FileOf(Version(13) + cases[0].bytes.substr(1));
  CMeasuringUnit unit(U::watt);
  EXPECT_FALSE(unit.ReadFromFile(thirteen));
  EXPECT_TRUE(unit == U::watt);
}

TEST(UnitFile, UncommonNamesAreRegisteredForTheOneLookup) {
  LogCapture log;
  const std::string fields = Index(200) + kFields + kOne + kZero;
  const struct {
    std::string bytes;
    const wchar_t* name;
    std::size_t messages;
  } cases[] = {{Version(2) + Name("smoot") + fields, L"smoot", 1},
               {kNul + Name(std::string("fathom\0x", 8)) + kFields + kOne, L"fathom", 0},
               {Version(2) + Name("") + fields, L"-", 1}};
  CMeasuringUnit unit;
  for (const auto& c : cases) {
    CMemFile file = FileOf(c.bytes);
    EXPECT_TRUE(unit.ReadFromFile(file));
    EXPECT_EQ(unit.baseunit(), c.name);
    EXPECT_THAT(log.Take(), SizeIs(c.messages));
    EXPECT_FALSE(U::registerUncommonUnits());
  }
  U::registerUncommonUnits(true);
  const CMeasuringUnit longName(std::wstring(300, L'q'));
  U::registerUncommonUnits(false);
  CMemFile written;
  EXPECT_TRUE(longName.WriteToFile(written));
  EXPECT_EQ(BytesOf(written).substr(0, 257), Version(2) + "\xFF" + std::string(255, 'q'));
  EXPECT_THAT(written.Bytes(), SizeIs(2 + 255 + 16));
}

}  // namespace
