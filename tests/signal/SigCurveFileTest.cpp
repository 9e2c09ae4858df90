#include <cmath>
#include <limits>
#include <random>

#include "signal/SignalTestSupport.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/signal/SigCurve.h"

namespace {

using testing::ElementsAre;

std::string Header(const CSigCurve& curve, unsigned version) {
  CMemFile file;
  curve.CSignal::WriteToFile(file, version);
  return Hex(file.Bytes());
}

CSigCurve RoundTrip(const CSigCurve& curve, unsigned version) {
  CMemFile file;
  EXPECT_TRUE(curve.WriteToFile(file, version));
  file.Seek(0, CFile::begin);
  CSigCurve back;
  EXPECT_TRUE(back.ReadFromFile(file, version));
  EXPECT_EQ(file.Remaining(), 0u);
  return back;
}

TEST(SigCurveFile, GoldenBytesInBothModesAndAllVersions) {
  CSigCurve curve = Curve({-1, 0, 3, 1}, -2, 2);
  curve.SetName(L"n");
  // mode, data bytes, section size, x range, y range, data
  const std::string quantised =
      "01000000"
      "04000000"
      "20000000"
      "000000c0"
      "00000040"
      "000080bf"
      "00004040"
      "0040ff80";
  const std::string raw =
      "00000000"
      "10000000"
      "5c000000"
      "000000c0"
      "00000040"
      "000080bf"
      "00004040"
      "000080bf"
      "00000000"
      "00004040"
      "0000803f";
  for (const unsigned version : {0u, 1u, 2u}) {
    for (const bool compressed : {true, false}) {
      curve.SetFileCompression(compressed);
      CMemFile file;
      EXPECT_TRUE(curve.WriteToFile(file, version));
      EXPECT_EQ(Hex(file.Bytes()), Header(curve, version) + (compressed ? quantised : raw)) << version;
    }
  }
}

TEST(SigCurveFile, RawComesBackExactlyQuantisedWithinHalfAStep) {
  std::mt19937 random(11);
  std::normal_distribution<float> noise(3.0f, 20.0f);
  for (const std::size_t n : {0u, 1u, 2u, 255u, 40000u}) {
    CSigCurve curve(n);
    for (std::size_t i = 0; i < n; ++i) curve.SetAt(i, noise(random));
    curve.SetXMinMax(-1, 8);
    curve.SetXUnit(L"s");
    curve.SetFileCompression(false);
    const CSigCurve exact = RoundTrip(curve, 2);
    EXPECT_EQ(Values(exact), Values(curve));
    EXPECT_FALSE(exact.FileCompression());
    EXPECT_EQ(exact.XUnit().prefixstring(), L"s");

    curve.SetFileCompression(true);
    const CSigCurve coarse = RoundTrip(curve, 1);
    ASSERT_EQ(coarse.DLen(), n);
    EXPECT_EQ(coarse.XLen(), n);
    EXPECT_EQ(coarse.XMax(), 8.0f);
    float lo = 0;
    float hi = 0;
    curve.GetYRange(lo, hi);
    const float half = (hi - lo) / 510.0f * 1.0001f;
    for (std::size_t i = 0; i < n; ++i) {
      const bool isMinimum = curve.FData()[i] == lo;  // comes back exactly
      EXPECT_NEAR(coarse.FData()[i], curve.FData()[i], isMinimum ? 0.0f : half) << i;
    }
  }
}

TEST(SigCurveFile, ConstantCurveComesBackAsThatConstant) {
  EXPECT_THAT(Values(RoundTrip(Curve({2.5f, 2.5f, 2.5f}, 0, 1), 2)), ElementsAre(2.5f, 2.5f, 2.5f));
}

TEST(SigCurveFile, SamplesThatAreNoNumbersAreStoredWithoutHarm) {
  constexpr float inf = std::numeric_limits<float>::infinity();
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(RoundTrip(Curve({1, nan, 2}, 0, 1), 2).DLen(), 3u);
  EXPECT_EQ(RoundTrip(Curve({-inf, 0, inf}, 0, 1), 2).DLen(), 3u);
}

TEST(SigCurveFile, CutAtEveryLengthReadsWhatIsThere) {
  int notes = 0;
  auto before = PrWin::SetSink([&notes](int, int, const CString&) { ++notes; });
  for (const bool compressed : {true, false}) {
    CSigCurve curve = Curve({1, 2, 3, 4, 5}, 0, 5);
    curve.SetFileCompression(compressed);
    CMemFile whole;
    curve.WriteToFile(whole, 2);
    const std::size_t header = Header(curve, 2).size() / 2;
    for (std::size_t length = 0; length < whole.GetLength(); ++length) {
      CMemFile file(whole.Bytes().first(length));
      CSigCurve back;
      EXPECT_EQ(back.ReadFromFile(file, 2), length >= header) << length;
      const std::size_t data = length > header + 28 ? length - header - 28 : 0;
      EXPECT_LE(back.DLen(), compressed ? data : data / 4) << length;
      for (std::uint64_t i = 0; i < back.DLen(); ++i) EXPECT_NEAR(back.FData()[i], 1.0f + float(i), 0.01f);
    }
  }
  PrWin::SetSink(before);
  EXPECT_GT(notes, 0);
}

TEST(SigCurveFile, AnnouncedLengthsDoNotAllocate) {
  auto before = PrWin::SetSink([](int, int, const CString&) {});
  CMemFile file;
  Curve({1, 2}, 0, 1).WriteToFile(file, 2);
  const std::uint64_t section = file.GetLength() - 30;
  const std::uint32_t huge = 0xFFFFFFFF;
  for (const std::uint32_t mode : {0u, 1u, 7u}) {
    file.Seek(static_cast<std::int64_t>(section), CFile::begin);
    file.Write(&mode, 4);
    file.Write(&huge, 4);
    file.Seek(0, CFile::begin);
    CSigCurve back;
    EXPECT_TRUE(back.ReadFromFile(file, 2));
    EXPECT_LE(back.DLen(), 2u);
    CMemFile again;
    EXPECT_TRUE(back.WriteToFile(again, 2));  // an unknown mode is written raw
  }
  PrWin::SetSink(before);
}

TEST(SigCurveFile, FreelySetTagDoesNotDecideHowACurveIsRead) {
  CMemFile file;
  Curve({1, 2}, 0, 1).WriteToFile(file, 2);
  file.Seek(0, CFile::begin);
  CSigCurve back;
  back.SetSigId(1021);
  EXPECT_TRUE(back.ReadFromFile(file, 2));
  EXPECT_EQ(back.XLen(), 2u);
}

TEST(SigCurveFile, FullDiskIsReportedByTheFile) {
  CFile file(L"/dev/full", CFile::modeWrite);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_TRUE(CSigCurve(100000).WriteToFile(file, 2));
  file.Close();
  EXPECT_TRUE(file.Failed());
}

}  // namespace
