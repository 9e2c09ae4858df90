#include "support/Test.h"
#include "umlauf/keys/ClavisFilter.h"
#include "umlauf/keys/ClavisSet.h"
#include "umlauf/keys/MaskedClavis.h"
#include "umlauf/platform/tramsea/CResourceSea.h"

namespace {

CClavis RandomKey(std::mt19937& random, int most) {
  std::uniform_int_distribution<int> value(-1, most);
  CClavis key;
  for (int& field : key.Field()) field = value(random);
  return key;
}

TEST(MaskedClavis, OrderIsThatOfMasksThenOfMaskedFields) {
  const CClavis a(1, 2, 3, 4, 5, 6), b(1, 9, 3, 9, 9, 9);
  CMaskedClavis masked(a, 0b000101);
  masked = b;
  EXPECT_ALL(masked == CMaskedClavis(a, 0b000101), CMaskedClavis(b, 0b000001) < CMaskedClavis(a, 0b000100),
             CMaskedClavis(a, 0b100000) < CMaskedClavis(b, 0b100000),
             CMaskedClavis() == CMaskedClavis(CClavis(), 63));
  std::mt19937 random(3);
  for (int run = 0; run < 2000; ++run) {  // a strict order that agrees with equality
    const CMaskedClavis x(RandomKey(random, 0), random() % 4), y(RandomKey(random, 0), random() % 4);
    EXPECT_ALL((x < y) + (y < x) + (x == y) == 1, (x <= y) == !(y < x));
  }
}

TEST(MaskedClavis, SettingsEntryHoldsMaskAndMaskedFields) {
  CResourceSea sea(L":memory:");
  const CString path(L"mask");
  for (const int index : {3, 4, 7}) ASSERT_TRUE(sea.LookupSetInt(path, index, 1000 + index));
  EXPECT_EQ(CMaskedClavis(CClavis(1, 2, 3, 4, 5, 6), 0b100101).Write(path, sea), 4);
  EXPECT_THAT(sea.Values(path), ElementsAre(Pair(0, 0b100101), Pair(1, 1), Pair(2, 3), Pair(3, 6),
                                            Pair(4, 1004), Pair(7, 1007)));
  CMaskedClavis read;
  EXPECT_ALL(read.Read(path, sea) == 4, read.GetMask() == 0b100101u,
             read.Base() == CClavis(1, -1, 3, -1, -1, 6));
  ASSERT_TRUE(sea.LookupSetInt(path, 0, -62));  // cut to 0b000010
  for (const wchar_t* entry : {L"mask", L"missing"}) {
    EXPECT_ALL(read.Read(entry, sea) == 2, read.GetMask() == 0b000010u,
               read.Base() == CClavis(1, 1, 3, -1, -1, 6));
  }
  CResourceSea closed;
  EXPECT_EQ(read.Write(path, closed), 0);
}

TEST(ClavisFilter, RulesAgreeWithTheirTable) {
  struct Entry {
    CClavis pattern;
    bool flag;
  };
  const Entry is2{{-1, 2, -1, -1, -1, -1}, false}, not2{is2.pattern, true};
  const Entry two{{-1, 2, -1, -1, -1, 3}, false}, notTwo{two.pattern, true};
  const Entry any{{4, -1, -1, -1, -1, -1}, false}, anyFlag{any.pattern, true};
  const CClavis k2(-1, 2, -1, -1, -1, 3), k5(-1, 5, -1, -1, -1, 3), unset;
  const struct {
    std::vector<Entry> entries;
    CClavis key;
    bool some, all;
  } cases[] = {{{}, k5, true, true},
               {{is2}, k2, true, false},
               {{is2}, k5, false, true},
               {{not2}, k5, true, false},
               {{is2}, unset, false, false},  // nothing to compare
               {{any}, k2, false, false},
               {{anyFlag}, k2, false, false},
               {{two}, k5, true, true},  // sensor equal, instrument not
               {{notTwo}, k5, true, true},
               {{any, is2}, k2, true, false},
               {{is2, notTwo}, k2, true, false}};
  for (const auto& c : cases) {
    for (const bool anyMode : {true, false}) {
      CClavisFilter filter(3, anyMode);
      for (const Entry& entry : c.entries) filter.append(entry.pattern, entry.flag);
      const auto line = &c - cases;
      EXPECT_EQ(filter.Active(), !c.entries.empty());
      EXPECT_EQ(filter || c.key, c.some) << line;
      EXPECT_EQ(filter && c.key, c.all) << line;
      CClavis key = c.key;
      for (const int step : {-1, 3, 4}) {
        key.Mode() = step;
        EXPECT_EQ(filter.FilterMatch(key), step != 4 && (anyMode ? c.some : c.all)) << line << ' ' << step;
      }
      filter.SetMode(-1);
      EXPECT_EQ(filter.FilterMatch(key), anyMode ? c.some : c.all) << line;
    }
  }
}

TEST(ClavisSet, InsertionTakesUnsetFieldsOnlyWhenTold) {
  const CClavis key(1, 2, -1, 4, -1, 6);
  CClavisSet some, all;
  some.insert(key.Field(), false);
  all.insert(key.Field(), true);
  EXPECT_THAT(some[Clavis::qInstrument], ElementsAre(2));
  EXPECT_THAT(all[Clavis::qChannel], ElementsAre(-1));
  EXPECT_THAT(all.InstrParamSet(), ElementsAre(Pair(2, -1)));
  EXPECT_THAT(all.LocaChanSet(), ElementsAre(Pair(4, -1)));
  EXPECT_EQ(all.completeness_check(some).to_ulong(), 0u);
  EXPECT_EQ(some.completeness_check(all).to_ulong(), 0b11010100u);
  for (const unsigned kind : {6u, UINT_MAX}) EXPECT_FALSE(all.contains(kind, -1)) << kind;
  all.clear();
  EXPECT_TRUE(CClavisSet::CheckForCompleteness(CClavisSet(), all));
}

/// A set out of a few random keys and pairs over -1...2.
CClavisSet RandomSet(std::mt19937& random) {
  CClavisSet set;
  for (auto n = random() % 3; n > 0; --n) set.insert(RandomKey(random, 2).Field(), random() % 2 == 0);
  const CClavis key = RandomKey(random, 2);
  set.insertInstrPar(key[0], key[1]);
  set.insertLocaChan(key[2], key[3]);
  return set;
}

TEST(ClavisSet, OneKindHoldsAllValues) {
  CClavisSet set;
  set.insertElement(Clavis::qChannel, Clavis::notSet);
  set.insertElement(Clavis::qSensor, 4);
  set.insertElement(Clavis::fieldCount, 4);  // no field of a key
  EXPECT_ALL(set.contains(Clavis::qChannel, 17), set.contains(Clavis::qSensor, 4),
             !set.contains(Clavis::qSensor, 17), !set.contains(Clavis::qLocation, 17));
}

TEST(ClavisSet, OperationsAgreeWithContainmentOfEveryValue) {
  std::mt19937 random(4);
  for (int run = 0; run < 500; ++run) {
    const CClavisSet a = RandomSet(random), b = RandomSet(random);
    CClavisSet both = a, either = a;
    both &= b;
    either |= b;
    for (int i = 0; i <= 3; ++i) {  // 3 occurs in no set: only "all" holds it
      for (int j = 0; j <= 3; ++j) {
        const auto kind = static_cast<unsigned>(j);
        EXPECT_EQ(both.contains(kind, i), a.contains(kind, i) && b.contains(kind, i));
        EXPECT_EQ(either.contains(kind, i), a.contains(kind, i) || b.contains(kind, i));
        EXPECT_EQ(both.containsInstrPar(i, j), a.containsInstrPar(i, j) && b.containsInstrPar(i, j));
        EXPECT_EQ(either.containsLocaChan(i, j), a.containsLocaChan(i, j) || b.containsLocaChan(i, j));
      }
    }
    EXPECT_TRUE(CClavisSet::CheckForCompleteness(either, a));
    EXPECT_ALL(CClavisSet::CheckForCompleteness(a, both), CClavisSet::CheckForCompleteness(b, both));

    const CClavis key = RandomKey(random, 2);
    CClavisSet one, with = a;
    one += key.Field();
    with += key.Field();
    EXPECT_ALL((with && key.Field()), (a && key.Field()) == CClavisSet::CheckForCompleteness(a, one));
    with -= key.Field();
    EXPECT_TRUE(CClavisSet::CheckForCompleteness(a, with));
    one -= key.Field();
    EXPECT_TRUE(CClavisSet::CheckForCompleteness(CClavisSet(), one));
  }
}

}  // namespace
