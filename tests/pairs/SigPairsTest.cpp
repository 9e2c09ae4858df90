#include "umlauf/pairs/SigPairs.h"

#include <array>
#include <limits>
#include <memory>

#include "pairs/PlainPairs.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

using testing::ElementsAre;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr std::size_t kNone = CSigPairs::KeinPunkt;

std::pair<bool, bool> Order(const CSigPairs& s) { return {s.IstSortiert(), s.IstInversSortiert()}; }
const std::pair kBoth{true, true}, kUp{true, false}, kDown{false, true}, kNeither{false, false};

const Points kHill{{0, 0}, {1, 10}, {2, 20}, {4, 0}};

TEST(SigPairs, StorageAndHeader) {
  const std::unique_ptr<CObject> object(CSigPairs::GetThisClass()->CreateObject());
  const auto& fresh = dynamic_cast<CSigPairs&>(*object);
  EXPECT_TRUE(fresh.IsSigPairs());
  EXPECT_EQ(fresh.PunktgleichheitToleranz(), -101.0f);
  EXPECT_EQ(fresh.Werte(), fresh.WerteEnd());
  CSigPairs s(3);
  EXPECT_FALSE(s.Gueltig() || s.SetzeGueltig(4));
  EXPECT_TRUE(s.SetzeGueltig(3) && s.DLen() == 3);
  s.Setzen(2, 5, 6);
  EXPECT_TRUE(s.Resize(5));
  EXPECT_THAT(PointsOf(s), ElementsAre(SPunkt{0, 0}, SPunkt{0, 0}, SPunkt{5, 6}, SPunkt{0, 0}, SPunkt{0, 0}));
  EXPECT_FALSE(s.Resize(UINT64_MAX) || s.Resize(UINT64_MAX / 2 + 3));
  EXPECT_EQ(s.Wert(2), 6.0f);
  EXPECT_EQ(std::vector<float>(s.Werte(), s.WerteEnd()), (std::vector<float>{0, 0, 6, 0, 0}));
  EXPECT_EQ(s.ValArray().sum(), 6.0f);
  s.Nummer() = 0x00057FFF;
  EXPECT_EQ(s.NummerOH(), 5);
  s.SetzeNummerOH(-2);
  EXPECT_EQ(s.Nummer(), static_cast<LONG>(0xFFFE7FFF));
  s.NummerOH_Neu();
  EXPECT_EQ(s.Nummer(), 0x7FFF);
  s.CSignal::Free();  // knows nothing of pairs
  EXPECT_EQ(s.NPaare(), 0u);
  EXPECT_EQ(s.WertBei(1), 0.0f);
  s.NeuesPaar(1, 2);
  s.CSigRaw::Malloc(100);
  EXPECT_LE(s.NPaare(), 50u);
  EXPECT_FALSE(s.NeueGroesse(SIZE_MAX));
  EXPECT_FALSE(s.Gueltig());
  EXPECT_EQ(CSigPairs(SIZE_MAX / 4).NPaare(), 0u);
}

TEST(SigPairs, CopiesCarryPointsAndFieldsAssignmentAlsoUnits) {
  CSigPairs source = Pairs({{3, 1}, {2, 5}, {1, 9}});
  source.SetName(L"a");
  source.SetXUnit(L"s");
  source.Parameter() = 2.5f;
  source.Nummer() = 7;
  source.PunktgleichheitToleranzP(20);
  CSigPairs assigned(50);
  assigned = source;
  EXPECT_EQ(assigned.XUnit().prefixstring(), L"s");
  const CSigPairs copy(source);
  EXPECT_TRUE(copy.XUnit().empty());
  for (const CSigPairs* c : {&copy, static_cast<const CSigPairs*>(&assigned)}) {
    EXPECT_EQ(PointsOf(*c), PointsOf(source));
    EXPECT_EQ(Order(*c), kDown);
    EXPECT_EQ(std::tuple(c->Parameter(), c->Nummer(), c->PunktgleichheitToleranz(), c->XLen()),
              std::tuple(2.5f, 7, -20.0f, 3u));
    EXPECT_STREQ(c->Name(), L"a");
  }
  assigned.InitHeader();
  EXPECT_TRUE(!assigned.Gueltig() && assigned.Nummer() == 0 && *assigned.Name() == L'\0');
}

TEST(SigPairs, FromCurvesAndBack) {
  CSigCurveExt curve(4);
  curve.SetXMinMax(-1, 1);
  for (std::size_t i = 0; i < 4; ++i) curve.SetAt(i, static_cast<float>(i * i));
  curve.SetName(L"c");
  curve.SetYUnit(L"V");
  const CSigPairs all(static_cast<const CSigCurve&>(curve));
  EXPECT_THAT(PointsOf(all), ElementsAre(SPunkt{-1, 0}, SPunkt{-0.5f, 1}, SPunkt{0, 4}, SPunkt{0.5f, 9}));
  EXPECT_TRUE(Order(all) == kUp && all.YUnit().prefixstring() == L"V");
  CSigCurveExt back;
  ASSERT_TRUE(all.KurveBilden(&back, 0));
  EXPECT_TRUE(back.FitTogether(&curve));
  EXPECT_EQ(PointsOf(CSigPairs(back)), PointsOf(all));
  EXPECT_TRUE(back.IMax() == 3 && *back.Name() == L'c');
  ASSERT_TRUE(all.KurveBilden(&back, 7));
  EXPECT_EQ(std::pair(back.FData()[1], back.FData()[6]), std::pair(0.5f, 9.0f));
  curve.SetVIMinMax(1, 2);
  EXPECT_THAT(PointsOf(CSigPairs(curve)), ElementsAre(SPunkt{-0.5f, 1}, SPunkt{0, 4}));
  curve.Invalidate();
  EXPECT_FALSE(CSigPairs(curve).Gueltig());
  EXPECT_FALSE(Pairs({{0, 0}, {2, 0}, {1, 0}}).KurveBilden(&back, 3));
  EXPECT_EQ(back.DLen(), 7u);
  curve.SetXMinMax(1, -1);
  curve.ResetVMinMax();
  EXPECT_EQ(Order(CSigPairs(curve)), kDown);
  float x = 0;
  curve.SetXMinMax(0, 4);
  curve.ResetVMinMax();
  EXPECT_EQ(Pairs({{1, 4}, {3, 9}, {9, 99}}).MaxKurvenAbstand(&curve, &x, true), 3.0f);
  EXPECT_EQ(x, 1.0f);
  EXPECT_EQ(Pairs({{1, 4}, {9, 99}}).MaxKurvenAbstand(&curve, &x, false), 90.0f);
}

TEST(SigPairs, BuildingKeepsTheOrderKnown) {
  const struct {
    Points points;
    std::pair<bool, bool> order;
  } cases[] = {{{}, kBoth},
               {{{1, 0}}, kBoth},
               {{{1, 0}, {1, 3}}, kBoth},
               {{{1, 0}, {2, 0}, {2, 1}}, kUp},
               {{{2, 0}, {1, 0}}, kDown},
               {{{1, 0}, {2, 0}, {1, 0}}, kNeither}};
  for (const auto& c : cases) {
    CSigPairs s = Pairs(c.points);
    EXPECT_EQ(Order(s), c.order);
    s.PruefeSortierung();
    EXPECT_EQ(Order(s), c.order);
    CSigPairs joined = Pairs({{1, 7}});
    joined.Append(s).PunkteEntfernen(0, 1);
    EXPECT_EQ(PointsOf(joined), c.points);
  }
  RandomPoints random(5);
  for (int round = 0; round < 3000; ++round) {
    CSigPairs s = Pairs(random.Make(random.Below(7), 3));
    if (round % 3 == 0) s.DatenSortieren(true);
    if (round % 6 == 0) s.DatenWenden();
    const Points p = random.Make(3, 3);
    Points before = PointsOf(s);
    const auto [up, down] = Order(s);
    std::size_t i = s.NeuesPaarEinsortieren(p[0].x, p[0].y);
    EXPECT_EQ(s.Point(i), p[0]);
    if (up) {
      plain::Insert(before, p[0]);
      EXPECT_EQ(PointsOf(s), before);
    }
    const std::size_t changed = random.Below(s.NPaare());
    i = s.Aendern(changed, p[1].x, p[1].y);
    EXPECT_EQ(s.Point(i), p[1]);
    EXPECT_EQ(s.Aendern(s.NPaare(), 0, 0), kNone);
    s.Append(Pairs({p[2]}));
    const auto claimed = Order(s);
    s.PruefeSortierung();
    EXPECT_TRUE(claimed.first <= s.IstSortiert() && claimed.second <= s.IstInversSortiert()) << round;
  }
  CSigPairs s = Pairs(kHill);
  s.Append(s);
  EXPECT_TRUE(s.NPaare() == 8 && Order(s) == kNeither);
  s.PunkteEntfernen(4, 99);
  s.PunktEntfernen(4);
  EXPECT_EQ(PointsOf(s), kHill);
  s.PunkteEntfernen(0, SIZE_MAX);
  EXPECT_EQ(Order(s), kBoth);
}

TEST(SigPairs, SectionsReplaceThePoints) {
  const CSigPairs source = Pairs(kHill);
  CSigPairs s = Pairs({{9, 9}});
  s.SetName(L"mine");
  EXPECT_EQ(s.AbschnittKopieren(source, 0.5f, 2), 2u);
  EXPECT_THAT(PointsOf(s), ElementsAre(kHill[1], kHill[2]));
  EXPECT_STREQ(s.Name(), L"mine");
  EXPECT_EQ(s.AbschnittKopierenIdx(source, 2, 99), 2u);
  EXPECT_EQ(Order(s), kUp);
  EXPECT_EQ(s.AbschnittKopieren(s, 3, 5), 1u);
  EXPECT_THAT(PointsOf(s), ElementsAre(kHill[3]));
  EXPECT_EQ(s.AbschnittKopieren(source, 2, kNaN), 0u);
  EXPECT_EQ(s.AbschnittKopierenIdx(source, 4, 9), 0u);
  EXPECT_EQ(Order(s), kBoth);
}

TEST(SigPairs, LookupInAllOrders) {
  const CSigPairs up = Pairs(kHill);
  CSigPairs down = up;
  down.DatenWenden();
  const CSigPairs mixed = Pairs({kHill[2], kHill[0], kHill[3], kHill[1]});
  const struct {
    float x, y;
    std::array<std::size_t, 7>
        index;  // lower, higher, nearest; likewise of descending data; of unsorted data
  } cases[] = {{-1, 0, {0, 0, 0, 3, 3, 3, 1}},       {0, 0, {0, 0, 0, 3, 3, 3, 1}},
               {0.25f, 2.5f, {0, 1, 0, 3, 2, 3, 1}}, {1, 10, {1, 1, 1, 2, 2, 2, 3}},
               {1.5f, 15, {1, 2, 2, 2, 1, 2, 0}},    {3, 10, {2, 3, 3, 1, 0, 1, 0}},
               {4, 0, {3, 3, 3, 0, 0, 0, 2}},        {9, 0, {3, 3, 3, 0, 0, 0, 2}}};
  for (const auto& c : cases) {
    EXPECT_FLOAT_EQ(up.WertBei(c.x), c.y) << c.x;
    EXPECT_FLOAT_EQ(down.GetValue(c.x), c.y) << c.x;
    EXPECT_EQ(mixed.WertBei(c.x), 0.0f);
    for (int i = 0; i < 7; ++i) {
      EXPECT_EQ((i < 3   ? up
                 : i < 6 ? down
                         : mixed)
                    .IndexZu(c.x, i % 3),
                c.index[std::size_t(i)])
          << c.x << ' ' << i;
    }
  }
  for (const CSigPairs& one : {Pairs({{3, 7}}), CSigPairs(Pairs({{3, 7}})).PunkteSpiegeln()}) {
    for (const float x : {-9.0f, 3.0f, kInf, kNaN}) EXPECT_EQ(one.WertBei(x), 7.0f);
  }
  EXPECT_TRUE(std::isnan(up.WertBei(kNaN)));
  EXPECT_LT(up.IndexZu(kNaN, 1), 4u);
  EXPECT_LT(mixed.IndexZu(kNaN, 1), 4u);
  EXPECT_TRUE(up.HatWertBei(1.9f, 0.15f));
  EXPECT_FALSE(up.HatWertBei(3, 1) || CSigPairs().HatWertBei(0, kInf));
  EXPECT_TRUE(up.IsInRange(4) && mixed.IsInRange(2));
  EXPECT_FALSE(down.IsInRange(2) || mixed.IsInRange(4));
  std::size_t index = 99;
  EXPECT_FLOAT_EQ(up.PointDistance(-3, 4, &index), 5.0f);
  EXPECT_EQ(index, 0u);
  EXPECT_FLOAT_EQ(down.PointDistance(3, 12, nullptr), 2.0f);
  EXPECT_FLOAT_EQ(up.PointDistance(1.75f, 20, &index), 0.25f);
  EXPECT_FLOAT_EQ(mixed.PointDistance(1, 11, nullptr), 1.0f);
  EXPECT_EQ(CSigPairs().PointDistance(1, 1, &index), 0.0f);
  // An order that is claimed but not there leads nowhere outside.
  CSigPairs lying = up;
  EXPECT_FALSE(lying.PruefeInverseSortierung());
  for (std::size_t i = 0; i < 4; ++i) lying.Setzen(i, i % 2 == 0 ? kNaN : -static_cast<float>(i), 1);
  for (const float x : {-9.0f, -2.5f, -1.0f, 0.0f, kNaN, kInf}) {
    lying.WertBei(x);
    EXPECT_LT(lying.IndexZu(x, 0), 4u);
    CSigPairs(lying).CutLR(x, x);
    CSigPairs(lying) += lying;
    CSigPairs(up) |= lying;
    (CSigPairs(lying) *= up).Glaetten(1);
  }
}

TEST(SigPairs, Ranges) {
  const CSigPairs s = Pairs({{4, -1}, {2, 7}, {3, -1}, {1, 7}});
  float lo = 9, hi = 9;
  EXPECT_FALSE(CSigPairs().XBereich(lo, hi) || CSigPairs().YBereich(lo, hi));
  CSigPairs().GetYRangeX(lo, hi, 0, 1);
  s.GetYRangeXI(lo, hi, 4, 5);
  s.GetYRangeXI(lo, hi, 2, 1);
  EXPECT_EQ(lo + hi, 18.0f);
  s.GetXRange(lo, hi);
  EXPECT_EQ(SPunkt(lo, hi), SPunkt(1, 4));
  s.GetYRange(lo, hi);
  EXPECT_EQ(SPunkt(lo, hi), SPunkt(-1, 7));
  s.GetYRangeXI(lo, hi, 2, 2);
  EXPECT_EQ(SPunkt(lo, hi), SPunkt(-1, -1));
  s.GetYRangeX(lo, hi, 1, 2.5f);
  EXPECT_EQ(SPunkt(lo, hi), SPunkt(7, 7));
  CSigPairs hill = Pairs(kHill);
  hill.GetYRangeX(lo, hi, 0.9f, 1.9f);
  EXPECT_EQ(SPunkt(lo, hi), SPunkt(10, 20));
  hill.DatenWenden();
  hill.GetYRangeX(lo, hi, 0.9f, 1.9f);
  EXPECT_EQ(SPunkt(lo, hi), SPunkt(0, 10));
  EXPECT_EQ(s.YRange(), (CSignal::Range{{4, -1}, {2, 7}}));
  EXPECT_EQ(CSigPairs().YRange(), CSignal::Range{});
  std::size_t index = 9;
  EXPECT_EQ(s.FindeYMax(&lo, &index), 7.0f);
  EXPECT_EQ(std::pair(lo, index), std::pair(2.0f, std::size_t{1}));
  EXPECT_EQ(s.FindeYMin(nullptr, nullptr), -1.0f);
  EXPECT_EQ(s.MinStepSize(), 1.0f);
  EXPECT_EQ(Pairs({{4, -1}}).MinStepSize(), 0.0f);
}

TEST(SigPairs, Statistics) {
  float deviation = -1;
  EXPECT_EQ(CSigPairs().Mittelwert(&deviation), 0.0f);
  EXPECT_EQ(Pairs({{0, 5}}).Mittelwert(&deviation), 5.0f);
  EXPECT_EQ(deviation, -1.0f);
  const CSigPairs s = Pairs({{0, 1}, {1, 3}});
  EXPECT_EQ(s.Mittelwert(&deviation), 2.0f);
  EXPECT_EQ(deviation, 1.0f);
  EXPECT_FLOAT_EQ(s.RmsWert(), std::sqrt(5.0f));
  EXPECT_EQ(Pairs({{0, -5}}).RmsWert(), -5.0f);
  EXPECT_NEAR(Pairs({{0, 0}, {1, 0}}).MittelwertDb(), 1.50515, 1e-5);
  EXPECT_NEAR(Pairs({{0, -4000}, {1, -4000}}).MittelwertDb(), -2000 + 1.50515, 1e-3);
}

TEST(SigPairs, ValuesAndPositionsInPlace) {
  const auto values = [](const CSigPairs& s) { return std::vector<float>(s.Werte(), s.WerteEnd()); };
  CSigPairs s = Pairs({{1, -4}, {2, 9}});
  EXPECT_THAT(values(CSigPairs(s).DatenSpiegeln()), ElementsAre(4, -9));
  EXPECT_THAT(values(CSigPairs(s).Abs().Add(1)), ElementsAre(5, 10));
  EXPECT_THAT(values(CSigPairs(s).Clip(3, true)), ElementsAre(-4, 3));
  EXPECT_THAT(values(CSigPairs(s).Clip(3, false)), ElementsAre(3, 9));
  EXPECT_THAT(values(CSigPairs(s).Scale(2) -= 1), ElementsAre(-9, 17));
  EXPECT_THAT(values(CSigPairs(s) /= 2), ElementsAre(-2, 4.5f));
  EXPECT_THAT(values(CSigPairs(s) /= 0), ElementsAre(0, 0));
  EXPECT_THAT(values(CSigPairs(s) = 6.0f), ElementsAre(6, 6));
  EXPECT_THAT(values(CSigPairs(s).WurzelZiehen()), ElementsAre(testing::IsNan(), 3));
  EXPECT_EQ((CSigPairs(s) >> 2).Punkt(1), 4.0f);
  EXPECT_EQ(Order(s.PunkteSpiegeln()), kDown);
  EXPECT_EQ(s.Punkt(1), -2.0f);
  EXPECT_EQ(Order(s.PunkteSpiegeln()), kUp);
  EXPECT_EQ(Order(CSigPairs().PunkteSpiegeln()), kDown);
  EXPECT_EQ(Order(Pairs({{0, 0}, {2, 0}, {1, 0}}).PunkteSpiegeln()), kNeither);
}

TEST(SigPairs, CuttingKeepsOnePointBeyond) {
  const struct {
    float left, right;
    std::ptrdiff_t first, end;  // of the hill
  } cases[] = {{-5, 9, 0, 4}, {0, 4, 0, 4},       {1.5f, 9, 1, 4},   {1, 9, 0, 4},
               {2, 9, 1, 4},  {4, 9, 0, 0},       {-5, 2, 0, 4},     {-5, 1.5f, 0, 3},
               {-5, 0, 0, 0}, {1.2f, 1.3f, 1, 3}, {kNaN, kNaN, 0, 4}};
  for (const auto& c : cases) {
    CSigPairs s = Pairs({kHill[3], kHill[2], kHill[1], kHill[0]});
    const Points expected(kHill.begin() + c.first, kHill.begin() + c.end);
    EXPECT_EQ(PointsOf(s.CutLR(c.left, c.right)), expected) << c.left << ' ' << c.right;
    EXPECT_EQ(Order(s), expected.empty() ? kBoth : kUp);
  }
  CSigPairs().CutLR(0, 0);
}

TEST(SigPairs, SubsamplingKeepsTheLastPoint) {
  CSigPairs ten;
  for (int i = 0; i < 10; ++i) ten.NeuesPaar(static_cast<float>(i), static_cast<float>(i));
  CSigPairs s = ten;
  s.Unterabtasten(3, false);
  EXPECT_THAT(PointsOf(s), ElementsAre(SPunkt{0, 0}, SPunkt{3, 3}, SPunkt{6, 6}, SPunkt{9, 9}));
  s = ten;
  s.Unterabtasten(4, true);
  EXPECT_THAT(PointsOf(s), ElementsAre(SPunkt{0, 0}, SPunkt{4, 2.5f}, SPunkt{8, 6.5f}, SPunkt{9, 9}));
  for (const int factor : {1, 0, -7}) s.Unterabtasten(factor, true);
  EXPECT_EQ(s.NPaare(), 4u);
  s.Unterabtasten(INT_MAX, false);
  EXPECT_EQ(s.DLen(), 2u);
}

TEST(SigPairs, ThinningDividesByTheRatioOfThePositions) {
  // Anchor (1, 0): slope (1 - 0) / (2 / 1) = 0.5; at x = 3 the line gives 1, at x = 4 it gives 1.5.
  const Points points{{1, 0}, {2, 1}, {3, 1}, {4, 1.6f}, {5, 9}, {6, 9}};
  CSigPairs s = Pairs(points);
  s.Linearisieren(20);  // threshold 0.45
  EXPECT_THAT(PointsOf(s), ElementsAre(points[0], points[3], points[4], points[5]));
  CSigPairs zero = Pairs({{0, 0}, {1, 1}, {2, 2}});
  for (const float divisor : {-1.0f, kNaN, kInf}) zero.Linearisieren(divisor);
  EXPECT_EQ(zero.NPaare(), 3u);
  zero.Linearisieren(0);  // an infinite threshold
  EXPECT_EQ(zero.NPaare(), 2u);
  CSigPairs unsorted = Pairs({{0, 0}, {2, 0}, {1, 0}});
  unsorted.Linearisieren(1e-6f);
  EXPECT_EQ(unsorted.NPaare(), 3u);
}

TEST(SigPairs, SmoothingEqualsThePlainMean) {
  RandomPoints random(17);
  for (int round = 0; round < 4000; ++round) {
    Points points = random.Make(random.Below(30), 12);
    if (round % 2 == 0) plain::Sort(points);
    if (round % 5 == 0 && !points.empty())
      points[random.Below(points.size())].x = round % 2 == 0 ? kInf : kNaN;
    if (round % 7 == 0 && !points.empty()) points[random.Below(points.size())].y = 1e30f;
    const float widths[] = {0.05f, 0.34f, 2.0f, kInf, 0.0f, -1.0f, kNaN};
    const float width = widths[random.Below(7)];
    CSigPairs s = Pairs(points);
    s.Glaetten(width);
    const Points expected = plain::Smooth(points, width);
    for (std::size_t i = 0; i < points.size(); ++i) {
      ASSERT_FLOAT_EQ(s.Wert(i), expected[i].y) << round << ", width " << width << ", point " << i;
    }
  }
}

TEST(SigPairs, SortingGivesTheOrderOfTheExchangeSort) {
  RandomPoints random(23);
  for (int round = 0; round < 6000; ++round) {
    const unsigned grid = static_cast<unsigned>(1 + random.Below(6));
    Points points = random.Make(random.Below(40), grid);
    for (std::size_t i = 0; i < points.size(); ++i) points[i].y = static_cast<float>(i);  // tells ties apart
    if (round % 10 == 0) {
      for (SPunkt& p : points) {
        if (random.Below(5) == 0) p.x = random.Below(2) == 0 ? kNaN : -0.0f;
      }
    }
    CSigPairs s = Pairs(points);
    s.DatenSortieren(true);
    plain::Sort(points);
    for (std::size_t i = 0; i < points.size(); ++i) ASSERT_EQ(s.Wert(i), points[i].y) << round << ' ' << i;
    EXPECT_EQ(Order(s), points.size() > 1 ? kUp : kBoth);
  }
}

}  // namespace
