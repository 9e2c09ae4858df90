#include "umlauf/signal/SigCurveArray.h"

#include <cmath>
#include <random>

#include "signal/SignalTestSupport.h"
#include "support/LogCapture.h"
#include "umlauf/pairs/CurveArraySections.h"

namespace {

using testing::ElementsAre;

CSigCurveArray::CurvePtr Dated(std::initializer_list<float> samples, float date, int id = 0,
                               float xMin = 0.0f, float xMax = 4.0f) {
  auto curve = std::make_unique<CSigCurveExt>();
  *curve = Curve(samples, xMin, xMax);
  curve->Date(date);
  curve->CurveId(id);
  return curve;
}

std::vector<int> Ids(const CSigCurveArray& array) {
  std::vector<int> ids;
  for (const auto& curve : array) ids.push_back(curve->CurveId());
  return ids;
}

/// Three curves of four samples over [0, 4) at 10, 20 and 40, ids 1 to 3.
CSigCurveArray Three() {
  CSigCurveArray array;
  for (auto& curve :
       {Dated({0, 1, 2, 3}, 10, 1), Dated({10, 11, 12, 13}, 20, 2), Dated({4, 4, 4, 4}, 40, 3)}) {
    EXPECT_TRUE(array.Append(*curve, curve->Date()));
  }
  array.SetArrayUnit(CMeasuringUnit(CMeasuringUnit::rpm));
  return array;
}

TEST(SigCurveArray, KeepsCurvesInTheOrderOfTheirDates) {
  CSigCurveArray array = Three();
  EXPECT_EQ(Ids(array), (std::vector{1, 2, 3}));
  auto early = Dated({1}, 5, 4);
  EXPECT_FALSE(array.Append(std::move(early)));
  ASSERT_NE(early, nullptr) << "a curve that is refused stays with its owner";
  EXPECT_EQ(array.Insert(std::move(early)), 0u);
  EXPECT_EQ(array.Insert(Dated({1}, 20, 5)), 3u) << "behind an equal one";
  auto undated = Dated({1}, NAN);
  EXPECT_EQ(array.Insert(std::move(undated)), CSigCurveArray::None);
  EXPECT_FALSE(array.Append(std::move(undated)) || array.Append(nullptr));
  EXPECT_EQ(Ids(array), (std::vector{4, 1, 2, 5, 3}));
  const auto removed = array.Remove(1);
  EXPECT_ALL(removed->CurveId() == 1, array.Remove(9) == nullptr);
  array[0].Date(100);
  array[1].Date(NAN);
  array.Sort();
  EXPECT_EQ(Ids(array), (std::vector{5, 3, 4, 2}));
  const CSigCurveArray copy(array);
  array.Clear();
  EXPECT_ALL(array.IsEmpty(), copy.Count() == 4, copy.SigId() == SigIdCurveArray);
  EXPECT_EQ(std::unique_ptr<CObject>(CSigCurveArray::CreateObject())->GetRuntimeClass(),
            CSigCurveArray::GetThisClass());
}

TEST(SigCurveArray, FindsByPosition) {
  const CSigCurveArray array = Three();
  constexpr std::size_t none = CSigCurveArray::None;
  const struct {
    float position;
    std::size_t exact, before, nearest;
  } cases[] = {{5, none, none, 0},  {10, 0, 0, 0},       {14.9f, none, 0, 0}, {15, none, 0, 0},
               {15.1f, none, 0, 1}, {30.5f, none, 1, 2}, {40, 2, 2, 2},       {INFINITY, none, 2, 2}};
  for (const auto& c : cases) {
    EXPECT_EQ(array.Find(c.position), c.exact) << c.position;
    EXPECT_EQ(array.FindBefore(c.position), c.before) << c.position;
    EXPECT_EQ(array.FindNearest(c.position), c.nearest) << c.position;
  }
  EXPECT_EQ(CSigCurveArray().FindNearest(1), none);
  float lo = -1, hi = -1;
  array.GetArrayRange(lo, hi);
  EXPECT_ALL(lo == 10, hi == 40);
  CSigCurveArray part = array;
  ASSERT_TRUE(part.Part(10, 20, part));
  EXPECT_EQ(Ids(part), (std::vector{1, 2}));
  EXPECT_TRUE(part.ArrayUnit() == array.ArrayUnit());
}

TEST(SigCurveArray, SectionsInterpolateAlongBothAxes) {
  CSigCurveArray array = Three();
  float points[6];
  ASSERT_EQ(array.SectionAtX(1.5f, points), 3u);
  EXPECT_THAT(points, ElementsAre(10, 1.5f, 20, 11.5f, 40, 4));
  CSigPairs pairs;
  ASSERT_TRUE(SectionAtX(array, 1.5f, pairs));
  EXPECT_ALL(pairs.NPaare() == 3, pairs.WertBei(15) == 6.5f, pairs.XUnit() == L"rpm");
  CSigCurveExt section;
  ASSERT_TRUE(array.SectionAtX(1.5f, 7, section));
  EXPECT_EQ(Text(section), "10...45: 1.5 6.5 11.5 9.625 7.75 5.875 4");
  EXPECT_TRUE(section.XUnit() == L"rpm");
  for (const auto& [position, text] :
       {std::pair(10.0f, "0...4: 0 1 2 3"), std::pair(15.0f, "0...4: 5 6 7 8"),
        std::pair(25.0f, "0...4: 8.5 9.25 10 10.75"), std::pair(99.0f, "0...4: 4 4 4 4"),
        std::pair(-9.0f, "0...4: 0 1 2 3")}) {
    ASSERT_TRUE(array.SectionAt(position, section));
    EXPECT_EQ(Text(section), text) << position;
    EXPECT_EQ(section.Date(), position);
  }
  array[1].SetVIMinMax(2, 3);
  EXPECT_EQ(array.SectionAtX(1.0f, points), 2u) << "a curve whose span does not hold the x";
  ASSERT_TRUE(array.SectionAt(15.0f, section));
  EXPECT_ALL(section.IMin() == 2, section.IMax() == 3);
  EXPECT_FALSE(array.SectionAtX(7.0f, 5, section) || array.SectionAt(NAN, section) ||
               CSigCurveArray().SectionAt(1, section));
  EXPECT_EQ(section.DLen(), 0u);
}

TEST(SigCurveArray, StatisticsCountTheCurvesThatAreValid) {
  CSigCurveArray array = Three();
  array[1].SetVIMinMax(0, 2);
  CSigCurveExt out;
  ASSERT_TRUE(array.Minimum(out));
  EXPECT_EQ(Text(out), "0...4: 0 1 2 3");
  ASSERT_TRUE(array.Maximum(out));
  EXPECT_EQ(Text(out), "0...4: 10 11 12 4");
  ASSERT_TRUE(array.Mean(out));
  EXPECT_EQ(Text(out), "0...4: 4.66667 5.33333 6 3.5");
  ASSERT_TRUE(array.EnergeticMean(out));
  EXPECT_FLOAT_EQ(out.FData()[3], std::sqrt((9.0f + 16.0f) / 2));
  CMeasuringUnit level(CMeasuringUnit::pascal);
  level.set_db(true);
  array.SetYUnit(level);
  ASSERT_TRUE(array.EnergeticMean(out));
  EXPECT_NEAR(out.FData()[3], 10 * std::log10((std::pow(10.0, 0.3) + std::pow(10.0, 0.4)) / 2), 1e-5);
  EXPECT_FALSE(CSigCurveArray().Mean(out));
}

TEST(SigCurveArray, DifferingAxesGetOneThatHoldsAll) {
  CSigCurveArray array;
  array.Append(Dated({0, 2, 4, 6}, 1, 1, 0, 4));
  array.Append(Dated({10, 10, 10, 10, 10, 10}, 2, 2, 2, 5));
  EXPECT_FALSE(array.HasCommonAxis());
  CSigCurveExt mean;
  ASSERT_TRUE(array.Mean(mean));
  ASSERT_TRUE(array.MakeCommonAxis() && array.HasCommonAxis());
  EXPECT_ALL(array[0].XMin() == 0, array[0].XMax() == 5, array[0].DLen() == 10);
  EXPECT_THAT(std::vector(array[0].FData(), array[0].FData() + 7), ElementsAre(0, 1, 2, 3, 4, 5, 6));
  EXPECT_ALL(array[1].IMin() == 4, array[1].IMax() == 9) << array[1].IMin();
  EXPECT_THAT(Values(mean), ElementsAre(0, 1, 2, 3, 7, 7.5f, 8, 10, 10, 10));
  // Steps that would take more samples than there are.
  array.Append(Dated({1, 1}, 3, 3, 0, 1e-20f));
  array.Append(Dated({1}, 4, 4, 0, 1e20f));
  ASSERT_TRUE(array.Mean(mean));
  EXPECT_EQ(mean.DLen(), 23u);
}

TEST(SigCurveArray, IsASignalOfAllItsCurves) {
  CSigCurveArray array = Three();
  float lo = 0, hi = 0;
  array.GetYRange(lo, hi);
  EXPECT_ALL(lo == 0, hi == 13);
  array.GetYRangeX(lo, hi, 1.0f, 2.0f);
  EXPECT_ALL(lo == 1, hi == 12);
  array.GetXRange(lo, hi);
  EXPECT_ALL(lo == 0, hi == 4);
  EXPECT_EQ(array.YRange().second, std::pair(3.0f, 13.0f));
  std::size_t index = 9;
  EXPECT_FLOAT_EQ(array.PointDistance(1.0f, 11.5f, &index), 0.5f);
  EXPECT_EQ(index, 1u);
  EXPECT_FLOAT_EQ(array.GetValue(1.0f), 16.0f / 3);
  array.Scale(-1).Add(1).Abs().Clip(5, true).CutLeft(2.0f);
  EXPECT_EQ(Text(array[1]), "2...4: 5 5");
  EXPECT_FALSE(array.IsInRange(1.0f));
  CSigCurveArray().GetYRange(lo, hi);
  EXPECT_ALL(lo == 0, hi == 4) << "untouched";
}

CSigCurveArray Recorded() {
  CSigCurveArray array;
  auto first = Dated({-1, 0, 3, 1}, 2.5f, 7, -2, 2);
  first->SetXUnit(L"s");
  first->SetYUnit(L"Pa");
  first->SetFileCompression(false);
  first->SetVMinMax(-1, 1);
  array.Append(std::move(first));
  array.Append(Dated({1, 2}, 3, -1));
  array.SetName(L"map");
  array.SetArrayUnit(CMeasuringUnit(CMeasuringUnit::rpm));
  return array;
}

TEST(SigCurveArray, GoldenBytesAndBack) {
  const CSigCurveArray array = Recorded();
  CMemFile file;
  EXPECT_FALSE(array.WriteToFile(file, 1));
  EXPECT_EQ(file.GetLength(), 0u);
  ASSERT_TRUE(array.WriteToFile(file, 2));
  const std::string second = "02 01 73 07000000 0000 0100 00000000 00000000 ";
  const std::string pascal = "02 02 5061 0d000000 0000 0100 00000000 00000000 ";
  const std::string dash = "02 01 2d 00000000 0000 0100 00000000 00000000 ";
  const std::string expected =
      "6d6170" + std::string(74, '0') + Packed(second + pascal) +
      // Curves, array unit.
      Packed("02000000 02 03 72706d 09000000 0000 0100 0000803f 00000000") +
      // Id, name, units, raw samples, date and span.
      Packed("07000000") + std::string(80, '0') + Packed(second + pascal) +
      Packed(
          "00000000 10000000 5c000000 000000c0 00000040 000080bf 00004040 000080bf 00000000 00004040 "
          "0000803f "
          "00002040 000080bf 0000803f") +
      // Likewise, quantised.
      Packed("ffffffff") + std::string(80, '0') + Packed(dash + dash) +
      Packed(
          "01000000 02000000 1e000000 00000000 00008040 0000803f 00000040 00ff 00004040 00000000 00008040");
  EXPECT_EQ(Hex(file.Bytes()), expected);
  file.Seek(0, CFile::begin);
  CSigCurveArray back = Three();
  ASSERT_TRUE(back.ReadFromFile(file, 2));
  EXPECT_EQ(file.Remaining(), 0u);
  EXPECT_EQ(Ids(back), (std::vector{7, -1}));
  EXPECT_ALL(back[0].Date() == 2.5f, back[0].IMin() == 1, back[0].IMax() == 3, back[0].YUnit() == L"Pa");
  EXPECT_ALL(back.ArrayUnit() == L"rpm", back.XUnit() == L"s", std::wstring(back.Name()) == L"map");
  EXPECT_EQ(Values(back[1]), (std::vector<float>{1, 2}));
  file.Seek(0, CFile::begin);
  EXPECT_FALSE(back.ReadFromFile(file, 1));
}

TEST(SigCurveArray, CutAtEveryLengthReadsTheCurvesInFront) {
  const LogCapture silence;
  CMemFile whole;
  Recorded().WriteToFile(whole, 2);
  // What is read of a record that is cut: curves as long as their headers are there.
  std::size_t before = 0;
  for (std::size_t length = 0; length < whole.GetLength(); ++length) {
    CMemFile file(whole.Bytes().first(length));
    CSigCurveArray back;
    const bool read = back.ReadFromFile(file, 2);
    EXPECT_EQ(read, back.Count() == 2) << length;
    EXPECT_GE(back.Count(), before) << length;
    before = back.Count();
    for (const auto& curve : back) EXPECT_LE(curve->DLen(), length);
  }
  EXPECT_EQ(before, 2u);
  // More curves announced than there are; curves out of order.
  CMemFile file(whole.Bytes());
  const std::uint32_t count = UINT32_MAX;
  file.Seek(40 + 19 + 20, CFile::begin);
  file.Write(&count, sizeof count);
  file.Seek(0, CFile::begin);
  CSigCurveArray back;
  EXPECT_FALSE(back.ReadFromFile(file, 2));
  EXPECT_EQ(back.Count(), 2u);
  CSigCurveArray unordered = Recorded();
  unordered[0].Date(9);
  CMemFile other;
  unordered.WriteToFile(other, 2);
  other.Seek(0, CFile::begin);
  EXPECT_FALSE(back.ReadFromFile(other, 2));
  EXPECT_EQ(back.Count(), 1u);
}

}  // namespace
