#include "umlauf/signal/SigCurveExt.h"

#include "signal/SignalTestSupport.h"
#include "support/Test.h"

namespace {

using testing::Each;

CSigCurveExt Ext(std::initializer_list<float> samples, float xMin, float xMax) {
  CSigCurveExt curve;
  curve = Curve(samples, xMin, xMax);
  return curve;
}

/// Samples 0 ... 9 over [0, 10), valid from `first` to `last`.
CSigCurveExt Ten(float first = 0, float last = 10) {
  CSigCurveExt curve = Ext({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 0, 10);
  curve.SetVMinMax(first, last);
  return curve;
}

/// The span as positions and indices, for example "2...5 [2, 5]"; the x length has to fit it.
std::string Span(const CSigCurveExt& curve) {
  std::ostringstream text;
  text << curve.VMin() << "..." << curve.VMax() << " [" << curve.IMin() << ", " << curve.IMax() << "]";
  EXPECT_EQ(curve.XLen(), static_cast<std::uint64_t>(std::max<std::int64_t>(curve.ILen(), 0))) << text.str();
  return text.str();
}

TEST(SigCurveExt, ClassRecordsUpToTheRoot) {
  std::string classes;  // "*" where objects can be made
  for (const CRuntimeClass* c = CSigCurveExt::GetThisClass(); c != CObject::GetThisClass();
       c = c->m_pfnGetBaseClass()) {
    const std::unique_ptr<CObject> object(c->CreateObject());
    classes += std::string(c->m_lpszClassName) + (object != nullptr ? "* " : " ");
    EXPECT_TRUE(object == nullptr || object->GetRuntimeClass() == c);
  }
  EXPECT_EQ(classes, "CSigCurveExt* CSigCurve* CSignal CSigRaw ");
}

TEST(SigCurveExt, CopiesTakeTheSpanAssignmentOfACurveMakesAllValid) {
  const auto label = [](const CSigCurveExt& c) {
    return std::tuple(Span(c), c.Date(), c.CurveId(), c.SigId());
  };
  EXPECT_EQ(label(CSigCurveExt()), std::tuple("0...1 [0, -1]", 0.0f, 0, 1021));
  EXPECT_EQ(label(CSigCurveExt(5)), std::tuple("0...1 [0, 4]", 0.0f, 0, 1021));
  CSigCurveExt source = Ten(2, 5);
  source.Date(7.5f);
  source.Date() += 1;
  source.CurveId(12);
  EXPECT_EQ(label(CSigCurveExt(source, false)), std::tuple("2...5 [2, 5]", 8.5f, 12, 1021));
  CSigCurveExt curve(3);
  curve.Date(3);
  curve.MakeSameSize(source);
  EXPECT_EQ(label(curve), std::tuple("2...5 [2, 5]", 3.0f, 12, 1021));
  curve = source;
  EXPECT_EQ(label(curve), std::tuple("2...5 [2, 5]", 8.5f, 12, 1021));
  curve = static_cast<const CSigCurve&>(source);
  EXPECT_EQ(label(curve), std::tuple("0...10 [0, 9]", 0.0f, -1, 1021));
  curve.Reset();
  EXPECT_EQ(label(curve), std::tuple("0...1 [0, 9]", 0.0f, 0, 1021));
}

TEST(SigCurveExt, OperationsSetAndCarryTheSpan) {
  using E = CSigCurveExt;
  static const E wide = Ten(1, 4), tail = Ten(1, 3), empty;
  static std::array<float, 2> mine{1, 2};
  // The span after an operation on ten samples that are valid from 2 to 5.
  const Cases<void (*)(E & c), const char*> cases = {
      {[](E& c) { c.SetVMinMax(2.4f, 5.6f); }, "2.4...5.6 [2, 6]"},
      {[](E& c) { c.SetVMinMax(7, 3); }, "7...3 [7, 3]"},
      {[](E& c) { c.SetVMinMax(-3, 99); }, "0...10 [0, 9]"},
      {[](E& c) { c.SetVIMinMax(-5, 100); }, "-5...100 [0, 9]"},
      {[](E& c) { c.ResetVMinMax(); }, "0...10 [0, 9]"},
      {[](E& c) { c.Invalidate(); }, "1...0 [1, 0]"},
      {[](E& c) { c.Expandieren(&wide); }, "1...5 [1, 5]"},
      {[](E& c) { c.Expandieren(kNaN, 8); }, "0...8 [0, 8]"},
      {[](E& c) { c.Schrumpfen(&wide); }, "2...4 [2, 4]"},
      {[](E& c) { c.CutLeft(3); }, "3...5 [0, 2]"},
      {[](E& c) { c.CutRight(4); }, "2...4 [3, 4]"},  // the step is smaller now: x = 2 is nearer to sample 3
      {[](E& c) { c.CutLR(1, 8); }, "1...8 [0, 7]"},
      {[](E& c) { c.MirrorX(); }, "-5...-2 [5, 8]"},
      {[](E& c) { c.Append(tail); }, "0...12 [0, 12]"},
      {[](E& c) { c.Append(empty); }, "0...11 [0, 9]"},  // no samples, but an axis and a span of length 1
      {[](E& c) { c.Resize(std::uint64_t{4}); }, "0...10 [0, 3]"},
      {[](E& c) { Lend(mine, c), c.Resize(std::uint64_t{3}); }, "0...10 [0, 1]"},  // no room
  };
  for (const auto& [operation, span] : cases) {
    E curve = Ten(2, 5);
    operation(curve);
    EXPECT_EQ(Span(curve), span);
    EXPECT_EQ(curve.IsValid(), curve.IMin() <= curve.IMax()) << span;
  }
  E one(1);
  one.Invalidate();
  EXPECT_ALL(one.IsValid(), Text(Ten().CutLR(2, 8)) == "2...8: 2 3 4 5 6 7 8");
}

TEST(SigCurveExt, LookupHoldsTheSpan) {
  const CSigCurveExt curve = Ten(2, 5);
  // x, value there; y, distance of (x, y), and the nearest index
  const Cases<float, float, float, float, std::size_t> cases = {{-1, 2, 6, 5, 2},
                                                                {8, 5, 1, 5, 5},
                                                                {3.25f, 3.25f, 3, 0.25f, 3},
                                                                {4.9999f, 5, 5, 1e-4f, 5},
                                                                {2.0009f, 2, 5, 3, 2},
                                                                {2.002f, 2.002f, 2, 0.002f, 2},
                                                                {4.998f, 4.998f, 5, 0.002f, 5}};
  for (const auto& [x, value, y, distance, expectedIndex] : cases) {
    std::size_t index = 99;
    EXPECT_FLOAT_EQ(curve.GetValue(x), value) << x;
    EXPECT_NEAR(curve.PointDistance(x, y, &index), distance, 1e-5) << x;
    EXPECT_EQ(index, expectedIndex) << x;
    EXPECT_EQ(curve.GetIndexV(x), static_cast<std::int64_t>(expectedIndex)) << x;
  }
  EXPECT_EQ(curve.PointDistance(3.25f, 4.25f, nullptr), 1.0f);  // to the interpolated value
  EXPECT_EQ(CSigCurveExt().GetValue(1) + CSigCurveExt().PointDistance(1, 1, nullptr), 0.0f);
  EXPECT_ALL(curve.IsInRange(2), curve.IsInRange(5), !curve.IsInRange(1.9f), !curve.IsInRange(5.5f));
  float lo = 0, hi = 0;
  const auto expect = [&](float low, float high) { EXPECT_EQ(std::pair(lo, hi), std::pair(low, high)); };
  curve.GetXRange(lo, hi);
  expect(2, 5);
  curve.GetYRangeX(lo, hi, 0, 3);
  expect(2, 3);
  const Cases<std::int64_t, std::int64_t, float, float> ranges = {
      {3, 99, 3, 5}, {-4, 3, 2, 3}, {0, 1, 2, 2}, {7, 9, 7, 7}, {4, 3, -1, -1}, {10, 12, -1, -1}};
  for (const auto& [i1, i2, expectedLo, expectedHi] : ranges) {
    lo = hi = -1;
    curve.GetYRangeXI(lo, hi, i1, i2);
    expect(expectedLo, expectedHi);
  }
  curve.GetYRangeXI(lo, hi, 4, 9);  // plain numbers
  expect(4, 5);
  curve.GetYRangeXI(lo, hi, std::size_t{0}, std::size_t{9});  // the base's, which knows no span
  expect(0, 9);
}

TEST(SigCurveExt, SectionSums) {
  const CSigCurveExt curve = Ten(2, 5);
  EXPECT_ALL(curve.AbschnittSumme(3, 4, false) == 7.0f, curve.AbschnittSumme(-9, 99, false) == 14.0f,
             curve.AbschnittSumme(6, 9, false) + curve.AbschnittSumme(0, 1, false) == 0.0f,
             curve.AbschnittSumme(4, 3, false) + Ten(5, 2).AbschnittSumme(2, 5, false) == 0.0f,
             CSigCurveExt().AbschnittSumme(0, 1, true) == 0.0f);
  EXPECT_ALL(curve.AbschnittSumme(5, 9, false) == 5.0f,
             curve.AbschnittSumme(0, 2, false) == 2.0f);  // at its ends
  EXPECT_NEAR(Ext({0, 0, 0}, 0, 3).AbschnittSumme(0, 3, true), 10 * std::log10(3.0), 1e-5);
  EXPECT_NEAR(Ext({-5000, 90, 90}, 0, 3).AbschnittSumme(1, 3, true), 90 + 10 * std::log10(2.0), 1e-4);
  EXPECT_NEAR(Ext({4000, 4000}, 0, 2).AbschnittSumme(0, 2, true), 4000 + 10 * std::log10(2.0), 1e-3);
}

TEST(SigCurveExt, JoinsOverSpans) {
  CSigCurveExt source = Ten(1, 8);
  source += 100;
  CSigCurveExt curve = Ten(3, 5);
  EXPECT_THAT(Values(curve ^= source), ElementsAre(0, 101, 102, 3, 4, 5, 106, 107, 108, 9));
  EXPECT_EQ(curve.XLen(), 3u);  // as it was
  curve.SetVMinMax(curve.VMin(), curve.VMax());
  EXPECT_EQ(Span(curve), "1...8 [1, 8]");
  const CSigCurveExt finer = Ext({1, 2, 3, 4, 5}, 2, 6);
  EXPECT_EQ(Span((Ten(3, 5) ^= Ten(6, 8)) ^= finer), "3...5 [3, 5]");
  EXPECT_EQ(Span(Ten(0.25f, 5) ^= Ten(0, 5)), "0.25...5 [0, 5]");  // no sample before the first

  for (CSigCurveExt joined : {Ten(3, 5) ^= Ten(5, 8), Ten(5, 8) ^= Ten(3, 5)}) {  // spans that touch
    joined.SetVMinMax(joined.VMin(), joined.VMax());
    EXPECT_EQ(Span(joined), "3...8 [3, 8]");
  }

  CSigCurveExt next = Ten(5, 6);
  next += 100;
  EXPECT_THAT(Values(Ten(3, 5) ^= next), ElementsAre(0, 1, 2, 3, 4, 5, 106, 7, 8, 9));

  CSigCurveExt flat = Ten(2, 6);
  flat = 4.0f;
  EXPECT_THAT(Values(Ten(6, 9).Maximize(&flat, 0)), ElementsAre(0, 1, 2, 3, 4, 5, 4, 7, 8, 9));
  EXPECT_THAT(Values(Ten(0, 2).Maximize(&flat, 1)), ElementsAre(0, 1, 4, 3, 4, 5, 6, 7, 8, 9));
  EXPECT_THAT(Values(Ten(1, 9).Maximize(&flat, 1)), ElementsAre(0, 1, 4, 4, 4, 5, 6, 7, 8, 9));
  EXPECT_THAT(Values(Ten(3, 9).Maximize(&flat, 0)), ElementsAre(0, 1, 2, 3, 4, 4, 4, 7, 8, 9));
  EXPECT_THAT(Values(Ten(3, 5).Maximize(&flat, 0)), ElementsAre(0, 1, 2, 3, 4, 4, 6, 7, 8, 9));
  flat.SetVMinMax(2, 6.6f);  // without an overlap nothing happens, also where both name one sample
  EXPECT_EQ(Values(Ten(7, 9).Maximize(&flat, 0)), Values(Ten()));
  EXPECT_EQ(Values(Ten(0, 1.6f).Maximize(&flat, 1)), Values(Ten()));
}

TEST(SigCurveExt, WeightedSumsWithOffset) {
  const CSigCurve plain = Curve({1, 2, 3}, 0, 3);
  CSigCurveExt source = Ext({9, 1, 2, 3, 9}, 0, 5);
  source.SetVIMinMax(1, 3);
  for (const CSigCurve* o : {&plain, static_cast<const CSigCurve*>(&source)}) {
    const auto sum = [o](int offset) {
      CSigCurveExt curve(8);
      curve.SetVIMinMax(3, 6);
      return Values(curve.AddWithWeight(*o, 2, offset));
    };
    EXPECT_THAT(sum(0), ElementsAre(0, 0, 0, 2, 4, 6, 0, 0));
    EXPECT_THAT(sum(2), ElementsAre(0, 0, 0, 0, 0, 2, 4, 0));
    EXPECT_THAT(sum(-1), ElementsAre(0, 0, 0, 4, 6, 0, 0, 0));
    for (const int away : {4, -3, INT_MIN, INT_MAX}) EXPECT_THAT(sum(away), Each(0)) << away;
  }
  CSigCurveExt curve(3);
  EXPECT_THAT(Values(curve.AddSquared(plain, 0.5f, 1)), ElementsAre(0, 0.5f, 2));
  EXPECT_THAT(Values(curve.AddSquared(curve, 2, 1)), ElementsAre(0, 0.5f, 2.5f));
  EXPECT_THAT(Values(curve.AddSquared(plain, 1)), ElementsAre(1, 4.5f, 11.5f));  // without offset: the base's
}

TEST(SigCurveExt, StaleSpansNeverLeadOutsideTheSamples) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> positions(-15, 15);
  const auto anywhere = [&] { return positions(random); };
  for (int round = 0; round < 3000; ++round) {
    CSigCurveExt curve = Ten(anywhere(), anywhere());
    CSigCurveExt other = Ten(anywhere(), anywhere());
    curve.Malloc(random() % 12);  // the span still names ten samples
    if (round % 3 == 0) curve.SetXMinMax(anywhere(), round % 2 == 0 ? kNaN : anywhere());
    float lo = 0, hi = 0;
    curve.GetYRange(lo, hi);
    curve.GetYRangeX(lo, hi, anywhere(), anywhere());
    curve.GetValue(anywhere());
    curve.AbschnittSumme(anywhere(), anywhere(), round % 2 == 0);
    curve.PointDistance(anywhere(), 0, nullptr);
    curve.AddSquared(other, 1, static_cast<int>(anywhere()));
    other.AddWithWeight(curve, 1, static_cast<int>(anywhere()));
    (other ^= curve).Maximize(&curve, round % 2);
    (curve ^= other).Maximize(&other, round % 2);
    curve.MirrorX().CutLR(anywhere(), anywhere()).Append(other);
    EXPECT_LE(curve.ILen(), static_cast<std::int64_t>(curve.DLen()));
  }
}

}  // namespace
