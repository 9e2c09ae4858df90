#include "support/Test.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurveExt.h"
#include "umlauf/visdata/VisDataConversion.h"

namespace {

using Item = CVisDataItem;
using Range = CVisDataItem::Range;
constexpr std::uint64_t kTooMany = 1ull << 60;

template <class T>
std::vector<T> List(const T* first, std::uint64_t n) {
  return {first, first + static_cast<std::ptrdiff_t>(n)};
}
template <class Samples>
auto Values(const Samples& item) {
  return List(item.Data(), item.Size());
}
std::vector<float> Points(const CVisDataPolygon& item) { return List(item.RawData(), 2 * item.Size()); }

std::vector<std::vector<float>> Rows(const CVisData3dObject& item) {
  std::vector<std::vector<float>> rows;
  for (std::uint64_t r = 0; r < item.Rows(); ++r) rows.push_back(List(item.Row(r), item.Columns()));
  return rows;
}

TEST(VisDataVector, HoldsSamples) {
  CVisDataVector item;
  const float samples[] = {4, -2, 9};
  EXPECT_TRUE(item.Set(samples, 3));
  EXPECT_TRUE(item.Append(item.Data() + 1, 2));  // grows from 3 to 6 floats while it reads from itself
  EXPECT_THAT(Values(item), ElementsAre(4, -2, 9, -2, 9));
  EXPECT_ALL(item.Set(item.Data() + 1, 2), item.Resize(1), item.Resize(3));
  EXPECT_THAT(Values(item), ElementsAre(-2, 0, 0));
  item.SetAxis({10.0f, 4.0f});
  EXPECT_EQ(item.X(1), 8.0f);
  item.CalcRange(Item::AxisX);
  EXPECT_EQ(item.XRange(), Range(4.0f, 10.0f));
  EXPECT_EQ(item.YRange(), Range(0.0f, 1.0f));  // not asked for
  item.CalcRange(Item::AxisY);
  EXPECT_EQ(item.YRange(), Range(-2.0f, 0.0f));
}

TEST(VisDataVector, WithoutMemoryOrBlockThereAreNoSamples) {
  static const float sample = 1;
  using Vector = CVisDataVector;
  constexpr bool (*ways[])(Vector&) = {
      [](Vector& v) { return v.SetSize(kTooMany); },       [](Vector& v) { return v.Resize(kTooMany); },
      [](Vector& v) { return v.Append(&sample, ~0ull); },  [](Vector& v) { return v.Append(nullptr, 1); },
      [](Vector& v) { return v.ExpandRawData(kTooMany); }, [](Vector& v) { return v.FreeRawData(), false; },
  };
  Vector item;
  for (const auto& way : ways) {
    ASSERT_TRUE(item.Set(&sample, 1));
    EXPECT_FALSE(way(item));
    EXPECT_EQ(item.Size(), 0u) << &way - ways;
    item.CalcRange(Item::AllAxes);
  }
}

TEST(VisDataIntVector, HoldsMultiplesOfTheScale) {
  CVisDataIntVector item;
  item.SetScaleFactor(-0.5f);
  const float values[] = {1.0f, 0.25f, -1.3f, 1e30f, std::numeric_limits<float>::quiet_NaN()};
  EXPECT_TRUE(item.SetValues(values, 5));
  EXPECT_THAT(Values(item), ElementsAre(-2, -1, 3, INT32_MIN, INT32_MIN));
  EXPECT_ALL(item.Resize(3), item.Value(2) == -1.5f);
  item.CalcRange(Item::AxisY);
  EXPECT_EQ(item.YRange(), Range(-1.5f, 1.0f));
}

TEST(VisDataPolygon, HoldsPoints) {
  CVisDataPolygon item;
  for (int i = 0; i < 40; ++i) ASSERT_TRUE(item.Append(static_cast<float>(i), static_cast<float>(-i % 7)));
  item.CalcRange(Item::AllAxes);
  EXPECT_ALL(item.YRange() == Range(-6.0f, 0.0f), item.XRange() == Range(0.0f, 39.0f),
             item.Set(&item.X(38), 2));
  EXPECT_THAT(Points(item), ElementsAre(38.0f, -3.0f, 39.0f, -4.0f));
  EXPECT_FALSE(item.SetSize(~0ull / 2 + 2) || !item.Empty());  // two floats each: more than can be counted
  item.CalcRange(Item::AllAxes);
  EXPECT_EQ(item.XRange(), Range(0.0f, 1.0f));
}

TEST(VisData, EachClassHasItsCode) {
  const int codes[] = {CVisDataVector().DataType(), CVisDataIntVector().DataType(),
                       CVisDataPolygon().DataType(), CVisDataArray().DataType(), CVisDataGrid().DataType()};
  EXPECT_THAT(codes, ElementsAre(1, 2, 3, 4, 5));
}

TEST(VisData3dObject, ArrayHoldsRowsAtPositionsOfTheirOwn) {
  CVisDataArray item;
  const float samples[] = {1, 2, 3};
  EXPECT_ALL(!item.AppendRow(samples, 0, 0), item.AppendRow(samples, 3, 20));
  EXPECT_FALSE(item.AppendRow(samples, 2, 0));  // of another length
  for (int i = 0; i < 30; ++i) ASSERT_TRUE(item.AppendRow(item.Row(0), 3, static_cast<float>(-i)));
  item.At(30, 2) = -8;
  EXPECT_THAT(Rows(item)[29], ElementsAre(1, 2, 3));
  EXPECT_EQ(item.Z(31), 0.0f);
  item.SetAxis({0, 30});
  item.CalcRange(Item::AllAxes);
  EXPECT_ALL(item.YRange() == Range(-8.0f, 3.0f), item.XRange() == Range(0.0f, 30.0f));
  const CVisDataArray copy = item;
  item.FreeRawData();
  EXPECT_TRUE(item.Empty());
  EXPECT_TRUE(item.AppendRow(samples, 2, 5));  // starts anew, with rows of another length
  item.CalcRange(Item::AxisZ);
  EXPECT_ALL(item.ZRange() == Range(5.0f, 5.0f), copy.Z(30) == -29.0f, !item.SetSize(kTooMany, 1ull << 62));
  EXPECT_THAT(Rows(item), IsEmpty());
}

TEST(VisData3dObject, GridHoldsEquidistantRows) {
  CVisDataGrid item;
  EXPECT_TRUE(item.SetSize(2, 2));
  item.At(1, 0) = 4;
  EXPECT_THAT(Rows(item), ElementsAre(ElementsAre(0, 0), ElementsAre(4, 0)));
  item.SetZAxis({1000, 4000});
  EXPECT_EQ(item.Z(1), 2500.0f);
  item.CalcRange(Item::AxisZ);
  EXPECT_EQ(item.ZRange(), Range(1000.0f, 4000.0f));
  item.Reset();
  EXPECT_ALL(item.Columns() == 0, item.ZAxis() == SVisDataAxis());
}

void SetHeader(CSignal& signal) {
  signal.SetName(L"n");
  signal.SetExtName(L"speed");
  signal.SetXUnit(CMeasuringUnit(CMeasuringUnit::second));
  signal.SetYUnit(CMeasuringUnit(CMeasuringUnit::rpm));
  signal.SetColor(7);
}

bool HasThatHeader(const Item& item) {
  return item.Name() == std::wstring(L"n") && item.ExtName() == L"speed" && item.ColourCode() == 7 &&
         item.XUnit() == CMeasuringUnit(CMeasuringUnit::second) &&
         item.YUnit() == CMeasuringUnit(CMeasuringUnit::rpm);
}

/// Four samples -5, 5, 15, 25 from 2 s on, a second apart.
CSigCurveExt Speed() {
  CSigCurveExt curve(4);
  for (std::size_t i = 0; i < 4; ++i) curve.SetAt(i, 10.0f * static_cast<float>(i) - 5.0f);
  curve.SetXMinMax(2.0f, 6.0f);
  curve.SetScaleFactor(2.0f);
  return curve;
}

TEST(VisDataConversion, CurveWithAndWithoutSpan) {
  CSigCurveExt extended = Speed();
  extended.SetVIMinMax(1, 2);
  SetHeader(extended);
  CSigCurve curve(extended);
  SetHeader(curve);
  CVisDataVector vector;
  EXPECT_ALL(VisData::Convert(curve, vector), HasThatHeader(vector), vector.ScaleFactor() == 2.0f,
             vector.FileCompressionMode() == Item::CompressBytes);
  EXPECT_THAT(Values(vector), ElementsAre(-5, 5, 15, 25));
  EXPECT_EQ(vector.YRange(), Range(-5.0f, 25.0f));
  CVisDataIntVector ints;
  EXPECT_TRUE(VisData::Convert(curve, ints, 2.5f));
  EXPECT_THAT(Values(ints), ElementsAre(-2, 2, 6, 10));

  const CSigCurve& asCurve = extended;
  EXPECT_TRUE(VisData::Convert(asCurve, vector));
  EXPECT_THAT(Values(vector), ElementsAre(5, 15));
  EXPECT_EQ(vector.Axis(), (SVisDataAxis{3.0f, 5.0f}));
  CVisDataPolygon polygon;
  EXPECT_ALL(VisData::Convert(extended, polygon), HasThatHeader(polygon));
  EXPECT_THAT(Points(polygon), ElementsAre(3.0f, 5.0f, 4.0f, 15.0f));
  extended.Free();  // the span names samples that are no more
  EXPECT_ALL(VisData::Convert(extended, vector), vector.Empty());
}

TEST(VisDataConversion, Pairs) {
  CSigPairs pairs;
  SetHeader(pairs);
  pairs.NeuesPaar(3, 1);
  pairs.NeuesPaar(-1, 8);
  CVisDataPolygon polygon;
  EXPECT_ALL(VisData::Convert(pairs, polygon), HasThatHeader(polygon));
  EXPECT_THAT(Points(polygon), ElementsAre(3.0f, 1.0f, -1.0f, 8.0f));
  EXPECT_EQ(polygon.YRange(), Range(1.0f, 8.0f));
}

TEST(VisDataConversion, CurvesBecomeRowsOfOneAxis) {
  CSigCurveExt curve = Speed();
  SetHeader(curve);
  CVisDataArray array;
  EXPECT_ALL(VisData::AppendRow(array, curve, 0.5f), HasThatHeader(array));
  curve *= 2.0f;
  EXPECT_TRUE(VisData::AppendRow(array, curve, 1.5f));
  curve.SetXMinMax(2.0f, 7.0f);
  EXPECT_FALSE(VisData::AppendRow(array, curve, 2.5f));
  curve.SetXMinMax(2.0f, 6.0f);
  curve.SetVIMinMax(0, 2);
  EXPECT_FALSE(VisData::AppendRow(array, curve, 2.5f));
  EXPECT_THAT(Rows(array), ElementsAre(ElementsAre(-5, 5, 15, 25), ElementsAre(-10, 10, 30, 50)));
  array.CalcRange(Item::AllAxes);
  EXPECT_EQ(array.ZRange(), Range(0.5f, 1.5f));
  CVisDataGrid grid;
  EXPECT_TRUE(VisData::AppendRow(grid, curve));
  EXPECT_THAT(Rows(grid), ElementsAre(ElementsAre(-10, 10, 30)));
  EXPECT_EQ(grid.Axis(), (SVisDataAxis{2.0f, 5.0f}));
}

}  // namespace
