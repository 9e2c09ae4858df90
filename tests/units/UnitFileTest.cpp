#include "support/LogCapture.h"
#include "support/Test.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/units/MeasuringUnit.h"

namespace {

using testing::SizeIs;
using U = CMeasuringUnit;

CMemFile FileOf(const std::string& bytes) { return CMemFile(std::as_bytes(std::span(bytes))); }

std::string BytesOf(const U& unit) {
  CMemFile file;
  EXPECT_TRUE(unit.WriteToFile(file));
  return {reinterpret_cast<const char*>(file.Bytes().data()), file.Bytes().size()};
}

// Little-endian fields of a record.
std::string Start(int version, const std::string& name) {
  return std::string{static_cast<char>(version), static_cast<char>(name.size())} + name;
}
std::string Index(unsigned char index) { return std::string{static_cast<char>(index), 0, 0, 0}; }
const std::string kFields("\3\0\2\0", 4);  // exponent 3, power 2
const std::string kOne("\0\0\x80\x3F", 4);
const std::string kZero(4, '\0');

TEST(UnitFile, GoldenRecordsAreReadWhateverTheirVersionAndRefusedWhenCut) {
  const struct {
    std::string bytes;
    U unit;
  } cases[] = {
      {Start(2, "\xB0") + Index(19) + kFields + kOne + Index(2), U(U::degree, 3, 2, 1, 2)},
      {Start(2, "V") + Index(9) + kFields + kOne + kZero, U(U::rpm, 3, 2)},  // the index goes before the name
      {Start(2, "Upm") + Index(99) + kFields + kOne + kZero, U(U::rpm, 3, 2)},  // unless it is uncommon
      {Start(12, "V") + Index(12) + kFields + kOne + kZero, U(U::volt, 3, 2)},
      {Start(1, "V") + Index(12) + kFields + kOne, U(U::volt, 3, 2, 1, U::flag_db)},
      {Start(1, "V") + Index(12) + kFields + kZero, U(U::volt, 3, 2, 0)},
      {Start(0, "\xB0") + kFields + kOne, U(U::degree, 3, 2, 1, U::flag_db)},
      {Start(0, "") + kFields + kOne, U()},
  };
  const LogCapture silence;
  for (const auto& c : cases) {
    const std::string what =
        "version " + std::to_string(c.bytes[0]) + ", " + c.unit.prefixunit(true).ToUtf8();
    for (std::size_t n = 0; n <= c.bytes.size(); ++n) {
      const bool whole = n == c.bytes.size();
      CMemFile file = FileOf(c.bytes.substr(0, n) + (whole ? "next" : ""));
      U unit(U::watt);
      EXPECT_EQ(unit.ReadFromFile(file), whole) << what << " cut at " << n;
      EXPECT_TRUE(unit == (whole ? c.unit : U(n == 0 ? U::watt : U::none))) << what << " cut at " << n;
      EXPECT_TRUE(!whole || file.Remaining() == 4) << what;
    }
  }
  EXPECT_EQ(BytesOf(cases[0].unit), cases[0].bytes);
  CFile closed;
  EXPECT_FALSE(U().WriteToFile(closed));
  CMemFile thirteen = FileOf(Start(13, "V") + cases[3].bytes.substr(3));
  U unit(U::watt);
  EXPECT_ALL(!unit.ReadFromFile(thirteen), unit == U::watt);
}

TEST(UnitFile, UncommonNamesAreRegisteredForTheOneLookup) {
  LogCapture log;
  const std::string fields = Index(200) + kFields + kOne + kZero;
  const Cases<std::string, const wchar_t*, std::size_t> cases = {
      {Start(2, "smoot") + fields, L"smoot", 1},
      {Start(0, std::string("fathom\0x", 8)) + kFields + kOne, L"fathom", 0},
      {Start(2, "") + fields, L"-", 1}};
  for (const auto& [bytes, name, messages] : cases) {
    U unit;
    CMemFile file = FileOf(bytes);
    EXPECT_ALL(unit.ReadFromFile(file), !U::registerUncommonUnits(), unit.baseunit() == name);
    EXPECT_THAT(log.Take(), SizeIs(messages));
  }
  U::registerUncommonUnits(true);
  const std::string longName = BytesOf(U(std::wstring(300, L'q')));
  U::registerUncommonUnits(false);
  EXPECT_EQ(longName.substr(0, 257), Start(2, std::string(255, 'q')));
  EXPECT_THAT(longName, SizeIs(2 + 255 + 16));
}

}  // namespace
