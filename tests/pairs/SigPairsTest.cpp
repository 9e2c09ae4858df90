#include "umlauf/pairs/SigPairs.h"

#include "pairs/PlainPairs.h"
#include "support/Test.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

std::pair<bool, bool> Order(const CSigPairs& s) { return {s.IstSortiert(), s.IstInversSortiert()}; }
const std::pair kBoth{true, true}, kUp{true, false}, kDown{false, true}, kNeither{false, false};

const Points kHill{{0, 0}, {1, 10}, {2, 20}, {4, 0}};
const Points kUnsorted{{0, 0}, {2, 7}, {1, 0}};

TEST(SigPairs, StorageCountsPoints) {
  CSigPairs s(3);
  EXPECT_ALL(!s.Gueltig(), !s.SetzeGueltig(4), s.SetzeGueltig(3), s.DLen() == 3);
  s.Setzen(1, 5, 6);
  s.Setzen(2, 7, 8);
  EXPECT_ALL(s.Resize(2), s.Resize(3), s.Resize(4));
  EXPECT_THAT(PointsOf(s), ElementsAre(SPunkt{0, 0}, SPunkt{5, 6}, SPunkt{0, 0}, SPunkt{0, 0}));
  EXPECT_ALL(!s.Resize(UINT64_MAX), !s.Resize(UINT64_MAX / 2 + 3), s.ValArray().sum() == 6.0f);
  s.CSigRaw::Malloc(100);  // knows nothing of pairs
  EXPECT_ALL(s.NPaare() <= 50u, !s.NeueGroesse(SIZE_MAX), !s.Gueltig(), !CSigPairs(SIZE_MAX / 4).Gueltig());
}

TEST(SigPairs, CopiesCarryPointsAndFieldsAssignmentAlsoUnits) {
  CSigPairs source = Pairs({{3, 1}, {2, 5}, {1, 9}});
  source.SetName(L"a");
  source.SetXUnit(L"s");
  source.Parameter() = 2.5f;
  source.Nummer() = 0x00057FFF;
  EXPECT_EQ(source.NummerOH(), 5);
  source.SetzeNummerOH(-2);
  source.PunktgleichheitToleranzP(20);
  const CSigPairs copy(source);
  CSigPairs assigned(50);
  assigned = source;
  EXPECT_ALL(assigned.XUnit().prefixstring() == L"s", copy.XUnit().empty(), copy.IsSigPairs());
  for (const CSigPairs* c : {&copy, static_cast<const CSigPairs*>(&assigned)}) {
    EXPECT_EQ(PointsOf(*c), PointsOf(source));
    EXPECT_STREQ(c->Name(), L"a");
    EXPECT_EQ(std::tuple(c->Parameter(), c->Nummer(), c->PunktgleichheitToleranz(), c->XLen(), Order(*c)),
              std::tuple(2.5f, static_cast<LONG>(0xFFFE7FFF), -20.0f, 3u, kDown));
  }
  assigned.InitHeader();
  EXPECT_ALL(!assigned.Gueltig(), assigned.Nummer() == 0, *assigned.Name() == L'\0',
             assigned.PunktgleichheitToleranz() == -101.0f, assigned.Parameter() == 0.0f);
}

TEST(SigPairs, FromCurvesAndBack) {
  CSigCurveExt curve(4);
  for (std::size_t i = 0; i < 4; ++i) curve.SetAt(i, static_cast<float>(i * i));
  curve.SetXMinMax(-1, 1);
  curve.SetName(L"c");
  curve.SetYUnit(L"V");
  const CSigPairs all = static_cast<const CSigCurve&>(curve);
  EXPECT_THAT(PointsOf(all), ElementsAre(SPunkt{-1, 0}, SPunkt{-0.5f, 1}, SPunkt{0, 4}, SPunkt{0.5f, 9}));
  EXPECT_ALL(PointsOf(CSigCurve(curve)) == PointsOf(all), CSigPairs(CSigCurve(1)).NPaare() == 1,
             Order(all) == kUp, all.YUnit().prefixstring() == L"V");
  CSigCurveExt back;
  EXPECT_ALL(all.KurveBilden(&back, 0), back.IMax() == 3, *back.Name() == L'c',
             PointsOf(back) == PointsOf(all), all.KurveBilden(&back, 7), back.FData()[1] == 0.5f,
             back.FData()[6] == 9.0f, !Pairs(kUnsorted).KurveBilden(&back, 3), !all.KurveBilden(nullptr, 3));

  curve.SetVIMinMax(1, 2);
  EXPECT_THAT(PointsOf(curve), ElementsAre(SPunkt{-0.5f, 1}, SPunkt{0, 4}));
  curve.Invalidate();
  EXPECT_FALSE(CSigPairs(curve).Gueltig());
  curve.ResetVMinMax();
  float x = 0;
  EXPECT_ALL(all.MaxKurvenAbstand(nullptr, &x, false) == 0.0f,
             Pairs({{0, 4}, {0.5f, 6}, {9, 99}}).MaxKurvenAbstand(&curve, nullptr, true) == 3.0f,
             Pairs({{0, 4}, {9, 99}, {8, 99}}).MaxKurvenAbstand(&curve, &x, false) == 90.0f, x == 9.0f);
  curve.SetXMinMax(1, -1);
  EXPECT_EQ(Order(curve), kDown);
}

TEST(SigPairs, BuildingKeepsTheOrderKnown) {
  RandomPoints random(5);
  for (int round = 0; round < 3000; ++round) {
    CSigPairs s = Pairs(random.Make(random.Below(7), 3));
    const auto built = Order(s);
    s.PruefeSortierung();
    EXPECT_EQ(Order(s), built);
    if (round % 3 == 0) s.DatenSortieren(true);
    if (round % 6 == 0) s.DatenWenden();
    const Points p = random.Make(3, 3);
    Points expected = PointsOf(s);
    if (s.IstSortiert()) {
      plain::Insert(expected, p[0]);
      s.NeuesPaarEinsortieren(p[0].x, p[0].y);
      EXPECT_EQ(PointsOf(s), expected);
    } else {
      EXPECT_EQ(s.Point(s.NeuesPaarEinsortieren(p[0].x, p[0].y)), p[0]);
    }
    EXPECT_EQ(s.Point(s.Aendern(random.Below(s.NPaare()), p[1].x, p[1].y)), p[1]);
    EXPECT_EQ(s.Aendern(s.NPaare(), 0, 0), CSigPairs::KeinPunkt);
    s.Append(Pairs({p[2]}));
    const auto claimed = Order(s);
    s.PruefeSortierung();
    EXPECT_ALL(claimed.first <= s.IstSortiert(), claimed.second <= s.IstInversSortiert()) << round;
  }
}

TEST(SigPairs, SectionsCopiedAndRemoved) {
  const CSigPairs source = Pairs(kHill);
  CSigPairs s = Pairs({{9, 9}});
  s.SetName(L"mine");
  EXPECT_EQ(s.AbschnittKopieren(source, 0.5f, 2), 2u);
  EXPECT_THAT(PointsOf(s), ElementsAre(kHill[1], kHill[2]));
  EXPECT_STREQ(s.Name(), L"mine");
  EXPECT_ALL(s.AbschnittKopierenIdx(source, 2, 99) == 2u, s.AbschnittKopieren(s, 3, 5) == 1u);
  EXPECT_THAT(PointsOf(s), ElementsAre(kHill[3]));
  EXPECT_EQ(s.AbschnittKopieren(source, 2, kNaN) + s.AbschnittKopierenIdx(source, 4, 9), 0u);
  // The order is that of the section, whatever that of the source.
  s.AbschnittKopieren(Pairs(kUnsorted), 1.5f, 9);
  EXPECT_EQ(s.WertBei(0), 7.0f);
  s.AbschnittKopierenIdx(Pairs(kUnsorted), 1, 2);
  EXPECT_EQ(Order(s), kDown);

  s = source;
  EXPECT_EQ(Order(s.Append(s)), kNeither);
  s.PunkteEntfernen(4, 99);
  EXPECT_EQ(PointsOf(s), kHill);
  s.PunktEntfernen(1);
  EXPECT_THAT(ValuesOf(s), ElementsAre(0, 20, 0));
  s.PunkteEntfernen(0, SIZE_MAX);
  EXPECT_ALL(Order(s) == kBoth, s.PruefeInverseSortierung(), Order(s) == kDown);
}

TEST(SigPairs, LookupInAllOrders) {
  const CSigPairs up = Pairs(kHill);
  CSigPairs down = up;
  down.DatenWenden();
  const CSigPairs mixed = Pairs({kHill[2], kHill[0], kHill[3], kHill[1]});
  // Indices of the lower, higher and nearest neighbour.
  const Cases<float, float, std::array<std::size_t, 3>, std::array<std::size_t, 3>, std::size_t> cases = {
      {-1, 0, {0, 0, 0}, {3, 3, 3}, 1},       {0, 0, {0, 0, 0}, {3, 3, 3}, 1},
      {0.25f, 2.5f, {0, 1, 0}, {3, 2, 3}, 1}, {1, 10, {1, 1, 1}, {2, 2, 2}, 3},
      {1.5f, 15, {1, 2, 2}, {2, 1, 2}, 0},    {3, 10, {2, 3, 3}, {1, 0, 1}, 0},
      {4, 0, {3, 3, 3}, {0, 0, 0}, 2},        {9, 0, {3, 3, 3}, {0, 0, 0}, 2}};
  for (const auto& [x, y, expectedUp, expectedDown, expectedMixed] : cases) {
    EXPECT_FLOAT_EQ(up.WertBei(x), y) << x;
    EXPECT_FLOAT_EQ(down.GetValue(x), y) << x;
    EXPECT_EQ(mixed.WertBei(x), 0.0f);
    for (int mode = 0; mode < 3; ++mode) {
      EXPECT_EQ(up.IndexZu(x, mode), expectedUp[static_cast<std::size_t>(mode)]) << x << ' ' << mode;
      EXPECT_EQ(down.IndexZu(x, mode), expectedDown[static_cast<std::size_t>(mode)]) << x << ' ' << mode;
      EXPECT_EQ(mixed.IndexZu(x, mode), expectedMixed) << x << ' ' << mode;
    }
  }
  for (const CSigPairs& one : {Pairs({{3, 7}}), CSigPairs(Pairs({{3, 7}})).PunkteSpiegeln()}) {
    for (const float x : {-9.0f, 3.0f, kInf, kNaN}) EXPECT_EQ(one.WertBei(x), 7.0f);
  }
  EXPECT_ALL(up.HatWertBei(1.9f, 0.15f), !up.HatWertBei(3, 1), !CSigPairs().HatWertBei(0, kInf),
             up.IsInRange(4), up.IsInRange(0), !up.IsInRange(4.1f), !up.IsInRange(-0.1f), mixed.IsInRange(2),
             !down.IsInRange(2), !mixed.IsInRange(4), !mixed.IsInRange(0));
  std::size_t index = 99;
  EXPECT_ALL(up.PointDistance(-3, 4, &index) == 5.0f, index == 0);
  for (const CSigPairs* s :
       {&up, static_cast<const CSigPairs*>(&down)}) {  // outside, the distance is that to the end point
    EXPECT_ALL(s->PointDistance(-3, 4, nullptr) == 5.0f, s->PointDistance(7, 4, nullptr) == 5.0f);
  }
  EXPECT_FLOAT_EQ(down.PointDistance(3, 12, nullptr), 2.0f);
  EXPECT_FLOAT_EQ(up.PointDistance(1.75f, 20, &index), 0.25f);
  EXPECT_FLOAT_EQ(mixed.PointDistance(1, 11, nullptr), 1.0f);
}

TEST(SigPairs, ClaimedOrderThatIsNotThereLeadsNowhereOutside) {
  const CSigPairs hill = Pairs(kHill);
  CSigPairs lying = hill;
  EXPECT_FALSE(lying.PruefeInverseSortierung());
  for (std::size_t i = 0; i < 4; ++i) lying.Setzen(i, i % 2 == 0 ? kNaN : -static_cast<float>(i), 1);
  for (const float x : {-9.0f, -2.5f, -1.0f, 0.0f, kNaN, kInf}) {
    lying.WertBei(x);
    EXPECT_LT(lying.IndexZu(x, 0), 4u);
    CSigPairs(lying).CutLR(x, x);
  }
  lying + lying;
  hill | lying;
  (lying * hill).Glaetten(1);
  EXPECT_TRUE(std::isnan((hill + Pairs({{0, 1}, {kNaN, 1}})).Wert(1)));
}

TEST(SigPairs, Ranges) {
  const CSigPairs s = Pairs({{4, -1}, {2, 7}, {3, -1}, {1, 7}});
  const CSigPairs hill = Pairs(kHill);
  CSigPairs down = hill;
  down.DatenWenden();
  const auto range = [](const CSigPairs& signal, auto get, auto... which) {
    SPunkt r{9, 9};  // stays when there is nothing
    (signal.*get)(r.x, r.y, which...);
    return r;
  };
  const auto indices = &CSigPairs::GetYRangeXI;
  EXPECT_ALL(range(s, &CSigPairs::GetXRange) == (SPunkt{1, 4}),
             range(down, &CSigPairs::GetXRange) == (SPunkt{0, 4}),
             range(s, &CSigPairs::GetYRange) == (SPunkt{-1, 7}),
             range(CSigPairs(), &CSigPairs::GetYRange) == (SPunkt{9, 9}),
             range(s, indices, 3u, 9u) == (SPunkt{7, 7}), range(s, indices, 4u, 5u) == (SPunkt{9, 9}),
             range(s, indices, 2u, 1u) == (SPunkt{9, 9}),
             range(s, &CSigPairs::GetYRangeX, 2.0f, 2.0f) == (SPunkt{7, 7}),
             range(s, &CSigPairs::GetYRangeX, 1.0f, 2.5f) == (SPunkt{7, 7}),
             range(s, &CSigPairs::GetYRangeX, 2.0f, 4.0f) == (SPunkt{-1, 7}),
             range(hill, &CSigPairs::GetYRangeX, 0.9f, 1.9f) == (SPunkt{10, 20}),
             range(down, &CSigPairs::GetYRangeX, 0.9f, 1.9f) == (SPunkt{0, 10}),
             s.YRange() == (CSignal::Range{{4, -1}, {2, 7}}));
  std::size_t index = 9;
  EXPECT_ALL(s.FindeYMax(nullptr, &index) == 7.0f, index == 1, s.MinStepSize() == 1.0f);
}

TEST(SigPairs, Statistics) {
  float deviation = -1;
  EXPECT_EQ(CSigPairs().Mittelwert(&deviation), 0.0f);
  EXPECT_ALL(Pairs({{0, 5}}).Mittelwert(&deviation) == 5.0f, deviation == -1.0f);
  const CSigPairs s = Pairs({{0, 1}, {1, 3}});
  EXPECT_ALL(s.Mittelwert(&deviation) == 2.0f, deviation == 1.0f);
  EXPECT_FLOAT_EQ(s.RmsWert(), std::sqrt(5.0f));
  EXPECT_EQ(Pairs({{0, -5}}).RmsWert(), -5.0f);
  EXPECT_NEAR(Pairs({{0, 0}, {1, 0}}).MittelwertDb(), 1.50515, 1e-5);
  EXPECT_NEAR(Pairs({{0, -4000}, {1, -4000}}).MittelwertDb(), -2000 + 1.50515, 1e-3);
}

TEST(SigPairs, ValuesAndPositionsInPlace) {
  const CSigPairs s = Pairs({{1, -4}, {2, 9}});
  EXPECT_THAT(ValuesOf(CSigPairs(s).DatenSpiegeln()), ElementsAre(4, -9));
  EXPECT_THAT(ValuesOf(CSigPairs(s).Abs().Add(1)), ElementsAre(5, 10));
  EXPECT_THAT(ValuesOf(CSigPairs(s).Clip(3, true)), ElementsAre(-4, 3));
  EXPECT_THAT(ValuesOf(CSigPairs(s).Clip(3, false)), ElementsAre(3, 9));
  EXPECT_THAT(ValuesOf((CSigPairs(s).Scale(4) /= 2) -= 1), ElementsAre(-9, 17));
  EXPECT_THAT(ValuesOf(CSigPairs(s) /= 0), ElementsAre(0, 0));
  EXPECT_THAT(ValuesOf(CSigPairs(s) = 6.0f), ElementsAre(6, 6));
  EXPECT_THAT(ValuesOf(CSigPairs(s).WurzelZiehen()), ElementsAre(testing::IsNan(), 3));
  CSigPairs mirrored = s;
  EXPECT_ALL(Order(mirrored.PunkteSpiegeln() >> 1) == kDown, mirrored.Punkt(1) == -1.0f,
             Order(mirrored.PunkteSpiegeln()) == kUp, Order(CSigPairs().PunkteSpiegeln()) == kDown,
             Order(Pairs(kUnsorted).PunkteSpiegeln()) == kNeither);
}

TEST(SigPairs, CuttingKeepsOnePointBeyond) {
  const Cases<float, float, std::ptrdiff_t, std::ptrdiff_t> cases = {
      {-5, 9, 0, 4}, {0, 4, 0, 4},     {1.5f, 9, 1, 4}, {1, 9, 0, 4},       {2, 9, 1, 4},      {4, 9, 0, 0},
      {-5, 2, 0, 4}, {-5, 1.5f, 0, 3}, {-5, 0, 0, 0},   {1.2f, 1.3f, 1, 3}, {kNaN, kNaN, 0, 4}};
  for (const auto& [left, right, first, end] : cases) {
    CSigPairs s = Pairs({kHill[3], kHill[2], kHill[1], kHill[0]});
    const Points expected(kHill.begin() + first, kHill.begin() + end);
    EXPECT_EQ(PointsOf(s.CutLR(left, right)), expected) << left << ' ' << right;
    EXPECT_EQ(Order(s), expected.empty() ? kBoth : kUp);
  }
  CSigPairs().CutLR(0, 0);
}

TEST(SigPairs, SubsamplingKeepsTheLastPoint) {
  CSigPairs ten;
  for (int i = 0; i < 10; ++i) ten.NeuesPaar(static_cast<float>(i), static_cast<float>(i));
  CSigPairs s = ten;
  s.Unterabtasten(3, false);
  EXPECT_THAT(ValuesOf(s), ElementsAre(0, 3, 6, 9));
  s = ten;
  for (const int factor : {1, 0, -7, 4}) s.Unterabtasten(factor, true);
  EXPECT_THAT(PointsOf(s), ElementsAre(SPunkt{0, 0}, SPunkt{4, 2.5f}, SPunkt{8, 6.5f}, SPunkt{9, 9}));
  s.Unterabtasten(INT_MAX, false);
  EXPECT_EQ(s.DLen(), 2u);
}

TEST(SigPairs, ThinningDividesByTheRatioOfThePositions) {
  // Anchor (1, 0): slope (1 - 0) / (2 / 1) = 0.5; at x = 3 the line gives 1, at x = 4 it gives 1.5.
  for (const float lift : {0.0f, -8.0f}) {  // the threshold is that of the distance of the extremes, 0.45
    CSigPairs s = Pairs({{1, 0}, {2, 1}, {3, 1}, {4, 1.5f}, {5, 9}, {6, 9}});
    (s += lift).Linearisieren(20);
    EXPECT_THAT(PointsOf(s -= lift), ElementsAre(SPunkt{1, 0}, SPunkt{4, 1.5f}, SPunkt{5, 9}, SPunkt{6, 9}));
  }
  CSigPairs zero = Pairs({{0, 0}, {1, 1}, {2, 2}});
  for (const float divisor : {-1.0f, kNaN, kInf}) zero.Linearisieren(divisor);
  EXPECT_EQ(zero.NPaare(), 3u);
  CSigPairs unsorted = Pairs(kUnsorted);
  for (CSigPairs* signal : {&zero, &unsorted}) signal->Linearisieren(1e-6f);  // below any threshold
  EXPECT_ALL(zero.NPaare() == 2, unsorted.NPaare() == 3);
}

TEST(SigPairs, SmoothingEqualsThePlainMean) {
  RandomPoints random(17);
  for (int round = 0; round < 4000; ++round) {
    Points points = random.Make(1 + random.Below(30), 12);
    if (round % 2 == 0) plain::Sort(points);
    if (round % 5 == 0) points[random.Below(points.size())].x = round % 2 == 0 ? kInf : kNaN;
    if (round % 7 == 0) points[random.Below(points.size())].y = 1e30f;
    const float widths[] = {0.05f, 0.34f, 2.0f, kInf, 0.0f, -1.0f, kNaN};
    const float width = widths[random.Below(7)];
    CSigPairs s = Pairs(points);
    s.Glaetten(width);
    const Points expected = plain::Smooth(points, width);
    for (std::size_t i = 0; i < points.size(); ++i)
      ASSERT_FLOAT_EQ(s.Wert(i), expected[i].y) << round << ", width " << width << ", point " << i;
  }
}

TEST(SigPairs, SortingGivesTheOrderOfTheExchangeSort) {
  RandomPoints random(23);
  for (int round = 0; round < 6000; ++round) {
    Points points = random.Make(random.Below(40), static_cast<unsigned>(1 + random.Below(6)));
    for (std::size_t i = 0; i < points.size(); ++i) {
      points[i].y = static_cast<float>(i);  // tells ties apart
      if (round % 10 == 0 && random.Below(5) == 0) points[i].x = random.Below(2) == 0 ? kNaN : -0.0f;
    }
    CSigPairs s = Pairs(points);
    s.DatenSortieren(true);
    plain::Sort(points);
    for (std::size_t i = 0; i < points.size(); ++i) ASSERT_EQ(s.Wert(i), points[i].y) << round << ' ' << i;
    EXPECT_EQ(Order(s), points.size() > 1 ? kUp : kBoth);
  }
}

/// The exchange sort in two loops gives the order; many points, in runs of a few and of many equal x.
TEST(SigPairs, SortsLongSignalsAsTheExchangeSortDoes) {
  RandomPoints random(7);
  for (const auto& [n, distinct] :
       Cases<std::size_t, std::size_t>{{63, 9}, {64, 9}, {3000, 300}, {3000, 40}, {17000, 2000}}) {
    Points points(n);
    for (std::size_t i = 0; i < n; ++i) {
      points[i] = {(static_cast<float>(random.Below(distinct)) - 20.0f) * 1.1f, static_cast<float>(i)};
    }
    CSigPairs s = Pairs(points);
    s.DatenSortieren(true);
    for (std::size_t i = 1; i < n; ++i) {
      for (std::size_t j = 0; j < i; ++j) {
        if (points[j].x > points[i].x) std::swap(points[j], points[i]);
      }
    }
    EXPECT_TRUE(PointsOf(s) == points) << n << ' ' << distinct;
  }
}

}  // namespace
