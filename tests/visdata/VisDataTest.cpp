#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurveExt.h"
#include "umlauf/visdata/VisDataConversion.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Item = CVisDataItem;
using Range = CVisDataItem::Range;
constexpr std::uint64_t kTooMany = 1ull << 60;

template <class Samples>
auto Values(const Samples& item) {
  std::vector<std::decay_t<decltype(item[0])>> values;
  for (std::uint64_t i = 0; i < item.Size(); ++i) values.push_back(item[i]);
  return values;
}

std::vector<std::pair<float, float>> Points(const CVisDataPolygon& item) {
  std::vector<std::pair<float, float>> points;
  for (std::uint64_t i = 0; i < item.Size(); ++i) points.emplace_back(item.X(i), item.Y(i));
  return points;
}

std::vector<std::vector<float>> Rows(const CVisData3dObject& item) {
  std::vector<std::vector<float>> rows;
  for (std::uint64_t r = 0; r < item.Rows(); ++r) {
    rows.emplace_back(item.Row(r), item.Row(r) + static_cast<std::ptrdiff_t>(item.Columns()));
  }
  return rows;
}

/// Four samples -5, 5, 15, 25 from 2 s on, a second apart.
void FillSpeed(CSigCurve& curve) {
  curve.Resize(4);
  for (std::size_t i = 0; i < 4; ++i) curve.SetAt(i, 10.0f * static_cast<float>(i) - 5.0f);
  curve.SetXMinMax(2.0f, 6.0f);
  curve.SetName(L"n");
  curve.SetExtName(L"speed");
  curve.SetXUnit(CMeasuringUnit(CMeasuringUnit::second));
  curve.SetYUnit(CMeasuringUnit(CMeasuringUnit::rpm));
  curve.SetColor(7);
  curve.SetScaleFactor(2.0f);
}

void ExpectHeaderOfSpeed(const Item& item) {
  EXPECT_STREQ(item.Name(), L"n");
  EXPECT_EQ(item.ExtName(), L"speed");
  EXPECT_EQ(item.XUnit(), CMeasuringUnit(CMeasuringUnit::second));
  EXPECT_EQ(item.YUnit(), CMeasuringUnit(CMeasuringUnit::rpm));
  EXPECT_EQ(item.ColourCode(), 7);
}

TEST(VisDataVector, HoldsSamples) {
  CVisDataVector item;
  EXPECT_EQ(item.DataType(), 1);
  const float samples[] = {4, -2, 9};
  EXPECT_TRUE(item.Set(samples, 3));
  EXPECT_TRUE(item.Append(item.Data(), 3));  // grows from 3 to 6 floats while it reads from itself
  EXPECT_THAT(Values(item), ElementsAre(4, -2, 9, 4, -2, 9));
  EXPECT_TRUE(item.Set(item.Data() + 1, 2));
  EXPECT_TRUE(item.Resize(1));
  EXPECT_TRUE(item.Resize(3));
  EXPECT_THAT(Values(item), ElementsAre(-2, 0, 0));
  item.SetAxis({10.0f, 4.0f});
  EXPECT_EQ(item.X(1), 8.0f);

  item.CalcRange(Item::AxisX);
  EXPECT_EQ(item.XRange(), Range(4.0f, 10.0f));
  EXPECT_EQ(item.YRange(), Range(0.0f, 1.0f));  // not asked for
  item.CalcRange(Item::AxisY);
  EXPECT_EQ(item.YRange(), Range(-2.0f, 0.0f));

  CVisDataVector copy = item;
  copy[0] = 1;
  EXPECT_EQ(item[0], -2.0f);
  EXPECT_EQ(copy.Axis(), item.Axis());
  copy.Reset();
  EXPECT_TRUE(copy.Empty());
  EXPECT_EQ(copy.Axis(), SVisDataAxis());
  copy.CalcRange(Item::AllAxes);
  EXPECT_EQ(copy.YRange(), Range(0.0f, 1.0f));
}

TEST(VisDataVector, WithoutMemoryOrWithAForeignBlockThereAreNoSamples) {
  const float sample = 1;
  CVisDataVector item;
  for (int way = 0; way < 6; ++way) {
    ASSERT_TRUE(item.Set(&sample, 1));
    switch (way) {
      case 0:
        EXPECT_FALSE(item.SetSize(kTooMany));
        break;
      case 1:
        EXPECT_FALSE(item.Resize(kTooMany));
        break;
      case 2:
        EXPECT_FALSE(item.Append(&sample, ~0ull));
        break;
      case 3:
        EXPECT_FALSE(item.Append(nullptr, 1));
        break;
      case 4:
        EXPECT_FALSE(item.ExpandRawData(kTooMany));
        break;
      default:
        item.FreeRawData();
    }
    EXPECT_EQ(item.Size(), 0u) << way;
    item.CalcRange(Item::AllAxes);
  }
}

TEST(VisDataIntVector, HoldsMultiplesOfTheScale) {
  CVisDataIntVector item;
  EXPECT_EQ(item.DataType(), 2);
  item.SetScaleFactor(-0.5f);
  const float values[] = {1.0f, 0.25f, -1.3f, 1e30f, std::numeric_limits<float>::quiet_NaN()};
  EXPECT_TRUE(item.SetValues(values, 5));
  EXPECT_THAT(Values(item), ElementsAre(-2, -1, 3, INT32_MIN, INT32_MIN));
  EXPECT_TRUE(item.Resize(3));
  EXPECT_EQ(item.Value(2), -1.5f);
  item.CalcRange(Item::AxisY);
  EXPECT_EQ(item.YRange(), Range(-1.5f, 1.0f));
  EXPECT_FALSE(item.SetValues(nullptr, 1));
  item.CalcRange(Item::AxisY);
  EXPECT_EQ(item.YRange(), Range(0.0f, 1.0f));
}

TEST(VisDataPolygon, HoldsPoints) {
  CVisDataPolygon item;
  for (int i = 0; i < 40; ++i) ASSERT_TRUE(item.Append(static_cast<float>(i), static_cast<float>(-i % 7)));
  EXPECT_EQ(item.Size(), 40u);
  item.CalcRange(Item::AxisY);
  EXPECT_EQ(item.XRange(), Range(0.0f, 1.0f));
  EXPECT_EQ(item.YRange(), Range(-6.0f, 0.0f));
  item.CalcRange(Item::AxisX | Item::AxisZ);
  EXPECT_EQ(item.XRange(), Range(0.0f, 39.0f));
  EXPECT_TRUE(item.Set(&item.X(38), 2));
  EXPECT_THAT(Points(item), ElementsAre(std::pair(38.0f, -3.0f), std::pair(39.0f, -4.0f)));
  EXPECT_FALSE(item.SetSize(~0ull / 2 + 2));  // two floats each: more than can be counted
  EXPECT_TRUE(item.Empty());
  item.CalcRange(Item::AllAxes);
  EXPECT_EQ(item.XRange(), Range(0.0f, 1.0f));
}

TEST(VisData3dObject, ArrayHoldsRowsAtPositionsOfTheirOwn) {
  CVisDataArray item;
  EXPECT_EQ(item.DataType(), 4);
  const float samples[] = {1, 2, 3};
  EXPECT_FALSE(item.AppendRow(samples, 0, 0));
  EXPECT_TRUE(item.AppendRow(samples, 3, 20));
  EXPECT_FALSE(item.AppendRow(samples, 2, 0));  // a row is a row is a row
  for (int i = 0; i < 30; ++i) ASSERT_TRUE(item.AppendRow(item.Row(0), 3, static_cast<float>(-i)));
  item.At(30, 2) = -8;
  EXPECT_EQ(item.Rows(), 31u);
  EXPECT_THAT(Rows(item)[29], ElementsAre(1, 2, 3));
  EXPECT_EQ(item.Z(30), -29.0f);
  EXPECT_EQ(item.Z(31), 0.0f);
  item.SetAxis({0, 30});
  item.CalcRange(Item::AllAxes);
  EXPECT_EQ(item.X(2), 20.0f);
  EXPECT_EQ(item.XRange(), Range(0.0f, 30.0f));
  EXPECT_EQ(item.YRange(), Range(-8.0f, 3.0f));
  EXPECT_EQ(item.ZRange(), Range(-29.0f, 20.0f));

  const CVisDataArray copy = item;
  item.FreeRawData();
  EXPECT_TRUE(item.Empty());
  EXPECT_TRUE(item.AppendRow(samples, 2, 5));  // starts anew, with rows of another length
  item.CalcRange(Item::AxisZ);
  EXPECT_EQ(item.ZRange(), Range(5.0f, 5.0f));
  EXPECT_EQ(copy.Rows(), 31u);
  EXPECT_EQ(copy.Z(30), -29.0f);
  EXPECT_FALSE(item.SetSize(kTooMany, 1ull << 62));
  EXPECT_THAT(Rows(item), IsEmpty());
}

TEST(VisData3dObject, GridHoldsEquidistantRows) {
  CVisDataGrid item;
  EXPECT_EQ(item.DataType(), 5);
  EXPECT_TRUE(item.SetSize(2, 2));
  item.At(1, 0) = 4;
  const float row[] = {5, 6};
  EXPECT_TRUE(item.AppendRow(row, 2));
  EXPECT_THAT(Rows(item), ElementsAre(ElementsAre(0, 0), ElementsAre(4, 0), ElementsAre(5, 6)));
  item.SetZAxis({1000, 4000});
  EXPECT_EQ(item.Z(2), 3000.0f);
  item.CalcRange(Item::AxisY | Item::AxisZ);
  EXPECT_EQ(item.YRange(), Range(0.0f, 6.0f));
  EXPECT_EQ(item.ZRange(), Range(1000.0f, 4000.0f));
  item.Reset();
  EXPECT_EQ(item.Columns(), 0u);
  EXPECT_EQ(item.ZAxis(), SVisDataAxis());
  EXPECT_FALSE(item.SetSize(kTooMany, 1));
}

TEST(VisDataConversion, CurveWithAndWithoutSpan) {
  CSigCurve curve;
  FillSpeed(curve);
  CVisDataVector vector;
  EXPECT_TRUE(VisData::Convert(curve, vector));
  ExpectHeaderOfSpeed(vector);
  EXPECT_EQ(vector.ScaleFactor(), 2.0f);
  EXPECT_EQ(vector.FileCompressionMode(), Item::CompressBytes);
  EXPECT_THAT(Values(vector), ElementsAre(-5, 5, 15, 25));
  EXPECT_EQ(vector.XRange(), Range(2.0f, 6.0f));
  EXPECT_EQ(vector.YRange(), Range(-5.0f, 25.0f));
  CVisDataIntVector ints;
  EXPECT_TRUE(VisData::Convert(curve, ints, 2.5f));
  ExpectHeaderOfSpeed(ints);
  EXPECT_THAT(Values(ints), ElementsAre(-2, 2, 6, 10));
  EXPECT_EQ(ints.YRange(), Range(-5.0f, 25.0f));

  CSigCurveExt extended;
  FillSpeed(extended);
  extended.SetVIMinMax(1, 2);
  const CSigCurve& asCurve = extended;
  EXPECT_TRUE(VisData::Convert(asCurve, vector));
  EXPECT_THAT(Values(vector), ElementsAre(5, 15));
  EXPECT_EQ(vector.Axis(), (SVisDataAxis{3.0f, 5.0f}));
  CVisDataPolygon polygon;
  EXPECT_TRUE(VisData::Convert(extended, polygon));
  ExpectHeaderOfSpeed(polygon);
  EXPECT_THAT(Points(polygon), ElementsAre(std::pair(3.0f, 5.0f), std::pair(4.0f, 15.0f)));

  extended.Free();  // the span names samples that are no more
  EXPECT_TRUE(VisData::Convert(extended, vector));
  EXPECT_TRUE(vector.Empty());
  EXPECT_EQ(vector.YRange(), Range(0.0f, 1.0f));
}

TEST(VisDataConversion, Pairs) {
  CSigCurve curve;
  FillSpeed(curve);
  CSigPairs pairs;
  EXPECT_TRUE(pairs.CopyInfo(curve));
  pairs.SetXUnit(curve.XUnit());
  pairs.SetYUnit(curve.YUnit());
  pairs.SetColor(7);
  pairs.NeuesPaar(3, 1);
  pairs.NeuesPaar(-1, 8);
  CVisDataPolygon polygon;
  EXPECT_TRUE(VisData::Convert(pairs, polygon));
  ExpectHeaderOfSpeed(polygon);
  EXPECT_THAT(Points(polygon), ElementsAre(std::pair(3.0f, 1.0f), std::pair(-1.0f, 8.0f)));
  EXPECT_EQ(polygon.XRange(), Range(-1.0f, 3.0f));
  EXPECT_EQ(polygon.YRange(), Range(1.0f, 8.0f));
  EXPECT_TRUE(VisData::Convert(CSigPairs(), polygon));
  EXPECT_TRUE(polygon.Empty());
}

TEST(VisDataConversion, CurvesBecomeRowsOfOneAxis) {
  CSigCurveExt curve;
  FillSpeed(curve);
  CVisDataArray array;
  EXPECT_TRUE(VisData::AppendRow(array, curve, 0.5f));
  ExpectHeaderOfSpeed(array);
  curve *= 2.0f;
  EXPECT_TRUE(VisData::AppendRow(array, curve, 1.5f));
  curve.SetXMinMax(2.0f, 7.0f);
  EXPECT_FALSE(VisData::AppendRow(array, curve, 2.5f));
  curve.SetXMinMax(2.0f, 6.0f);
  curve.SetVIMinMax(0, 2);
  EXPECT_FALSE(VisData::AppendRow(array, curve, 2.5f));
  EXPECT_THAT(Rows(array), ElementsAre(ElementsAre(-5, 5, 15, 25), ElementsAre(-10, 10, 30, 50)));
  array.CalcRange(Item::AllAxes);
  EXPECT_EQ(array.XRange(), Range(2.0f, 6.0f));
  EXPECT_EQ(array.ZRange(), Range(0.5f, 1.5f));
  CVisDataGrid grid;
  EXPECT_TRUE(VisData::AppendRow(grid, curve));
  EXPECT_THAT(Rows(grid), ElementsAre(ElementsAre(-10, 10, 30)));
  EXPECT_EQ(grid.Axis(), (SVisDataAxis{2.0f, 5.0f}));
  EXPECT_FALSE(VisData::AppendRow(grid, CSigCurve()));
}

}  // namespace
