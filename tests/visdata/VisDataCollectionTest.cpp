#include "umlauf/visdata/VisDataCollection.h"

#include "support/Test.h"
#include "umlauf/visdata/VisDataConversion.h"

namespace {

using Item = CVisDataItem;
using Range = Item::Range;

CSigCurveExt Curve(std::initializer_list<float> samples, float xMin, float xMax, const wchar_t* name) {
  CSigCurveExt curve(samples.size());
  std::copy(samples.begin(), samples.end(), curve.FData());
  curve.SetXMinMax(xMin, xMax);
  curve.ResetVMinMax();
  curve.SetName(name);
  return curve;
}

CSigPairs Points() {
  CSigPairs points;
  for (const SPunkt& p : {SPunkt{1, 10}, SPunkt{2, 20}, SPunkt{5, -10}}) points.NeuesPaar(p.x, p.y);
  points.SetName(L"points");
  points.SetXUnit(L"s");
  return points;
}

CSigCurveArray Array() {
  CSigCurveArray array;
  array.Append(Curve({0, 1, 2, 3}, 0, 4, L"a"), 10);
  array.Append(Curve({4, 5, 6, 7}, 0, 4, L"b"), 20);
  array.Append(Curve({0, 0, 0, 0}, 0, 4, L"c"), 40);
  array.SetName(L"map");
  array.SetArrayUnit(CMeasuringUnit(CMeasuringUnit::rpm));
  return array;
}

/// One item of each class.
CVisDataCollection All() {
  CVisDataVector vector;
  CVisDataIntVector integers;
  CVisDataPolygon polygon;
  CVisDataArray array;
  CVisDataGrid grid;
  EXPECT_ALL(VisData::Convert(Curve({1, NAN, 3}, 0, 3, L"vector"), vector),
             VisData::Convert(Points(), integers, 5, 0.5f), VisData::Convert(Points(), polygon),
             VisData::Convert(Array(), array), VisData::Convert(Array(), grid, 4));
  integers.SetName(L"integers");
  grid.SetName(L"grid");
  CVisDataCollection all;
  for (const Item* item : std::initializer_list<const Item*>{&vector, &integers, &polygon, &array, &grid})
    EXPECT_TRUE(all.Add(*item));
  return all;
}

std::wstring Names(const CVisDataCollection& collection) {
  std::wstring names;
  for (const auto& item : collection) names += std::wstring(item->Name()) + L" ";
  return names;
}

TEST(VisDataCollection, KeepsTheOrderFindsAndCopies) {
  CVisDataCollection all = All();
  all.SetName(L"picture");
  EXPECT_EQ(Names(all), L"vector integers points map grid ");
  EXPECT_ALL(all.Move(0, 2), all.Move(4, 1));
  EXPECT_ALL(Names(all) == L"integers grid points vector map ", !all.Move(0, 5), all.Find(L"points") == 2u,
             all.Find(L"nothing") == CVisDataCollection::None);
  all[3].Id().number = 77;
  EXPECT_EQ(all.Find(all[3].Id()), 3u);
  const CVisDataCollection copy = all;
  EXPECT_ALL(Names(copy) == Names(all), copy.Name() == L"picture");
  for (std::size_t i = 0; i < all.Count(); ++i) {
    EXPECT_EQ(copy[i].DataType(), all[i].DataType());
    EXPECT_EQ(copy[i].GetRuntimeClass(), all[i].GetRuntimeClass());
    for (const auto axis : {Item::AxisX, Item::AxisY, Item::AxisZ}) {
      EXPECT_EQ(CVisDataCollection::Statistics(copy[i], axis).count,
                CVisDataCollection::Statistics(all[i], axis).count);
    }
  }
  const auto removed = all.Remove(1);
  EXPECT_STREQ(removed->Name(), L"grid");
  EXPECT_ALL(all.Remove(9) == nullptr, !all.Insert(nullptr), !all.Add(CVisDataItem()));
}

TEST(VisDataCollection, StatisticsPerItemAndOverAll) {
  CVisDataCollection all = All();
  const Cases<const wchar_t*, Item::Dataaxis, std::uint64_t, float, float, double> cases = {
      {L"vector", Item::AxisY, 2, 1, 3, 2},       {L"vector", Item::AxisX, 3, 0, 2, 1},
      {L"vector", Item::AxisZ, 0, 0, 0, 0},       {L"integers", Item::AxisY, 5, -10, 20, 6},
      {L"points", Item::AxisX, 3, 1, 5, 8.0 / 3}, {L"map", Item::AxisY, 12, 0, 7, 28.0 / 12},
      {L"map", Item::AxisZ, 3, 10, 40, 70.0 / 3}, {L"grid", Item::AxisZ, 4, 10, 40, 25},
      {L"grid", Item::AxisX, 4, 0, 3, 1.5}};
  for (const auto& [name, axis, count, minimum, maximum, mean] : cases) {
    const VisDataStatistics s = CVisDataCollection::Statistics(all[all.Find(name)], axis);
    EXPECT_ALL(s.count == count, s.minimum == minimum, s.maximum == maximum)
        << CString(name).ToUtf8() << axis;
    EXPECT_NEAR(s.mean, mean, 1e-6) << CString(name).ToUtf8() << " " << axis;
  }
  EXPECT_EQ(all.Statistics(Item::AxisY).count, 2u + 5 + 3 + 12 + 16);
  all.CalcRanges();
  EXPECT_ALL(all.CommonRange(Item::AxisX) == Range(0, 6), all.CommonRange(Item::AxisY) == Range(-10, 20),
             all.CommonRange(Item::AxisZ).first == 10,
             CVisDataCollection().CommonRange(Item::AxisX) == Range(0, 1));
}

TEST(VisDataConversion, PairsArraysAndTimedPairs) {
  CVisDataVector vector;
  ASSERT_TRUE(VisData::Convert(Points(), vector, 5));
  EXPECT_EQ(std::vector(vector.Data(), vector.Data() + 5), (std::vector<float>{10, 20, 10, 0, -10}));
  EXPECT_ALL(vector.X(4) == 5, vector.XUnit() == L"s");
  CSigPairs unsorted = Points();
  unsorted.NeuesPaar(0, 0);
  unsorted.PruefeSortierung();
  EXPECT_ALL(!VisData::Convert(unsorted, vector, 5), vector.Empty());

  CSigCurveArray differing = Array();
  differing[1].SetXMinMax(2, 6);
  differing[1].ResetVMinMax();
  CVisDataArray array;
  ASSERT_TRUE(VisData::Convert(differing, array));
  EXPECT_EQ(std::vector(array.Row(1), array.Row(1) + 6), (std::vector<float>{0, 0, 4, 5, 6, 7}));
  EXPECT_ALL(array.Z(2) == 40, array.ZUnit() == L"rpm", array.ZRange() == Range(10, 40));
  CVisDataGrid grid;
  ASSERT_TRUE(VisData::Convert(Array(), grid, 4));
  EXPECT_EQ(std::vector(grid.Row(2), grid.Row(2) + 4), (std::vector<float>{2, 2.5f, 3, 3.5f}));
  EXPECT_EQ(grid.Z(3), 40);
  ASSERT_TRUE(VisData::Convert(CSigCurveArray(), grid, 4));
  EXPECT_TRUE(grid.Empty());

  CSigPairsTm timed;
  const CTime start(1700000000);
  timed.Neustart(start, start + CTimeSpan(200), 4.0);
  timed.NeuesPaar(start + CTimeSpan(50), 3.0f);
  CVisDataPolygon polygon;
  ASSERT_TRUE(VisData::Convert(timed, polygon));
  EXPECT_NEAR(polygon.X(0), 50.0f, 1e-3f);
  EXPECT_TRUE(polygon.XUnit() == L"s");
  // Samples of timed points lie at seconds, as vectors and as rows.
  timed.NeuesPaar(start + CTimeSpan(150), 5.0f);
  ASSERT_TRUE(VisData::Convert(timed, vector, 3));
  CVisDataIntVector integers;
  ASSERT_TRUE(VisData::Convert(timed, integers, 3, 0.5f));
  CVisDataArray rows;
  CVisDataGrid rowsOfGrid;
  ASSERT_TRUE(VisData::AppendRow(rows, timed, 3, 7));
  ASSERT_TRUE(VisData::AppendRow(rowsOfGrid, timed, 3));
  for (std::uint64_t i = 0; i < 3; ++i) {
    const float x = 50.0f + 50.0f * static_cast<float>(i), y = 3.0f + static_cast<float>(i);
    EXPECT_NEAR(vector.X(i), x, 1e-3f);
    EXPECT_EQ(vector.Data()[i], y);
    EXPECT_EQ(static_cast<float>(integers.Data()[i]) * integers.ScaleFactor(), y);
    EXPECT_EQ(rows.Row(0)[i], y);
    EXPECT_EQ(rowsOfGrid.Row(0)[i], y);
  }
  EXPECT_ALL(vector.XUnit() == L"s", integers.XUnit() == L"s", rows.XUnit() == L"s", rows.Z(0) == 7,
             !VisData::AppendRow(rows, timed, 4, 8));
  ASSERT_TRUE(VisData::AppendRow(rowsOfGrid, Points(), 5) == false);
}

TEST(VisDataConversion, SectionsOfCurveArrays) {
  const CSigCurveArray array = Array();
  CVisDataVector vector;
  ASSERT_TRUE(VisData::Convert(array, vector, 30));
  EXPECT_EQ(std::vector(vector.Data(), vector.Data() + 4), (std::vector<float>{2, 2.5f, 3, 3.5f}));
  EXPECT_TRUE(vector.YUnit() == array.YUnit());
  CVisDataIntVector integers;
  ASSERT_TRUE(VisData::Convert(array, integers, 30, 0.5f));
  EXPECT_EQ(integers.Data()[1], 5);
  CVisDataPolygon polygon;
  ASSERT_TRUE(VisData::Convert(array, polygon, array[0].XMin()));
  ASSERT_EQ(polygon.Size(), array.Count());
  EXPECT_ALL(polygon.X(2) == 40, polygon.Y(0) == array[0].FData()[0], polygon.XUnit() == L"rpm");
  EXPECT_ALL(!VisData::Convert(CSigCurveArray(), vector, 1), vector.Empty());
}

}  // namespace
