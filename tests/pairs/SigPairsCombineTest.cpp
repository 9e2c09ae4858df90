#include "pairs/PlainPairs.h"
#include "support/Test.h"

namespace {

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
    const float tolerances[] = {-101, -100, -99, -30, -1, 0, 0.1f, 0.5f, kInf};
    const float tolerance = tolerances[random.Below(9)];
    const int operation = static_cast<int>(random.Below(13));
    CSigPairs own = Pairs(a);
    own.PunktgleichheitToleranz(tolerance);
    own.Verrechnen(Pairs(b), operation);
    const Points expected = plain::Combine(a, b, operation, tolerance);
    ASSERT_EQ(PointsOf(own), expected) << "round " << round << ", operation " << operation;
    EXPECT_ALL(own.IstSortiert(), own.XLen() == expected.size());
    combined += expected.size();
  }
  EXPECT_GT(combined, 100000u);
}

TEST(SigPairsCombine, OperatorsOnSharedGrids) {
  const CSigPairs a = Pairs({{0, 6}, {1, 8}, {2, 3}});
  const CSigPairs b = Pairs({{0, 2}, {1, 0}, {2, 3}});
  EXPECT_THAT(ValuesOf(a + b), ElementsAre(8, 8, 6));
  EXPECT_THAT(ValuesOf(a - b), ElementsAre(4, 8, 0));
  EXPECT_THAT(ValuesOf(a * b), ElementsAre(12, 0, 9));
  EXPECT_THAT(ValuesOf(a / b), ElementsAre(3, 0, 1));
  EXPECT_THAT(ValuesOf(CSigPairs(a).AddSquared(b)), ElementsAre(10, 8, 12));
  EXPECT_THAT(ValuesOf(CSigPairs(a).SubtractSquared(b)), ElementsAre(2, 8, -6));
  EXPECT_THAT(ValuesOf(Combined(a, b, 77)), ElementsAre(6, 8, 3));
  EXPECT_THAT(ValuesOf((((CSigPairs(a) += b) *= b) /= b) -= b), ElementsAre(6, 0, 3));
  CSigPairs self = a;
  self += self;
  EXPECT_THAT(ValuesOf(self), ElementsAre(12, 16, 6));
}

TEST(SigPairsCombine, UnionHoldsBothGridsAndTheOthersValuesOutside) {
  const CSigPairs a = Pairs({{10, 0}, {20, 10}});
  const CSigPairs b = Pairs({{0, 7}, {15, 9}, {20.2f, 9}, {30, 8}});
  const Points either{{0, 7}, {10, 0}, {15, 5}, {20, 10}, {30, 8}};
  EXPECT_ALL(PointsOf(a | b) == either, PointsOf(CSigPairs(a) |= b) == either);
  const Points both{{10, 0}, {15, 5}, {20, 10}};
  EXPECT_ALL(PointsOf(a & b) == both, PointsOf(CSigPairs(a) &= b) == both);
  EXPECT_THAT(ValuesOf(Combined(a, b, CSigPairs::gitter_vereinigen)), ElementsAre(0, 0, 0, 10, 0));
}

TEST(SigPairsCombine, SinglePointThatOnlyDescendsEmptiesTheOther) {
  const CSigPairs a = Pairs({{1, 1}, {2, 2}});
  CSigPairs descending = Pairs({{1.5f, 9}});
  EXPECT_ALL(descending.PruefeInverseSortierung(), !(a | descending).Gueltig(),
             (descending | a).IstSortiert());
}

TEST(SigPairsCombine, Comparisons) {
  const CSigPairs low = Pairs({{0, 1}, {1, 1}});
  const CSigPairs high = Pairs({{0, 2}, {1, 1}});
  const CSigPairs far = Pairs({{5, 2}, {6, 9}});
  EXPECT_ALL(low<high, high> low, !(low > high), !(high < low), low<low, low> low, low<far, far> low,
             !(high < far), !(CSigPairs() < far), !(far > CSigPairs()));
  // The own y of an index goes with the merged grid's x: own values 1, 9 at merged x = 0, 0.5.
  EXPECT_FALSE(Pairs({{0, 1}, {1, 9}}) < Pairs({{0, 1}, {0.5f, 6}, {1, 9}}));
  CSigCurve curve(2);
  curve = 3.0f;
  EXPECT_ALL(Pairs({{0, 1}, {0.5f, 3}}) < curve, !(Pairs({{0, 1}, {0.5f, 3}}) > curve));
}

}  // namespace
