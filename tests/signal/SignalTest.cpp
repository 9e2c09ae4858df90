#include "umlauf/signal/Signal.h"

#include <limits>
#include <memory>
#include <thread>

#include "signal/SignalTestSupport.h"

namespace {

using testing::ElementsAre;

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
  curve.SetExtName(L"Abtrieb");
  curve.SetXUnit(L"s");
  curve.SetYUnit(L"rpm");
  curve.SetColor(0x336699);
  curve.InfoID(12);
  curve.SigType(3);
  curve.SetTimestamp(1234567890123);
  return curve;
}

TEST(Signal, CopyConstructionLeavesUnitsAtTheirDefault) {
  const CSigCurve source = Labelled();
  const CSigCurve copy(source, true);
  EXPECT_STREQ(copy.Name(), L"Drehzahl");
  EXPECT_EQ(copy.ExtName(), L"Abtrieb");
  EXPECT_EQ(copy.Color(), 0x336699);
  EXPECT_EQ(copy.InfoID(), 12u);
  EXPECT_EQ(copy.Timestamp(), 1234567890123);
  EXPECT_TRUE(copy.XUnit().empty());
  EXPECT_TRUE(copy.YUnit().empty());
  EXPECT_THAT(Values(copy), ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(copy.XLen(), 4u);
}

TEST(Signal, AssignmentTakesUnitsButNotColour) {
  CSigCurve assigned;
  assigned.SetColor(5);
  assigned = Labelled();
  EXPECT_STREQ(assigned.Name(), L"Drehzahl");
  EXPECT_EQ(assigned.XUnit().prefixstring(), L"s");
  EXPECT_EQ(assigned.YUnit().prefixstring(), L"rpm");
  EXPECT_EQ(assigned.InfoID(), 12u);
  EXPECT_EQ(assigned.Color(), 5);
  EXPECT_EQ(assigned.SigType(), 0u);
  EXPECT_EQ(assigned.XLen(), 4u);
}

TEST(Signal, ExternalDataIsDeletedOnlyWhenOwned) {
  {
    CSigCurve owner;
    owner.AttachExtData(new CProbe);
    CSigCurve copy(owner);
    EXPECT_EQ(copy.ExtData(), nullptr);
    EXPECT_EQ(CProbe::alive, 1);
    owner = Labelled();  // drops it
    EXPECT_EQ(CProbe::alive, 0);
    EXPECT_EQ(owner.ExtData(), nullptr);
    owner.AttachExtData(new CProbe);
    EXPECT_FALSE(owner.CopyInfo(owner));
    EXPECT_EQ(CProbe::alive, 1);
    EXPECT_TRUE(owner.CopyInfo(copy));
    EXPECT_EQ(CProbe::alive, 0);
    owner.AttachExtData(new CProbe);
  }
  EXPECT_EQ(CProbe::alive, 0);
  CProbe mine;
  {
    CSigCurve borrower;
    borrower.SetExtData(&mine);
  }
  EXPECT_EQ(CProbe::alive, 1);
}

TEST(Signal, CopyInfoTakesNamesAndTimestampOnly) {
  CSigCurve target;
  target.SetYUnit(L"V");
  target.InfoID(99);
  EXPECT_TRUE(target.CopyInfo(Labelled()));
  EXPECT_STREQ(target.Name(), L"Drehzahl");
  EXPECT_EQ(target.ExtName(), L"Abtrieb");
  EXPECT_EQ(target.Timestamp(), 1234567890123);
  EXPECT_EQ(target.YUnit().prefixstring(), L"V");
  EXPECT_EQ(target.InfoID(), 99u);
}

TEST(Signal, NamesInWideAndUtf8) {
  CSigCurve curve;
  EXPECT_STREQ(curve.NameA(), "");
  curve.SetName(L"Öldruck");
  curve.AppendToName(L" µ²");
  EXPECT_STREQ(curve.Name(), L"Öldruck µ²");
  EXPECT_STREQ(curve.NameA(), "Öldruck µ²");
  curve.SetName(curve.Name() + 3);  // from within itself
  EXPECT_STREQ(curve.Name(), L"ruck µ²");
  curve.SetNameA("Kühlwasser");
  EXPECT_STREQ(curve.Name(), L"Kühlwasser");
  curve.SetNameA(std::string(499, 'a').c_str());
  EXPECT_EQ(std::wcslen(curve.Name()), 499u);
  curve.SetNameA(std::string(500, 'a').c_str());
  EXPECT_STREQ(curve.Name(), L"");
  curve.SetName((L"a" + std::wstring(300, L'ü')).c_str());
  EXPECT_EQ(std::string_view(curve.NameA()).size(), 499u);  // one letter and 249 whole two-byte characters
}

TEST(Signal, RangesGrowAndShrinkAndPassOverNaN) {
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  CSignal::Range acc{{0, 0}, {2, 2}};
  CSignal::ExpandRange(acc, {{-1, nan}, {nan, 5}});
  EXPECT_EQ(acc, (CSignal::Range{{-1, 0}, {2, 5}}));
  CSignal::ShrinkRange(acc, {{0, nan}, {1, 9}});
  EXPECT_EQ(acc, (CSignal::Range{{0, 0}, {1, 5}}));
}

TEST(Signal, HeaderSectionGoldenBytes) {
  CSigCurve curve = Labelled();
  curve.SetYUnit(L"dB(Pa)");
  CMemFile file;
  EXPECT_TRUE(curve.CSignal::WriteToFile(file, 2));
  const std::string name = "447265687a61686c" + std::string(64, '0');
  // version, name length, name, unit index, exponent, power, reference, flags
  const std::string seconds =
      "02"
      "01"
      "73"
      "07000000"
      "0000"
      "0100"
      "00000000"
      "00000000";
  const std::string decibels =
      "02"
      "02"
      "5061"
      "0d000000"
      "0000"
      "0100"
      "0000803f"
      "01000000";
  EXPECT_EQ(Hex(file.Bytes()), name + seconds + decibels);
  CMemFile nothing;
  EXPECT_TRUE(curve.CSignal::WriteToFile(nothing, 0));
  EXPECT_EQ(nothing.GetLength(), 0u);
}

TEST(Signal, LinearUnitsAreWrittenWithoutReference) {
  CSigCurve curve;
  CMeasuringUnit unit;
  unit.set(12, 0, 1, 0.25f, 0);
  curve.SetXUnit(unit);
  unit.set_log(true);
  curve.SetYUnit(unit);
  CMemFile file;
  EXPECT_TRUE(curve.CSignal::WriteToFile(file, 2));
  file.Seek(0, CFile::begin);
  CSigCurve back;
  EXPECT_TRUE(back.CSignal::ReadFromFile(file, 2));
  EXPECT_EQ(curve.XUnit().logref(), 0.25f);
  EXPECT_EQ(back.XUnit().logref(), 0.0f);
  EXPECT_EQ(back.YUnit().logref(), 0.25f);
  EXPECT_TRUE(back.YUnit().is_log());
}

TEST(Signal, HeaderReadIsCutAndVersionProof) {
  CMemFile whole;
  Labelled().CSignal::WriteToFile(whole, 2);
  for (const unsigned version : {0u, 3u, 1000u}) {
    CMemFile file(whole.Bytes());
    CSigCurve curve;
    EXPECT_FALSE(curve.CSignal::ReadFromFile(file, version)) << version;
    EXPECT_EQ(file.GetPosition(), 0u) << version;
  }
  for (std::size_t length = 0; length <= whole.GetLength(); ++length) {
    CMemFile file(whole.Bytes().first(length));
    CSigCurve curve;
    EXPECT_EQ(curve.CSignal::ReadFromFile(file, 1), length == whole.GetLength()) << length;
  }
}

TEST(Signal, LongNamesAreCutTo39BytesInTheFile) {
  for (const std::size_t length : {38u, 39u, 40u, 600u}) {
    CSigCurve curve;
    curve.SetName(std::wstring(length, L'n').c_str());
    CMemFile file;
    curve.WriteToFile(file, 2);
    EXPECT_EQ(file.Bytes()[39], std::byte{0});
    file.Seek(0, CFile::begin);
    CSigCurve back;
    ASSERT_TRUE(back.ReadFromFile(file, 2));
    EXPECT_EQ(std::wcslen(back.Name()), std::min<std::size_t>(length, 39)) << length;
  }
}

}  // namespace
