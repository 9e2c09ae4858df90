#include "umlauf/signal/SigCurve.h"

#include "signal/SignalTestSupport.h"
#include "support/Test.h"

namespace {

using testing::IsNan;

CSigCurve Four() { return Curve({10, 20, 40, 30}, 0, 4); }

TEST(SigCurve, IndexFromPosition) {
  const CSigCurve curve = Four();
  const Cases<float, std::uint64_t, std::int64_t, bool> cases = {
      {0.0f, 0, 0, true},           {2.4f, 2, 2, true},          {2.5f, 3, 3, true},
      {-7.0f, 0, -6, false},        {100.0f, 3, 100, false},     {-0.4f, 0, 0, true},
      {3.4f, 3, 3, true},           {3.6f, 3, 4, false},         {kInf, 3, INT64_MAX, false},
      {-kInf, 0, INT64_MIN, false}, {kNaN, 0, INT64_MIN, false}, {1e30f, 3, INT64_MAX, false}};
  for (const auto& [x, index, unlimited, valid] : cases) {
    std::int64_t i = -99;
    EXPECT_EQ(curve.GetIndex(x), index) << x;
    EXPECT_EQ(curve.GetIndexA(x), unlimited) << x;
    EXPECT_EQ(curve.GetIndexValidate(x, i), valid) << x;
    EXPECT_EQ(i, unlimited) << x;
  }
  EXPECT_ALL(curve.GetIndex(2) == 2u, curve.GetPoint(-2) == -2.0f, curve.GetIndexFromY(10) == 0,
             curve.GetIndexFromY(20) == -1, Curve({7}, 0, 1).GetIndexFromY(7) == 0);
  for (const CSigCurve& none : {CSigCurve(), Curve({1, 2}, 3, 3)}) {
    std::int64_t i = -99;
    EXPECT_ALL(!none.GetIndexValidate(3.0f, i), i == -99, none.GetIndex(3.0f) == 0);
  }
}

TEST(SigCurve, ValuesAndDistances) {
  const CSigCurve curve = Four();
  const CSigCurve empty;
  const float cases[][2] = {{-5, 10},   {0.0009f, 10}, {0.5f, 15},    {1, 20}, {1.25f, 25},
                            {2.5f, 35}, {3.5f, 30},    {3.9995f, 30}, {9, 30}};
  for (const auto& [x, y] : cases) EXPECT_FLOAT_EQ(curve.GetValue(x), y) << x;
  EXPECT_THAT(curve.GetValue(kNaN), IsNan());
  EXPECT_FLOAT_EQ(Curve({10, 20, 40, 30}, 0, 8).GetValue(2.5f), 25.0f);  // a step of 2
  EXPECT_ALL(curve.IsInRange(0), curve.IsInRange(4), !curve.IsInRange(4.001f), !curve.IsInRange(kNaN));
  const auto nearest = [&](float x, float y) {
    std::size_t index = 99;
    const float distance = curve.PointDistance(x, y, &index);
    return std::pair(distance, index);
  };
  EXPECT_ALL(nearest(-3, 14) == std::pair(5.0f, std::size_t{0}),
             nearest(1.25f, 20) == std::pair(0.25f, std::size_t{1}),
             nearest(7, 34) == std::pair(5.0f, std::size_t{3}), curve.PointDistance(7, 34, nullptr) == 5.0f);
  EXPECT_EQ(curve.PointDistance(0.5f, 18, nullptr), 3.0f);  // to the interpolated value
  EXPECT_EQ(empty.GetValue(1) + empty.PointDistance(1, 1, nullptr) + empty.XDelta() + empty.GetPoint(3),
            0.0f);
}

TEST(SigCurve, Ranges) {
  const CSigCurve curve = Four();
  const CSigCurve empty;
  float lo = -1, hi = -1;
  const auto expect = [&](float low, float high) { EXPECT_EQ(std::pair(lo, hi), std::pair(low, high)); };
  empty.YMinMax(lo, hi);
  empty.GetYRangeX(lo, hi, 0, 1);
  curve.GetYRangeXI(lo, hi, 2, 1);
  curve.GetYRangeXI(lo, hi, 4, 9);
  expect(-1, -1);  // nothing written
  curve.YMinMax(lo, hi);
  expect(10, 40);
  curve.GetYRangeX(lo, hi, 1, 99);
  expect(20, 40);
  curve.GetYRangeXI(lo, hi, 2, 77);
  expect(30, 40);
  curve.GetYRangeXI(lo, hi, 1, 1);
  expect(20, 20);
  curve.GetXRange(lo, hi);
  expect(0, 4);
  EXPECT_EQ(Curve({5, 9, 1, 9, 1}, 0, 5).YRange(), (CSignal::Range{{2, 1}, {1, 9}}));
  EXPECT_EQ(empty.YRange(), CSignal::Range{});
}

TEST(SigCurve, CuttingMovesTheAxisToTheGivenPosition) {
  EXPECT_ALL(Text(Four().CutLeft(1.2f)) == "1.2...4: 20 40 30",
             Text(Four().CutRight(2.0f)) == "0...2: 10 20 40",
             Text(Four().CutLR(-50, 50)) == "0...4: 10 20 40 30");
  // The right cut goes by the axis that the left one made: 2.4 is 1.15 of its steps behind 1.4.
  EXPECT_ALL(Text(Four().CutLR(1.4f, 2.4f)) == "1.4...2.4: 20 40",
             Text(Curve({1, 2, 3, 4}, -2, 2).CutNegative()) == "0...2: 3 4",
             Text(Curve({1, 2, 3, 4}, -2, 2).CutPositive()) == "-2...0: 1 2 3");
}

TEST(SigCurve, ResizeReframesOnTheGrid) {
  const CSigCurve narrow = Curve({1, 2}, 3, 3);
  const struct {
    CSigCurve curve;
    float x1, x2;
    int result;
    const char* after;
  } cases[] = {{Four(), 1.1f, 2.9f, 1, "1...3: 20 40"},
               {Four(), -1.6f, 2, 1, "-1...2: 0 10 20"},  // truncation toward zero: -1.6 + 0.5 is sample -1
               {Four(), 3, 6.2f, 1, "3...6: 30 0 0"},
               {Four(), 1, 1.2f, 0, "0...4: 10 20 40 30"},
               {Four(), 3, 1, 0, "0...4: 30 0 0 0"},  // inverted: already shifted
               {Four(), kNaN, kNaN, 0, "0...4: 10 20 40 30"},
               {Four(), kNaN, 2, 0, "0...4: 0 0 0 0"},  // too far for an index: no attempt to reach it
               {Four(), 0, 1e30f, 0, "0...4: 10 20 40 30"},
               {narrow, 3, 203, 1, "3...203: 1 2 0 0"},                // an interval of 100
               {CSigCurve(), 0.01f, 0.04f, 1, "0.01...0.04: 0 0 0"}};  // 100 samples
  for (const auto& c : cases) {
    CSigCurve curve = c.curve;
    float x1 = c.x1, x2 = c.x2;
    EXPECT_EQ(curve.Resize(x1, x2), c.result) << c.after;
    EXPECT_EQ(Text(curve), c.after);
    EXPECT_TRUE(c.result == 0 || (curve.XMin() == x1 && curve.XMax() == x2)) << c.after;
  }
}

TEST(SigCurve, ArithmeticWithNumbers) {
  EXPECT_ALL(Text(Four().Clip(25, true)) == "0...4: 10 20 25 25",
             Text(Four().Clip(25, false)) == "0...4: 25 25 40 30",
             Text((Four() += 1) -= 3) == "0...4: 8 18 38 28",
             Text(((Four() *= 3) /= 2) /= 0) == "0...4: 15 30 60 45",
             Text(Four().MirrorY()) == "0...4: -10 -20 -40 -30",
             Text(Curve({-1, -0.0f, -kNaN}, 0, 3).Abs()) == "0...3: 1 0 nan",
             Text((Four() = 7.0f).Add(1).Scale(2)) == "0...4: 16 16 16 16");
}

TEST(SigCurve, ArithmeticWithCurvesGoesOverTheSharedLength) {
  const CSigCurve other = Curve({1, 2, 3}, 5, 9);
  EXPECT_ALL(Text(Four() += other) == "0...4: 11 22 43 30", Text(Four() -= other) == "0...4: 9 18 37 30",
             Text(Four().AddWithWeight(other, 2)) == "0...4: 12 24 46 30",
             Text(Four().AddSquared(other, 0.5f)) == "0...4: 10.5 22 44.5 30",
             Text(Four().SubtractSquared(other)) == "0...4: 9 16 31 30",
             Text(Curve({2, 2}, 0, 2) += Four()) == "0...2: 12 22");
  CSigCurve mixed = Curve({15, 15, 15, kNaN}, 0, 4);
  EXPECT_EQ(Text(Four().Max(mixed)), "0...4: 15 20 40 nan");  // the own one only when it is greater
  EXPECT_EQ(Text(Four().Min(mixed)), "0...4: 10 15 15 30");   // the other one only when the own is greater
  EXPECT_EQ(Text(Four().Max(other)), "0...4: 10 20 40 30");   // no reading beyond its end
  mixed.CopyData(other);
  EXPECT_EQ(Text(mixed), "0...4: 1 2 3 nan");
}

TEST(SigCurve, SquaresRootsAndLevelsCarryTheUnit) {
  using U = CMeasuringUnit;
  CSigCurve curve = Curve({-4, 0, 9}, 0, 3);
  curve.SetYUnit(L"V");
  EXPECT_ALL(Text(CSigCurve(curve).SquareRoot()) == "0...3: 0 0 3", Text(curve.Square()) == "0...3: 16 0 81",
             curve.YUnit() == U(U::volt, 0, 2), Text(curve.SquareRoot()) == "0...3: 4 0 9",
             curve.YUnit() == U(U::volt));

  CSigCurve power = Curve({100, 0, -5}, 0, 3);
  power.SetYUnit(L"V^2");
  EXPECT_EQ(Text(power.Log(10.0f)), "0...3: 40 0 0");  // 20 / 2 * log10(100 * 10²)
  EXPECT_TRUE(power.YUnit() == U(U::volt, 0, 1, 10.0f, U::flag_db));
  power = 100.0f;
  power.SetYUnit(U(U::volt, 0, 0));
  EXPECT_EQ(Text(power.Log(1)), "0...3: 40 40 40");  // no power is power 1

  CSigCurve odd = Curve({1, -0.0f, NAN}, 0, 3);
  odd.SetYUnit(L"V^-1");
  EXPECT_EQ(Text(odd.Log(1.0f)), "0...3: 0 0 nan");  // a level of 0 has no sign
}

TEST(SigCurve, MirrorAppendAndFit) {
  CSigCurve curve = Curve({1, 2, 3}, 1, 7);
  EXPECT_ALL(Text(curve.MirrorX()) == "-7...-1: 3 2 1", Text(curve.Append(curve)) == "-7...5: 3 2 1 3 2 1");
  static_cast<CSignal&>(curve).Append(Curve({4}, 0, 1));
  EXPECT_EQ(Text(curve), "-7...5: 3 2 1 3 2 1 4");
  std::array<float, 2> mine{1, 2};
  CSigCurve borrowed(2);
  Lend(mine, borrowed);
  EXPECT_EQ(Text(borrowed.Append(curve)), "0...1: 1 2");
  const CSigCurve four = Four();
  EXPECT_ALL(Curve({0, 0, 0, 0}, 0.00009f, 4).FitTogether(&four),
             !Curve({0, 0, 0, 0}, 0.00011f, 4).FitTogether(&four),
             !Curve({0, 0, 0, 0}, 0, 3.9998f).FitTogether(&four), !Curve({0, 0, 0}, 0, 4).FitTogether(&four));
}

}  // namespace
