#include "umlauf/keys/Clavis.h"

#include <iomanip>
#include <locale>
#include <sstream>

#include "support/Process.h"
#include "support/Test.h"
#include "umlauf/platform/tramsea/CResourceSea.h"
#include "umlauf/platform/tramsea/CSeaBase.h"

namespace {

/// Writes numbers as nobody else reads them: "1.000".
struct GroupDigits : std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(Clavis, OrderIsThatOfTheFieldsAsSignedNumbers) {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> value(-1, 1);
  for (int run = 0; run < 2000; ++run) {
    std::array<std::array<int, 6>, 2> f{};
    for (auto& fields : f) {
      for (int& field : fields) field = value(random);
    }
    const CClavis a(f[0][0], f[0][1], f[0][2], f[0][3], f[0][4], f[0][5]);
    CClavis b(f[1][0], f[1][1], f[1][2], f[1][3], f[1][4], f[1][5]);
    const CClavisPODOwnerInterface holder(b.Base());
    EXPECT_ALL((a < b) == (f[0] < f[1]), (a >= holder) == (f[0] >= f[1]), (a != holder) == (f[0] != f[1]));
  }
}

TEST(Clavis, FieldsAreReachedByNameNumberAndKind) {
  CClavis key(10, 11, 12, 13, 14, 15);
  CClavisPODOwner owner(key);
  const std::array byName{owner.Mode(),     owner.Instrument(), owner[Clavis::qChannel],
                          owner.Location(), owner.InstrParam(), owner.Sensor()};
  for (int i = 0; i < Clavis::fieldCount; ++i) {
    EXPECT_ALL(byName[static_cast<std::size_t>(i)] == 10 + i, key[i] == 10 + i,
               &key[static_cast<Clavis::qOrder>(i)] == &key.Field()[i]);
  }
}

TEST(Clavis, CombinationFillsFieldsThatAreNotSet) {
  CClavis key(-1, 2, -1, 0, -1, -1);
  key += CClavis(7, 8, 9, 10, -1, 11);
  EXPECT_EQ(key, CClavis(7, 2, 9, 0, -1, 11));
}

TEST(Clavis, TextRoundTripsWhateverTheStreamIsSetTo) {
  std::ostringstream out;
  out.imbue(std::locale(std::locale::classic(), new GroupDigits));
  out << std::hex << std::showpos << CClavis(1, 2, 3, -1, -1, 7);
  EXPECT_EQ(out.str(), "1 2 3 -1 -1 7");
  const CClavis key(INT_MIN, INT_MAX, 0, 1000000, -1, 99);
  std::wstringstream text;
  text << key << L'\n' << CClavis();
  CClavis first, second(key);
  EXPECT_ALL((text >> first >> second), first == key, second == CClavis());
}

TEST(Clavis, AWidthIsThatOfTheWholeKey) {
  const CClavis key(1, 2, 3, -1, -1, 7);
  std::ostringstream out;
  std::wostringstream wide;
  out << std::setw(18) << std::setfill('.') << key << 5;
  wide << std::left << std::setw(16) << key << L'|';
  EXPECT_EQ(out.str(), ".....1 2 3 -1 -1 75");
  EXPECT_TRUE(wide.str() == L"1 2 3 -1 -1 7   |");
}

TEST(Clavis, MalformedTextFailsTheStreamAndKeepsTheKey) {
  for (const char* bad : {"", "1 2 3 4 5", "1 2 x 4 5 6", "1 2 3 4 5 -", "1 2 3 4 5 2147483648",
                          "-2147483649 2 3 4 5 6", "99999999999999999999999999 2 3 4 5 6", "1,2,3,4,5,6"}) {
    std::istringstream in(bad);
    CClavis key(9, 9, 9, 9, 9, 9);
    EXPECT_FALSE(in >> key) << bad;
    EXPECT_EQ(key, CClavis(9, 9, 9, 9, 9, 9)) << bad;
  }
  std::istringstream in("\n +1\t02 00000000000000000003 4 5 6, 8");
  CClavis key;
  EXPECT_ALL((in >> key), key == CClavis(1, 2, 3, 4, 5, 6), in.get() == ',');
}

TEST(Clavis, SettingsEntryHoldsTheFieldsByIndex) {
  SetEnvironment("UMLAUF_SETTINGS", ":memory:");  // the user's settings stay out of it
  CResourceSea& sea = CSeaBase::ApplicationSea();
  ASSERT_EQ(sea.Path(), L":memory:");
  const CClavis key(1, -1, 3, 4, 5, INT_MIN);
  ASSERT_TRUE(key.WriteSea(L"keys/written"));
  CClavis read;
  EXPECT_ALL(read.ReadSea(L"keys/written"), read == key, !read.ReadSea(L"keys/missing"), read == key);
  ASSERT_TRUE(sea.LookupSetInt(L"keys/partly", 2, 77));
  EXPECT_ALL(read.ReadSea(L"keys/partly"), read == CClavis(1, -1, 77, 4, 5, INT_MIN));
  for (const int missing : {-1, 0, 6, INT_MAX})
    EXPECT_FALSE(read.SeaLookup(missing, L"keys/partly", sea)) << missing;
  CClavis fresh;
  EXPECT_ALL(fresh.SeaLookup(2, L"keys/partly", sea), fresh == CClavis(-1, -1, 77, -1, -1, -1));
}

}  // namespace
