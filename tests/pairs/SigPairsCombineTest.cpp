#include <cstring>
#include <limits>

#include "pairs/PlainPairs.h"

namespace {

using testing::ElementsAre;

constexpr float kInf = std::numeric_limits<float>::infinity();

CSigPairs Combined(const CSigPairs& a, const CSigPairs& b, int operation) {
  CSigPairs result(a);
  result.Verrechnen(b, operation);
  return result;
}

TEST(SigPairsCombine, EqualsThePlainRulesOnRandomSignals) {
  RandomPoints random(31);
  std::size_t combined = 0;
  for (int round = 0; round < 20000; ++round) {
    const auto grid = static_cast<unsigned>(2 + random.Below(20));
    const Points a = random.Make(random.Below(14), grid);
    const Points b = random.Make(random.Below(14), grid);
    const float percents[] = {0, 5, 30, 100, 99, 1};
    const float percent = percents[random.Below(6)];
    const int operation = static_cast<int>(random.Below(13));
    CSigPairs own = Pairs(a);
    if (percent == 5) {
      own.PunktgleichheitAutoToleranz();
    } else {
      own.PunktgleichheitToleranzP(percent);
    }
    const CSigPairs other = Pairs(b);
    own.Verrechnen(other, operation);
    const Points expected = plain::Combine(a, b, operation, percent);
    ASSERT_EQ(PointsOf(own), expected) << "round " << round << ", operation " << operation;
    EXPECT_TRUE(own.IstSortiert());
    EXPECT_EQ(own.XLen(), expected.size());
    combined += expected.size();
  }
  EXPECT_GT(combined, 100000u);
}

TEST(SigPairsCombine, OperatorsOnSharedGrids) {
  const CSigPairs a = Pairs({{0, 6}, {1, 8}, {2, 3}});
  const CSigPairs b = Pairs({{0, 2}, {1, 0}, {2, 3}});
  const auto values = [](const CSigPairs& s) { return std::vector<float>(s.Werte(), s.WerteEnd()); };
  EXPECT_THAT(values(a + b), ElementsAre(8, 8, 6));
  EXPECT_THAT(values(a - b), ElementsAre(4, 8, 0));
  EXPECT_THAT(values(a * b), ElementsAre(12, 0, 9));
  EXPECT_THAT(values(a / b), ElementsAre(3, 0, 1));
  EXPECT_THAT(values(a | b), ElementsAre(6, 8, 3));
  EXPECT_THAT(values(a & b), ElementsAre(6, 8, 3));
  EXPECT_THAT(values(CSigPairs(a).AddSquared(b)), ElementsAre(10, 8, 12));
  EXPECT_THAT(values(CSigPairs(a).SubtractSquared(b)), ElementsAre(2, 8, -6));
  EXPECT_THAT(values(Combined(a, b, 9)), ElementsAre(2, 0, 3));
  EXPECT_THAT(values(Combined(a, b, 8)), ElementsAre(6, 8, 3));
  EXPECT_THAT(values(Combined(a, b, 77)), ElementsAre(6, 8, 3));
  EXPECT_THAT(values((CSigPairs(a) += b) -= b), ElementsAre(6, 8, 3));
  CSigPairs self = a;
  self += self;
  EXPECT_THAT(values(self), ElementsAre(12, 16, 6));
}

TEST(SigPairsCombine, UnionHoldsBothGridsAndTheOthersValuesOutside) {
  const CSigPairs a = Pairs({{10, 0}, {20, 10}});
  const CSigPairs b = Pairs({{0, 7}, {15, 9}, {20.2f, 9}, {30, 8}});
  EXPECT_THAT(PointsOf(a | b),
              ElementsAre(SPunkt{0, 7}, SPunkt{10, 0}, SPunkt{15, 5}, SPunkt{20, 10}, SPunkt{30, 8}));
  EXPECT_THAT(PointsOf(Combined(a, b, 12)),
              ElementsAre(SPunkt{0, 0}, SPunkt{10, 0}, SPunkt{15, 0}, SPunkt{20, 10}, SPunkt{30, 0}));
  EXPECT_THAT(PointsOf(a + b),
              ElementsAre(SPunkt{10, 0 + 7 + 2.0f / 15 * 10}, SPunkt{15, 14}, SPunkt{20, 19}));
}

TEST(SigPairsCombine, SignalsThatDoNotMeetEmptyTheFirst) {
  const CSigPairs a = Pairs({{1, 1}, {2, 2}});
  CSigPairs descending = Pairs({{3, 9}});
  descending.PunkteSpiegeln().PunkteSpiegeln().PunkteSpiegeln() >> 4.5f;  // x = 1.5, not ascending
  for (int operation = 0; operation <= 12; ++operation) {
    EXPECT_FALSE(Combined(a, Pairs({{3, 1}, {4, 1}}), operation).Gueltig());
    EXPECT_FALSE(Combined(a, CSigPairs(), operation).Gueltig());
    EXPECT_FALSE(Combined(CSigPairs(), a, operation).Gueltig());
    EXPECT_FALSE(Combined(a, descending, operation).Gueltig());
    EXPECT_TRUE(Combined(descending, a, operation).IstSortiert());
  }
}

TEST(SigPairsCombine, InfiniteToleranceTakesAllPointsForOne) {
  CSigPairs a = Pairs({{0, 1}, {1, 2}});
  a.PunktgleichheitToleranz(kInf);
  const CSigPairs b = Pairs({{0.5f, 5}, {0.6f, 5}, {0.7f, 5}});
  // The third point finds no index left to look at.
  EXPECT_EQ((a + b).NPaare(), 3u);
}

TEST(SigPairsCombine, Comparisons) {
  const CSigPairs low = Pairs({{0, 1}, {1, 1}});
  const CSigPairs high = Pairs({{0, 2}, {1, 1}});
  const CSigPairs far = Pairs({{5, 2}, {6, 9}});
  EXPECT_TRUE(low < high && high > low);
  EXPECT_FALSE(low > high || high < low);
  EXPECT_TRUE(low < low && low > low);
  EXPECT_TRUE(low < far && far > low);
  EXPECT_FALSE(high < far);
  EXPECT_FALSE(CSigPairs() < far || far > CSigPairs());
  // The own y of an index goes with the merged grid's x: own values 1, 9 at merged x = 0, 0.5.
  EXPECT_FALSE(Pairs({{0, 1}, {1, 9}}) < Pairs({{0, 1}, {0.5f, 1}, {1, 9}}));
  CSigCurve curve(2);
  curve = 3.0f;
  EXPECT_TRUE(Pairs({{0, 1}, {0.5f, 3}}) < curve && !(Pairs({{0, 1}, {0.5f, 3}}) > curve));
}

}  // namespace
