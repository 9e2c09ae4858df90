#include "umlauf/signal/Signal.h"

#include "signal/SignalTestSupport.h"
#include "support/Test.h"

namespace {

void Fill(CSigRaw& raw, std::initializer_list<float> values) {
  ASSERT_NE(raw.Malloc(values.size()), nullptr);
  std::copy(values.begin(), values.end(), reinterpret_cast<float*>(raw.Data()));
}

TEST(SigRaw, OwnedBlockGrowsShrinksAndLosesNothing) {
  CSigRaw raw;
  Fill(raw, {1, 2, 3});
  const ULONG* const block = raw.Data();
  EXPECT_ALL(reinterpret_cast<std::uintptr_t>(block) % 128 == 0u, raw.Resize(1), raw.Resize(3));
  EXPECT_THAT(Values(raw), ElementsAre(1, 0, 0));
  EXPECT_ALL(raw.Resize(0), raw.Resize(2));  // from empty: all samples are new
  EXPECT_THAT(Values(raw), ElementsAre(0, 0));
  EXPECT_EQ(raw.Data(), block);
  Fill(raw, {4, 5});
  EXPECT_TRUE(raw.Resize(5));  // beyond the block
  for (const std::uint64_t n : {UINT64_MAX, UINT64_MAX / 4 + 2, std::uint64_t{1} << 61}) {
    EXPECT_FALSE(raw.Resize(n)) << n;
    EXPECT_THAT(Values(raw), ElementsAre(4, 5, 0, 0, 0)) << n;
  }
  EXPECT_ALL(raw.Malloc(UINT64_MAX) == nullptr, raw.DLen() == 0, raw.Data() == nullptr);
}

TEST(SigRaw, BorrowedBufferShrinksButDoesNotGrow) {
  std::array<float, 3> mine{1, 2, 3};
  CSigRaw raw;
  Lend(mine, raw);
  EXPECT_ALL(!raw.Resize(4), raw.Resize(2));
  EXPECT_THAT(Values(CSigRaw(raw)), ElementsAre(1, 2));
  raw.CopyToRealData();
  EXPECT_THAT(Values(raw), ElementsAre(1, 2));
  raw.CopyToRealData();  // now on a block of its own
  EXPECT_THAT(Values(raw), ElementsAre(0, 0));
  raw.SetBuffer(reinterpret_cast<ULONG*>(mine.data()), -1);
  EXPECT_ALL(raw.DLen() == 0, raw.Malloc(1) != nullptr);
  raw.SetBuffer(nullptr, 3);
  EXPECT_EQ(raw.DLen(), 0u);
  EXPECT_THAT(mine, ElementsAre(1, 2, 3));
}

TEST(SigRaw, ShiftData) {
  const auto shifted = [](int places) {
    CSigRaw raw;
    Fill(raw, {1, 2, 3});
    raw.ShiftData(places);
    return Values(raw);
  };
  CSigRaw one;
  Fill(one, {1});
  one.ShiftData(1);
  EXPECT_THAT(Values(one), ElementsAre(0));
  EXPECT_THAT(shifted(0), ElementsAre(1, 2, 3));
  EXPECT_THAT(shifted(1), ElementsAre(0, 1, 2));
  EXPECT_THAT(shifted(-2), ElementsAre(3, 0, 0));
  for (const int all : {3, -3, INT_MIN, INT_MAX}) EXPECT_THAT(shifted(all), ElementsAre(0, 0, 0)) << all;
}

TEST(SigRaw, CopiesCarryTheDataWordButNotTheTag) {
  CSigRaw raw, assigned;
  Fill(raw, {1});
  raw.SetSigId(109);
  raw.SetDataWord(5);
  raw.DoCopyData(0);
  const CSigRaw copy(raw);
  EXPECT_EQ(std::tuple(copy.SigId(), copy.DataWord(), copy.DoCopyData()), std::tuple(101, 5, 1));
  assigned.SetSigId(1021);
  assigned = raw;
  assigned = *&assigned;
  EXPECT_EQ(std::tuple(assigned.SigId(), assigned.DataWord(), assigned.DoCopyData()), std::tuple(1021, 5, 1));
  EXPECT_THAT(Values(assigned), ElementsAre(1));
  EXPECT_ALL(assigned.IsSigCurveExt(), assigned.IsSigCurveAny(), !assigned.IsSigCurve(), raw.IsSigPairs(),
             !raw.IsSigCurveAny());
}

/// Counts its lives, to watch the ownership of external data.
class CProbe : public CObject {
 public:
  CProbe() { ++alive; }
  ~CProbe() override { --alive; }
  static inline int alive = 0;
};

CSigCurve Labelled() {
  CSigCurve curve = Curve({1, 2, 3, 4}, 0, 4);
  curve.SetName(L"Drehzahl");
  curve.SetExtName("Abtrieb");
  curve.SetXUnit(L"s");
  curve.SetYUnit(L"rpm");
  curve.SetColor(0x336699);
  curve.InfoID(12);
  curve.SigType(3);
  curve.SetTimestamp(1234567890123);
  curve.SetScaleFactor(5);
  curve.SetFileCompression(false);
  return curve;
}

/// Names, units, info id, colour, sub-type, timestamp; scale factor, compression, axis and samples.
std::string Label(const CSigCurve& c) {
  CString text;
  text.Format(L"%s/%s %s/%s %d %x %d %d; %g %d ", c.Name(), c.ExtName(), c.XUnit().prefixstring(),
              c.YUnit().prefixstring(), c.InfoID(), c.Color(), c.SigType(), c.Timestamp(), c.ScaleFactor(),
              int{c.FileCompression()});
  return text.ToUtf8() + Text(c);
}

TEST(Signal, EachWayOfCopyingTakesItsFields) {
  const CSigCurve source = Labelled();
  EXPECT_ALL(
      Label(source) == "Drehzahl/Abtrieb s/rpm 12 336699 3 1234567890123; 5 0 0...4: 1 2 3 4",
      Label(CSigCurve(source, true)) == "Drehzahl/Abtrieb -/- 12 336699 0 1234567890123; 5 0 0...4: 1 2 3 4");
  CSigCurve target(2);
  target.SetName(L"n");
  target.SetColor(5);
  target.SetYUnit(L"V");
  EXPECT_EQ(Label(target), "n/ -/V 0 5 0 0; 1 1 0...1: 0 0");
  EXPECT_EQ(Label(target.MakeSameSize(source)), "n/Abtrieb -/V 0 5 0 1234567890123; 5 0 0...4: 0 0 0 0");
  target.InitHeader();
  target = 8.0f;
  EXPECT_EQ(Label(target), "/Abtrieb -/- 0 5 0 1234567890123; 1 1 0...1: 8 8 8 8");
  EXPECT_ALL(target.CopyInfo(source), !target.CopyInfo(target),
             Label(target) == "Drehzahl/Abtrieb -/- 0 5 0 1234567890123; 1 1 0...1: 8 8 8 8");
  target = source;
  EXPECT_EQ(Label(target), "Drehzahl/Abtrieb s/rpm 12 5 0 1234567890123; 5 0 0...4: 1 2 3 4");
  target.Reset();
  EXPECT_EQ(Label(target), "/Abtrieb -/- 12 5 0 1234567890123; 1 1 0...1: 0 0 0 0");
  target.Free();
  EXPECT_ALL(Text(target) == "0...1:", Text(target = source) == "0...4: 1 2 3 4");
}

TEST(Signal, ExternalDataIsDeletedOnlyWhenOwned) {
  {
    CSigCurve owner;
    owner.AttachExtData(new CProbe);
    const CSigCurve copy(owner);
    EXPECT_ALL(copy.ExtData() == nullptr, CProbe::alive == 1);
    owner = Labelled();
    EXPECT_ALL(CProbe::alive == 0, owner.ExtData() == nullptr);
    owner.AttachExtData(new CProbe);
    owner.CopyInfo(owner);
    EXPECT_EQ(CProbe::alive, 1);
    owner.CopyInfo(copy);
    EXPECT_EQ(CProbe::alive, 0);
    owner.AttachExtData(new CProbe);
  }
  EXPECT_EQ(CProbe::alive, 0);
  CProbe mine;
  CSigCurve().SetExtData(&mine);
  EXPECT_EQ(CProbe::alive, 1);
}

TEST(Signal, NamesInWideAndUtf8) {
  CSigCurve curve;
  EXPECT_STREQ(curve.NameA(), "");
  curve.SetName(L"Öldruck");
  curve.AppendToName(L" µ²");
  EXPECT_STREQ(curve.NameA(), "Öldruck µ²");
  curve.SetName(curve.Name() + 3);  // from within itself
  EXPECT_STREQ(curve.Name(), L"ruck µ²");
  curve.SetNameA("Kühlwasser");
  EXPECT_STREQ(curve.Name(), L"Kühlwasser");
  curve.SetNameA(std::string(499, 'a').c_str());
  EXPECT_EQ(std::wcslen(curve.Name()), 499u);
  curve.SetNameA(std::string(500, 'a').c_str());
  EXPECT_STREQ(curve.Name(), L"");
  curve.SetName(std::wstring(300, L'ü').c_str());
  EXPECT_EQ(std::string_view(curve.NameA()).size(), 498u);  // 249 whole two-byte characters
}

TEST(Signal, RangesGrowAndShrinkAndPassOverNaN) {
  CSignal::Range acc{{0, 0}, {2, 2}};
  CSignal::ExpandRange(acc, {{-1, kNaN}, {kNaN, 5}});
  EXPECT_EQ(acc, (CSignal::Range{{-1, 0}, {2, 5}}));
  CSignal::ShrinkRange(acc, {{0, kNaN}, {1, 9}});
  EXPECT_EQ(acc, (CSignal::Range{{0, 0}, {1, 5}}));
}

}  // namespace
