#include "umlauf/pairs/SigPairsTm.h"

#include <type_traits>

#include "pairs/PlainPairs.h"
#include "support/Test.h"
#include "umlauf/platform/framework/CMemFile.h"

namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kStart = 1'700'000'000;

static_assert(!std::is_convertible_v<float, CTime> && std::is_convertible_v<int, CTime>);

TEST(CTime, ArithmeticSaturates) {
  EXPECT_ALL((CTime(kStart) + CTimeSpan(1, 2, 3, 4)).GetTime() == kStart + 93784,
             CTime(kMost) + 1 == CTime(kMost), CTime(kLeast) + -1 == CTime(kLeast),
             (CTime(kMost) - CTime(-1)).GetTotalSeconds() == kMost,
             (CTime(-2) - CTime(kMost)).GetTotalSeconds() == kLeast,
             TimeDifference(kLeast, kMost) == -18446744073709551615.0);
}

TEST(SigPairsTm, TimesAndPositions) {
  CSigPairsTm s;
  s.Neustart(kStart, kStart + kDay, 24);
  const std::pair<std::int64_t, float> cases[] = {{0, 0}, {kDay / 2, 12}, {kDay, 24}, {-kDay / 4, -6}};
  for (const auto& [seconds, x] : cases)
    EXPECT_ALL(s.Time2Float(kStart + seconds) == x, s.Float2Time(x) == CTime(kStart + seconds));
  EXPECT_EQ(s.Float2Time(1.0f / 3600 * 1.9f), CTime(kStart + 1));  // truncated toward zero
  EXPECT_ALL(s.Float2Time(-1.0f / 3600 * 1.9f) == CTime(kStart - 1), s.Float2Time(1e30f) == CTime(kMost),
             s.Float2Time(kNaN) == CTime(kLeast) + kStart);
  EXPECT_FLOAT_EQ(s.PunktgleichheitToleranz(), 0.5f / kDay);
  EXPECT_ALL(CSigPairsTm::Time2Float(15, 10, 20) == 0.5f, CSigPairsTm::Time2Float(15, 10, 10) == 0.0f,
             CSigPairsTm::Float2Time(0.55f, 10, 20) == CTime(15));
  s.Neustart(5, 3, -1);  // an inverted range, no scale
  EXPECT_ALL(s.Skalierung() == 1.0, s.PunktgleichheitToleranz() == 0.25f);
}

TEST(SigPairsTm, RangesOfAPowerOfTwoKeepWholeSeconds) {
  CSigPairsTm s;
  EXPECT_FALSE(s.NeustartSekundengenau(kStart, kStart - 1));
  EXPECT_FALSE(s.NeustartSekundengenau(kStart, kStart + (1 << 24) + 1));
  for (const std::int64_t length : {std::int64_t{0}, std::int64_t{1}, 40 * kDay, std::int64_t{1} << 24}) {
    ASSERT_TRUE(s.NeustartSekundengenau(kStart, kStart + length));
    EXPECT_GE(s.EndZeit(), CTime(kStart + length));
    for (std::int64_t i = 0; i <= 1000; ++i) {
      const CTime t(kStart + length * i / 1000);
      ASSERT_EQ(s.Float2Time(s.Time2Float(t)), t) << length;
    }
  }
}

TEST(SigPairsTm, RangeOfZeroLength) {
  CSigPairsTm s;
  s.Neustart(10, 10, 1);
  EXPECT_ALL(s.PunktgleichheitToleranz() == std::numeric_limits<float>::infinity(), !s.ZeitImBereich(10));
  s.NeuesPaar(10, 7);
  EXPECT_ALL(s.Point(0) == (SPunkt{0, 7}), s.ZeitImBereich(12345), s.WertBei(-5) == 7.0f);
  s.ZeitraumAendern(0, 20);
  EXPECT_EQ(s.Punkt(0), 0.5f);
  s.ZeitraumAendern(3, 3);
  EXPECT_EQ(s.Punkt(0), 0.0f);
}

TEST(SigPairsTm, NewPairsWidenTheRangeOntoZeroToOne) {
  CSigPairsTm s(4);
  s.Neustart(100, 200, 10);
  EXPECT_EQ(std::pair(s.ErsteZeit(), s.LetzteZeit()), std::pair(CTime(100), CTime(200)));
  s.NeuesPaar(150, 5);
  EXPECT_EQ(s.Punkt(0), 5.0f);
  EXPECT_EQ(s.NeuesPaar(0, 1), 0u);  // before the start
  EXPECT_EQ(s.StartZeit(), CTime(0));
  EXPECT_EQ(s.Punkt(1), 0.75f);  // re-mapped without the scale
  s.SkalierungAendern(1);        // which therefore goes the wrong way
  EXPECT_FLOAT_EQ(s.Punkt(1), 0.075f);
}

TEST(SigPairsTm, LookupByTime) {
  CSigPairsTm s;
  s.Neustart(100, 200, 1);
  s.NeuesPaar(150, 5);
  s.NeuesPaar(100, 1);
  EXPECT_ALL(s.NeuesPaar(300, 9) == 2u, s.Zeitpunkt(1) == CTime(150),
             std::pair(s.ErsteZeit(), s.LetzteZeit()) == std::pair(CTime(100), CTime(300)),
             s.IndexZu(160, CSigPairs::oberer) == 2u, s.ZeitImBereich(300), s.HatWertBei(152, CTimeSpan(3)),
             !s.ZeitImBereich(99), !s.HatWertBei(154, CTimeSpan(3)));
  for (const double scale : {0.0, -4.0, double{kNaN}, 4.0}) s.SkalierungAendern(scale);
  EXPECT_ALL(s.Punkt(2) == 4.0f, s.WertBei(225) == 7.0f);
  EXPECT_FALSE(s.HatWertBei(152, CTimeSpan(3)));  // the tolerance knows no scale
}

TEST(SigPairsTm, CopiesStartWithoutTimeAssignmentTakesIt) {
  const std::unique_ptr<CObject> object(CSigPairsTm::GetThisClass()->CreateObject());
  auto& assigned = dynamic_cast<CSigPairsTm&>(*object);
  CSigPairsTm s;
  s.Neustart(100, 200, 2);
  s.NeuesPaar(150, 5);
  const CSigPairsTm copy(s);
  EXPECT_ALL(copy.EndZeit() == CTime(0), copy.Skalierung() == 1.0, PointsOf(copy) == PointsOf(s));
  assigned = s;
  EXPECT_EQ(assigned.WertBei(150), 5.0f);
  assigned = Pairs({{1, 1}});
  CMemFile file;
  s.WriteToFile(file, 2);
  file.Seek(0, CFile::begin);
  ASSERT_TRUE(assigned.ReadFromFile(file, 2));
  EXPECT_EQ(PointsOf(assigned), PointsOf(s));
  EXPECT_EQ(assigned.EndZeit(), CTime(200));  // neither in plain pairs nor in the record
}

}  // namespace
