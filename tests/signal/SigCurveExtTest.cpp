#include "umlauf/signal/SigCurveExt.h"

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

#include "signal/SignalTestSupport.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

using testing::ElementsAre;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

CSigCurveExt Ext(std::initializer_list<float> samples, float xMin, float xMax) {
  CSigCurveExt curve;
  curve = Curve(samples, xMin, xMax);
  return curve;
}

/// Samples 0 ... 9 over [0, 10), valid from sample `first` to sample `last`.
CSigCurveExt Ten(float first = 0, float last = 10) {
  CSigCurveExt curve = Ext({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 0, 10);
  curve.SetVMinMax(first, last);
  return curve;
}

void ExpectSpan(const CSigCurveExt& curve, float vMin, float vMax, std::int64_t iMin, std::int64_t iMax) {
  EXPECT_EQ(std::tuple(curve.VMin(), curve.VMax(), curve.IMin(), curve.IMax()),
            std::tuple(vMin, vMax, iMin, iMax));
}

TEST(SigCurveExt, DefaultsAndClassRecord) {
  const std::unique_ptr<CObject> object(CSigCurveExt::GetThisClass()->CreateObject());
  EXPECT_STREQ(object->GetRuntimeClass()->m_lpszClassName, "CSigCurveExt");
  EXPECT_TRUE(object->IsKindOf(CSigCurve::GetThisClass()));
  const auto& curve = dynamic_cast<CSigCurveExt&>(*object);
  EXPECT_TRUE(curve.IsSigCurveExt());
  EXPECT_FALSE(curve.IsValid());
  ExpectSpan(curve, 0, 1, 0, -1);
  ExpectSpan(CSigCurveExt(5), 0, 1, 0, 4);
  EXPECT_EQ(CSigCurveExt(5).XLen(), 5u);
}

TEST(SigCurveExt, CopiesTakeTheSpanAssignmentOfACurveMakesAllValid) {
  CSigCurveExt source = Ten(2, 5);
  source.Date(7.5f);
  source.Date() += 1;
  source.CurveId(12);
  CSigCurveExt assigned;
  assigned = source;
  for (const CSigCurveExt& copy : {CSigCurveExt(source, false), assigned}) {
    ExpectSpan(copy, 2, 5, 2, 5);
    EXPECT_EQ(std::tuple(copy.Date(), copy.CurveId(), copy.XLen(), copy.SigId()),
              std::tuple(8.5f, 12, 4u, 1021));
  }
  assigned = static_cast<const CSigCurve&>(source);
  ExpectSpan(assigned, 0, 10, 0, 9);
  EXPECT_EQ(std::pair(assigned.Date(), assigned.CurveId()), std::pair(0.0f, -1));
  CSigCurveExt same(3);
  same.Date(3);
  same.MakeSameSize(source);
  ExpectSpan(same, 2, 5, 2, 5);
  EXPECT_EQ(std::tuple(same.Date(), same.CurveId(), same.XLen(), same.FData()[9]),
            std::tuple(3.0f, 12, 4u, 0.0f));
  same.Reset();
  ExpectSpan(same, 0, 1, 0, 9);
  EXPECT_EQ(same.CurveId(), 0);
}

TEST(SigCurveExt, SpanSettersLimitToTheCurve) {
  CSigCurveExt curve = Ten();
  const struct {
    float from, to, vMin, vMax;
    std::int64_t iMin, iMax;
    std::uint64_t xLen;
  } cases[] = {{2, 5, 2, 5, 2, 5, 4},
               {-3, 99, 0, 10, 0, 9, 10},
               {2.4f, 5.6f, 2.4f, 5.6f, 2, 6, 5},
               {kNaN, kNaN, 0, 10, 0, 9, 10},
               {7, 3, 7, 3, 7, 3, 0}};
  for (const auto& c : cases) {
    curve.SetVMinMax(c.from, c.to);
    ExpectSpan(curve, c.vMin, c.vMax, c.iMin, c.iMax);
    EXPECT_EQ(curve.XLen(), c.xLen);
  }
  EXPECT_EQ(curve.ILen(), -3);
  curve.SetVIMinMax(-5, 100);
  ExpectSpan(curve, -5, 100, 0, 9);
  curve.Invalidate();
  EXPECT_FALSE(curve.IsValid());
  curve.ResetVMinMax();
  EXPECT_EQ(curve.ILen(), 10);
  CSigCurveExt one(1);
  one.Invalidate();
  EXPECT_TRUE(one.IsValid());

  curve.SetVMinMax(3, 6);
  const CSigCurveExt wide = Ten(2, 5);
  curve.Expandieren(&wide);
  ExpectSpan(curve, 2, 6, 2, 6);
  curve.Expandieren(kNaN, 8);
  ExpectSpan(curve, 0, 8, 0, 8);
  curve.Schrumpfen(&wide);
  ExpectSpan(curve, 2, 5, 2, 5);
  curve.Schrumpfen(3, 4);
  ExpectSpan(curve, 3, 4, 3, 4);
  EXPECT_EQ(curve.GetIndexV(-10), 3);
  EXPECT_EQ(curve.GetIndexV(50), 4);
}

TEST(SigCurveExt, LookupHoldsTheSpan) {
  const CSigCurveExt curve = Ten(2, 5);
  const float values[][2] = {{-1, 2}, {2, 2}, {3.5f, 3.5f}, {4.9999f, 5}, {9, 5}};
  for (const auto& [x, y] : values) EXPECT_FLOAT_EQ(curve.GetValue(x), y) << x;
  EXPECT_EQ(CSigCurveExt().GetValue(1), 0.0f);
  EXPECT_TRUE(curve.IsInRange(5));
  EXPECT_FALSE(curve.IsInRange(5.5f));
  float lo = 0, hi = 0;
  curve.GetXRange(lo, hi);
  EXPECT_EQ(std::pair(lo, hi), std::pair(2.0f, 5.0f));
  curve.GetYRangeX(lo, hi, 0, 3);
  EXPECT_EQ(std::pair(lo, hi), std::pair(2.0f, 3.0f));
  const struct {
    std::int64_t i1, i2;
    float lo, hi;
  } ranges[] = {{3, 99, 3, 5}, {-4, 3, 2, 3}, {0, 1, 2, 2}, {7, 9, 7, 7}, {4, 3, -1, -1}, {10, 12, -1, -1}};
  for (const auto& r : ranges) {
    lo = hi = -1;
    curve.GetYRangeXI(lo, hi, r.i1, r.i2);
    EXPECT_EQ(std::pair(lo, hi), std::pair(r.lo, r.hi)) << r.i1;
  }
  curve.GetYRangeXI(lo, hi, 4, 9);  // plain numbers count as indices of the span, too
  EXPECT_EQ(hi, 5.0f);
  const CSignal& signal = curve;  // the other overload knows no span
  signal.GetYRangeXI(lo, hi, std::size_t{0}, std::size_t{9});
  EXPECT_EQ(hi, 9.0f);
  std::size_t index = 99;
  EXPECT_FLOAT_EQ(curve.PointDistance(-1, 6, &index), 5.0f);
  EXPECT_EQ(index, 2u);
  EXPECT_FLOAT_EQ(curve.PointDistance(8, 1, &index), 5.0f);
  EXPECT_EQ(index, 5u);
  EXPECT_FLOAT_EQ(curve.PointDistance(3.25f, 3, &index), 0.25f);
  EXPECT_FLOAT_EQ(curve.PointDistance(3.25f, 4.25f, nullptr), 1.0f);
  EXPECT_EQ(CSigCurveExt().PointDistance(1, 1, &index), 0.0f);
}

TEST(SigCurveExt, SectionSums) {
  const CSigCurveExt curve = Ten(2, 5);
  EXPECT_EQ(curve.AbschnittSumme(3, 4, false), 7.0f);
  EXPECT_EQ(curve.AbschnittSumme(-9, 99, false), 14.0f);
  EXPECT_EQ(curve.AbschnittSumme(6, 9, false), 0.0f);
  EXPECT_EQ(curve.AbschnittSumme(4, 3, false), 0.0f);
  EXPECT_EQ(CSigCurveExt().AbschnittSumme(0, 1, true), 0.0f);
  EXPECT_NEAR(Ext({0, 0, 0}, 0, 3).AbschnittSumme(0, 3, true), 10 * std::log10(3.0), 1e-5);
  EXPECT_NEAR(Ext({-5000, 90, 90}, 0, 3).AbschnittSumme(1, 3, true), 90 + 10 * std::log10(2.0), 1e-4);
  EXPECT_NEAR(Ext({4000, 4000}, 0, 2).AbschnittSumme(0, 2, true), 4000 + 10 * std::log10(2.0), 1e-3);
}

TEST(SigCurveExt, ShapeOperationsCarryTheSpan) {
  ExpectSpan(CSigCurveExt(Ten(2, 5)).CutLeft(3), 3, 5, 0, 2);
  // The cut makes the step smaller, so x = 2 is nearer to sample 3 now.
  ExpectSpan(CSigCurveExt(Ten(2, 5)).CutRight(4), 2, 4, 3, 4);
  CSigCurveExt cut = Ten();
  ExpectSpan(cut.CutLR(2, 8), 2, 8, 0, 6);
  EXPECT_THAT(Values(cut), ElementsAre(2, 3, 4, 5, 6, 7, 8));
  EXPECT_EQ(cut.XLen(), 7u);
  ExpectSpan(CSigCurveExt(Ten(2, 5)).MirrorX(), -5, -2, 5, 8);
  CSigCurveExt joined = Ten(2, 5);
  joined.Append(Ten(1, 3));
  EXPECT_EQ(joined.DLen(), 20u);
  ExpectSpan(joined, 0, 12, 0, 12);
  joined.Resize(std::uint64_t{4});
  ExpectSpan(joined, 0, 20, 0, 3);
  EXPECT_EQ(joined.XLen(), 4u);
  CSigCurveExt kept = Ten(2, 5);
  kept.Append(CSigCurveExt());  // no samples, but an axis and a span of length 1
  ExpectSpan(kept, 0, 11, 0, 9);
  std::array<float, 2> mine{1, 2};
  CSigCurveExt borrowed = Ten(2, 5);
  borrowed.SetBuffer(reinterpret_cast<ULONG*>(mine.data()), 2);
  EXPECT_FALSE(borrowed.Resize(std::uint64_t{3}));
  ExpectSpan(borrowed, 0, 10, 0, 1);
}

TEST(SigCurveExt, JoinTakesWhatReachesFurther) {
  CSigCurveExt source = Ten(1, 8);
  source += 100;
  CSigCurveExt curve = Ten(3, 5);
  curve ^= source;
  ExpectSpan(curve, 1, 8, 1, 8);
  EXPECT_THAT(Values(curve), ElementsAre(0, 101, 102, 3, 4, 5, 106, 107, 108, 9));
  EXPECT_EQ(curve.XLen(), 3u);
  CSigCurveExt apart = Ten(3, 5);
  apart ^= Ten(6, 8);
  CSigCurveExt finer = Ext({1, 2}, 0, 1);
  apart ^= finer;
  ExpectSpan(apart, 3, 5, 3, 5);
}

TEST(SigCurveExt, MaximizeOverTheOverlapModeZeroIsMinimum) {
  CSigCurveExt flat = Ten(2, 6);
  flat = 4.0f;
  EXPECT_THAT(Values(CSigCurveExt(Ten(1, 9)).Maximize(&flat, 1)), ElementsAre(0, 1, 4, 4, 4, 5, 6, 7, 8, 9));
  EXPECT_THAT(Values(CSigCurveExt(Ten(3, 9)).Maximize(&flat, 0)), ElementsAre(0, 1, 2, 3, 4, 4, 4, 7, 8, 9));
  EXPECT_THAT(Values(CSigCurveExt(Ten(7, 9)).Maximize(&flat, 0)), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(SigCurveExt, WeightedSumsWithOffset) {
  const CSigCurve plain = Curve({1, 2, 3}, 0, 3);
  CSigCurveExt source = Ext({9, 1, 2, 3, 9}, 0, 5);
  source.SetVIMinMax(1, 3);
  const struct {
    int offset;
    std::vector<float> result;  // of samples 4 to 7, the span
  } cases[] = {{0, {2, 4, 6, 0}},  {2, {0, 0, 2, 4}},       {4, {0, 0, 0, 0}},      {-1, {4, 6, 0, 0}},
               {-3, {0, 0, 0, 0}}, {INT_MIN, {0, 0, 0, 0}}, {INT_MAX, {0, 0, 0, 0}}};
  for (const auto& c : cases) {
    for (const CSigCurve* o : {&plain, static_cast<const CSigCurve*>(&source)}) {
      CSigCurveExt curve(10);
      curve.SetVIMinMax(4, 7);
      curve.AddWithWeight(*o, 2, c.offset);
      const std::vector<float> all = Values(curve);
      EXPECT_EQ(std::vector<float>(all.begin() + 4, all.begin() + 8), c.result) << c.offset;
      EXPECT_EQ(all[3] + all[8], 0.0f);
    }
  }
  CSigCurveExt curve(3);
  EXPECT_THAT(Values(curve.AddSquared(plain, 0.5f, 1)), ElementsAre(0, 0.5f, 2));
  EXPECT_THAT(Values(curve.AddSquared(curve, 2, 1)), ElementsAre(0, 0.5f, 2.5f));
  EXPECT_THAT(Values(curve.AddSquared(plain, 1)), ElementsAre(1, 4.5f, 11.5f));  // without offset: the base's
}

TEST(SigCurveExt, FileRecordBytesAndEveryCutOfThem) {
  auto before = PrWin::SetSink([](int, int, const CString&) {});
  CSigCurveExt curve = Ext({1, 2, 3, 4}, 0, 4);
  curve.SetVMinMax(1, 3);
  curve.Date(2.5f);
  curve.CurveId(8);
  for (const unsigned version : {0u, 1u, 2u, 3u}) {
    CMemFile file, base;
    EXPECT_TRUE(curve.WriteToFile(file, version) && curve.CSigCurve::WriteToFile(base, version));
    EXPECT_EQ(Hex(file.Bytes()), Hex(base.Bytes()) + (version >= 2 ? "000020400000803f00004040" : ""));
  }
  CMemFile whole;
  curve.WriteToFile(whole, 2);
  const std::size_t section = whole.GetLength() - 12;
  for (std::size_t length = 0; length <= whole.GetLength(); ++length) {
    CMemFile file(whole.Bytes().first(length));
    CSigCurveExt back;
    back.CurveId(5);
    const bool read = back.ReadFromFile(file, 2);
    EXPECT_LE(back.IMax(), static_cast<std::int64_t>(back.DLen()));
    if (length < section) continue;
    EXPECT_TRUE(read);
    EXPECT_EQ(back.Date(), length >= section + 4 ? 2.5f : 0.0f);
    ExpectSpan(back, length >= section + 8 ? 1.0f : 0.0f, length >= section + 12 ? 3.0f : 4.0f,
               length >= section + 8 ? 1 : 0, 3);
    EXPECT_EQ(back.CurveId(), 5);
  }
  // What stands behind the samples is found also where the data hold more than whole samples.
  for (const std::uint32_t mode : {0u, 7u}) {
    CMemFile file;
    CSigCurveExt five(5);
    five.Date(2.5f);
    five.WriteToFile(file, 2);
    file.Seek(-12 - 5 - 28, CFile::end);
    file.Write(&mode, 4);
    file.Seek(0, CFile::begin);
    EXPECT_TRUE(five.ReadFromFile(file, 2) && file.Remaining() == 0) << mode;
    EXPECT_EQ(std::pair(five.DLen(), five.Date()), std::pair(std::uint64_t{1}, 2.5f)) << mode;
  }
  whole.Seek(0, CFile::begin);
  CSigCurveExt old;
  EXPECT_TRUE(old.ReadFromFile(whole, 1) && whole.Remaining() == 12);
  ExpectSpan(old, 0, 4, 0, 3);
  PrWin::SetSink(before);
}

TEST(SigCurveExt, StaleSpansNeverLeadOutsideTheSamples) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> anywhere(-15, 15);
  for (int round = 0; round < 3000; ++round) {
    CSigCurveExt curve = Ten(anywhere(random), anywhere(random));
    curve.Malloc(random() % 12);  // the span still names ten samples
    if (round % 3 == 0) curve.SetXMinMax(anywhere(random), anywhere(random));
    CSigCurveExt other = Ten(anywhere(random), anywhere(random));
    float lo = 0, hi = 0;
    curve.GetYRange(lo, hi);
    curve.GetYRangeX(lo, hi, anywhere(random), anywhere(random));
    curve.GetValue(anywhere(random));
    curve.AbschnittSumme(anywhere(random), anywhere(random), round % 2 == 0);
    curve.PointDistance(anywhere(random), 0, nullptr);
    curve.AddSquared(other, 1, static_cast<int>(anywhere(random)));
    other.AddWithWeight(curve, 1, static_cast<int>(anywhere(random)));
    (other ^= curve).Maximize(&curve, round % 2);
    (curve ^= other).Maximize(&other, round % 2);
    curve.MirrorX().CutLR(anywhere(random), anywhere(random)).Append(other);
    EXPECT_LE(curve.ILen(), static_cast<std::int64_t>(curve.DLen()));
  }
}

}  // namespace
