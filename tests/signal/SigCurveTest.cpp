#include "umlauf/signal/SigCurve.h"

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "signal/SignalTestSupport.h"

namespace {

using testing::ElementsAre;
using testing::FloatNear;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

CSigCurve Four() { return Curve({10, 20, 40, 30}, 0, 4); }

TEST(SigCurve, ClassRecordMakesDefaultCurves) {
  const std::unique_ptr<CObject> object(CSigCurve::GetThisClass()->CreateObject());
  ASSERT_NE(object, nullptr);
  EXPECT_STREQ(object->GetRuntimeClass()->m_lpszClassName, "CSigCurve");
  EXPECT_TRUE(object->IsKindOf(CSignal::GetThisClass()));
  const auto& curve = dynamic_cast<CSigCurve&>(*object);
  EXPECT_TRUE(curve.IsSigCurve());
  EXPECT_TRUE(curve.FileCompression());
  EXPECT_EQ(curve.XMax(), 1.0f);
  EXPECT_EQ(curve.XDelta(), 0.0f);
}

TEST(SigCurve, IndexFromPosition) {
  const CSigCurve curve = Four();
  const struct {
    float x;
    std::uint64_t index;
    std::int64_t unlimited;
    bool valid;
  } cases[] = {{0.0f, 0, 0, true},           {2.4f, 2, 2, true},          {2.5f, 3, 3, true},
               {-7.0f, 0, -6, false},        {100.0f, 3, 100, false},     {-0.4f, 0, 0, true},
               {3.4f, 3, 3, true},           {3.6f, 3, 4, false},         {kInf, 3, INT64_MAX, false},
               {-kInf, 0, INT64_MIN, false}, {kNaN, 0, INT64_MIN, false}, {1e30f, 3, INT64_MAX, false}};
  for (const auto& c : cases) {
    EXPECT_EQ(curve.GetIndex(c.x), c.index) << c.x;
    EXPECT_EQ(curve.GetIndexA(c.x), c.unlimited) << c.x;
    std::int64_t i = -99;
    EXPECT_EQ(curve.GetIndexValidate(c.x, i), c.valid) << c.x;
    EXPECT_EQ(i, c.unlimited) << c.x;
  }
  EXPECT_EQ(curve.GetIndex(2), 2u);
  EXPECT_FLOAT_EQ(curve.XDelta(), 1.0f);
  EXPECT_FLOAT_EQ(curve.GetPoint(-2), -2.0f);
  for (const CSigCurve& none : {CSigCurve(), Curve({1, 2}, 3, 3)}) {
    std::int64_t i = -99;
    EXPECT_FALSE(none.GetIndexValidate(3.0f, i));
    EXPECT_EQ(i, -99);
    EXPECT_EQ(none.GetIndex(3.0f), 0u);
  }
}

TEST(SigCurve, ValueInterpolatesAndHoldsTheEnds) {
  const CSigCurve curve = Four();
  const std::array<std::pair<float, float>, 9> cases{{{-5, 10},
                                                      {0.0009f, 10},
                                                      {0.5f, 15},
                                                      {1, 20},
                                                      {1.25f, 25},
                                                      {2.5f, 35},
                                                      {3.5f, 30},
                                                      {3.9995f, 30},
                                                      {9, 30}}};
  for (const auto& [x, y] : cases) EXPECT_FLOAT_EQ(curve.GetValue(x), y) << x;
  EXPECT_TRUE(std::isnan(curve.GetValue(kNaN)));
  EXPECT_EQ(CSigCurve().GetValue(1), 0.0f);
  EXPECT_TRUE(curve.IsInRange(4));
  EXPECT_FALSE(curve.IsInRange(kNaN));
  // No position leads outside the samples, whatever the axis.
  std::mt19937 random(7);
  std::uniform_real_distribution<float> anywhere(-10, 10);
  for (int i = 0; i < 2000; ++i) {
    CSigCurve odd = Four();
    odd.SetXMinMax(anywhere(random), i % 5 == 0 ? kNaN : anywhere(random));
    odd.GetValue(anywhere(random));
    EXPECT_LT(odd.GetIndex(anywhere(random)), 4u);
  }
}

TEST(SigCurve, Ranges) {
  const CSigCurve curve = Four();
  float lo = -1;
  float hi = -1;
  curve.GetYRange(lo, hi);
  EXPECT_EQ(lo, 10.0f);
  EXPECT_EQ(hi, 40.0f);
  curve.GetYRangeX(lo, hi, 1, 99);
  EXPECT_EQ(lo, 20.0f);
  curve.GetYRangeXI(lo, hi, 3, 77);
  EXPECT_EQ(hi, 30.0f);
  curve.GetXRange(lo, hi);
  EXPECT_EQ(hi, 4.0f);
  EXPECT_EQ(Curve({5, 9, 1, 9, 1}, 0, 5).YRange(), (CSignal::Range{{2, 1}, {1, 9}}));
  EXPECT_EQ(CSigCurve().YRange(), CSignal::Range{});
  lo = hi = -1;
  CSigCurve().YMinMax(lo, hi);
  curve.GetYRangeXI(lo, hi, 2, 1);
  curve.GetYRangeXI(lo, hi, 4, 9);
  EXPECT_EQ(lo, -1.0f);
  EXPECT_EQ(hi, -1.0f);
}

TEST(SigCurve, CuttingMovesTheAxisToTheGivenPosition) {
  CSigCurve curve = Four();
  curve.CutLeft(1.2f);
  EXPECT_THAT(Values(curve), ElementsAre(20, 40, 30));
  EXPECT_EQ(curve.XMin(), 1.2f);
  EXPECT_EQ(curve.XMax(), 4.0f);
  curve.CutRight(2.0f);
  EXPECT_THAT(Values(curve), ElementsAre(20, 40));
  EXPECT_EQ(curve.XMax(), 2.0f);
  EXPECT_EQ(curve.XLen(), 2u);
  curve.CutLR(-50, 50);
  EXPECT_THAT(Values(curve), ElementsAre(20, 40));
  CSigCurve centred = Curve({1, 2, 3, 4}, -2, 2);
  EXPECT_THAT(Values(CSigCurve(centred).CutNegative()), ElementsAre(3, 4));
  EXPECT_THAT(Values(CSigCurve(centred).CutPositive()), ElementsAre(1, 2, 3));
}

TEST(SigCurve, ClipAndScalarArithmetic) {
  EXPECT_THAT(Values(Four().Clip(25, true)), ElementsAre(10, 20, 25, 25));
  EXPECT_THAT(Values(Four().Clip(25, false)), ElementsAre(25, 25, 40, 30));
  CSigCurve curve = Curve({-1, 0, 2}, 0, 3);
  EXPECT_THAT(Values(curve += 1), ElementsAre(0, 1, 3));
  EXPECT_THAT(Values(curve -= 2), ElementsAre(-2, -1, 1));
  EXPECT_THAT(Values(curve *= -2), ElementsAre(4, 2, -2));
  EXPECT_THAT(Values(curve /= 0), ElementsAre(4, 2, -2));
  EXPECT_THAT(Values(curve /= 2), ElementsAre(2, 1, -1));
  EXPECT_THAT(Values(curve.Abs()), ElementsAre(2, 1, 1));
  EXPECT_THAT(Values(curve = 7.0f), ElementsAre(7, 7, 7));
  EXPECT_THAT(Values(curve.Add(1).Scale(2)), ElementsAre(16, 16, 16));
  CSigCurve odd = Curve({-0.0f, -kNaN, kNaN}, 0, 3);
  odd.Abs();
  for (const float v : Values(odd)) EXPECT_FALSE(std::signbit(v));
  EXPECT_TRUE(std::isnan(Values(odd.Clip(0, true))[1]));
}

TEST(SigCurve, SquaresRootsAndLevelsCarryTheUnit) {
  CSigCurve curve = Curve({-4, 0, 9}, 0, 3);
  curve.SetYUnit(L"V");
  EXPECT_THAT(Values(curve.Square()), ElementsAre(16, 0, 81));
  EXPECT_EQ(curve.YUnit().prefixstring(), L"V²");
  EXPECT_THAT(Values(curve.SquareRoot()), ElementsAre(4, 0, 9));
  EXPECT_EQ(curve.YUnit().prefixstring(), L"V");
  EXPECT_THAT(Values(Curve({-4, 0, 9}, 0, 3).SquareRoot()), ElementsAre(0, 0, 3));

  CSigCurve power = Curve({100, 0, -5}, 0, 3);
  power.SetYUnit(L"V^2");
  power.Log(10.0f);  // 20 / 2 * log10(100 * 10²)
  EXPECT_THAT(Values(power), ElementsAre(FloatNear(40.0f, 1e-5f), 0, 0));
  EXPECT_EQ(power.YUnit().prefixunit(false), L"dB(V)");
  EXPECT_EQ(power.YUnit().logref(), 10.0f);
  CSigCurve noPower = Curve({100}, 0, 1);
  CMeasuringUnit unit(L"V");
  unit.set_power(0);
  noPower.SetYUnit(unit);
  EXPECT_THAT(Values(noPower.Log(1)), ElementsAre(FloatNear(40.0f, 1e-5f)));
}

TEST(SigCurve, ArithmeticWithCurvesGoesOverTheSharedLength) {
  const CSigCurve other = Curve({1, 2, 3}, 5, 9);
  EXPECT_THAT(Values(Four() += other), ElementsAre(11, 22, 43, 30));
  EXPECT_THAT(Values(Four() -= other), ElementsAre(9, 18, 37, 30));
  EXPECT_THAT(Values(Four().AddWithWeight(other, 2)), ElementsAre(12, 24, 46, 30));
  EXPECT_THAT(Values(Four().AddSquared(other, 0.5f)), ElementsAre(10.5f, 22, 44.5f, 30));
  EXPECT_THAT(Values(Four().SubtractSquared(other)), ElementsAre(9, 16, 31, 30));
  EXPECT_THAT(Values(Curve({2, 2}, 0, 2) += Four()), ElementsAre(12, 22));
  const CSigCurve mixed = Curve({15, 15, 15, 15}, 0, 4);
  EXPECT_THAT(Values(Four().Max(mixed)), ElementsAre(15, 20, 40, 30));
  EXPECT_THAT(Values(Four().Min(mixed)), ElementsAre(10, 15, 15, 15));
  EXPECT_THAT(Values(Four().Max(other)), ElementsAre(10, 20, 40, 30));  // shorter: no reading beyond it
}

TEST(SigCurve, MirrorAppendAndFit) {
  CSigCurve curve = Curve({1, 2, 3}, 0, 6);
  EXPECT_THAT(Values(curve.MirrorX()), ElementsAre(3, 2, 1));
  EXPECT_EQ(curve.XMin(), -6.0f);
  EXPECT_EQ(curve.XMax(), -0.0f);
  EXPECT_THAT(Values(curve.MirrorY()), ElementsAre(-3, -2, -1));
  curve.Append(curve);
  EXPECT_THAT(Values(curve), ElementsAre(-3, -2, -1, -3, -2, -1));
  EXPECT_EQ(curve.XMax(), 6.0f);
  std::array<float, 2> mine{1, 2};
  CSigCurve borrowed;
  borrowed.SetBuffer(reinterpret_cast<ULONG*>(mine.data()), 2);
  borrowed.Append(curve);
  EXPECT_EQ(borrowed.DLen(), 2u);
  EXPECT_EQ(borrowed.XMax(), 1.0f);
  CSigCurve near = Four();
  near.SetXMinMax(0.00009f, 4);
  const CSigCurve four = Four();
  EXPECT_TRUE(near.FitTogether(&four));
  near.SetXMinMax(0.00011f, 4);
  EXPECT_FALSE(near.FitTogether(&four));
  EXPECT_EQ(four.GetIndexFromY(10), 0);
  EXPECT_EQ(four.GetIndexFromY(20), -1);
}

TEST(SigCurve, MakeSameSizeTakesShapeNotNameOrUnits) {
  CSigCurve source = Four();
  source.SetName(L"a");
  source.SetExtName(L"ext");
  source.SetScaleFactor(3);
  source.SetFileCompression(false);
  CSigCurve target;
  target.SetName(L"b");
  target.SetYUnit(L"V");
  target.MakeSameSize(source);
  EXPECT_THAT(Values(target), ElementsAre(0, 0, 0, 0));
  EXPECT_STREQ(target.Name(), L"b");
  EXPECT_EQ(target.YUnit().prefixstring(), L"V");
  EXPECT_EQ(target.ExtName(), L"ext");
  EXPECT_EQ(target.XMax(), 4.0f);
  EXPECT_EQ(target.ScaleFactor(), 3.0f);
  EXPECT_FALSE(target.FileCompression());
  EXPECT_EQ(target.XLen(), 4u);
  target.InitHeader(CSigCurve(1), true);
  EXPECT_EQ(target.XMax(), 1.0f);
  target.SetXMinMax(0, 4);
  target.Reset();
  EXPECT_EQ(target.DLen(), 4u);
  EXPECT_EQ(target.XMax(), 1.0f);
  EXPECT_STREQ(target.Name(), L"");
}

TEST(SigCurve, ResizeReframesOnTheGrid) {
  const struct {
    float x1, x2;
    int result;
    std::vector<float> samples;
    float xMin, xMax;
  } cases[] = {{1.1f, 2.9f, 1, {20, 40}, 1, 3},
               {-1.6f, 2.0f, 1, {0, 10, 20}, -1, 2},  // truncation toward zero: -1.6 + 0.5 is sample -1
               {3.0f, 6.2f, 1, {30, 0, 0}, 3, 6},
               {1.0f, 1.2f, 0, {10, 20, 40, 30}, 0, 4},
               {3.0f, 1.0f, 0, {30, 0, 0, 0}, 0, 4},  // inverted: already shifted
               {kNaN, kNaN, 0, {10, 20, 40, 30}, 0, 4},
               {kNaN, 2.0f, 0, {0, 0, 0, 0}, 0, 4},  // too far for an index: no attempt to reach it
               {0.0f, 1e30f, 0, {10, 20, 40, 30}, 0, 4}};
  for (const auto& c : cases) {
    CSigCurve curve = Four();
    float x1 = c.x1;
    float x2 = c.x2;
    EXPECT_EQ(curve.Resize(x1, x2), c.result) << c.x1;
    EXPECT_EQ(Values(curve), c.samples) << c.x1;
    EXPECT_EQ(curve.XMin(), c.xMin) << c.x1;
    EXPECT_EQ(curve.XMax(), c.xMax) << c.x1;
    EXPECT_EQ(curve.XLen(), c.samples.size()) << c.x1;
  }
  CSigCurve empty;
  float x1 = 0;
  float x2 = 0.5f;
  EXPECT_EQ(empty.Resize(x1, x2), 1);
  EXPECT_EQ(empty.DLen(), 50u);
}

TEST(SigCurve, PointDistance) {
  const CSigCurve curve = Four();
  std::size_t index = 99;
  EXPECT_FLOAT_EQ(curve.PointDistance(-3, 14, &index), 5.0f);
  EXPECT_EQ(index, 0u);
  EXPECT_FLOAT_EQ(curve.PointDistance(7, 34, &index), 5.0f);
  EXPECT_EQ(index, 3u);
  EXPECT_FLOAT_EQ(curve.PointDistance(0.5f, 18, nullptr), 3.0f);
  EXPECT_FLOAT_EQ(curve.PointDistance(1.25f, 20, &index), 0.25f);
  EXPECT_EQ(index, 1u);
  EXPECT_EQ(CSigCurve().PointDistance(1, 1, &index), 0.0f);
}

}  // namespace
