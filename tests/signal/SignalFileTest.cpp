// The file records of signals: header, curve section, section of extended curves.

#include "signal/SignalTestSupport.h"
#include "support/FullDisk.h"
#include "support/LogCapture.h"
#include "support/Test.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

using testing::Each;
using testing::Not;

/// Name "n" over seconds and dB, four samples over [-2, 2), valid from -1 to 1, at date 2.5.
CSigCurveExt Recorded(bool compressed) {
  CSigCurveExt curve;
  curve = Curve({-1, 0, 3, 1}, -2, 2);
  curve.SetName(L"n");
  curve.SetXUnit(
      CMeasuringUnit(CMeasuringUnit::second, 0, 1, 0.25f));  // a linear unit's reference is not written
  curve.SetYUnit(L"dB(Pa)");
  curve.SetFileCompression(compressed);
  curve.SetVMinMax(-1, 1);
  curve.Date(2.5f);
  return curve;
}

// Name; per unit version, length and bytes of the name, index, exponent, power, reference, flags.
const std::string kHeader = "6e" + std::string(78, '0') +
                            Packed(
                                "02 01 73 07000000 0000 0100 00000000 00000000 "
                                "02 02 5061 0d000000 0000 0100 0000803f 01000000");
// Mode, data bytes, section size, x range, y range, data.
const std::string kCurve[] = {
    Packed(
        "00000000 10000000 5c000000 000000c0 00000040 000080bf 00004040 000080bf 00000000 00004040 0000803f"),
    Packed("01000000 04000000 20000000 000000c0 00000040 000080bf 00004040 0040ff80")};
// Date, ends of the span.
const std::string kSpan = Packed("00002040 000080bf 0000803f");

CSigCurve RoundTrip(const CSigCurve& curve, unsigned version) {
  CMemFile file;
  EXPECT_TRUE(curve.WriteToFile(file, version));
  file.Seek(0, CFile::begin);
  CSigCurve back;
  back.SetSigId(1021);  // the class decides how a curve is read, not its tag
  EXPECT_ALL(back.ReadFromFile(file, version), file.Remaining() == 0u, back.XLen() == curve.DLen());
  return back;
}

TEST(SignalFile, GoldenBytesInBothModesAndAllVersions) {
  for (const unsigned version : {0u, 1u, 2u, 3u}) {
    for (const bool compressed : {false, true}) {
      const CSigCurveExt curve = Recorded(compressed);
      CMemFile file;
      EXPECT_TRUE(curve.WriteToFile(file, version));
      EXPECT_EQ(Hex(file.Bytes()),
                (version > 0 ? kHeader : "") + kCurve[compressed] + (version > 1 ? kSpan : ""))
          << version;
      file.Seek(0, CFile::begin);
      CSigCurveExt back;
      back.CurveId(5);
      const bool known = version == 1 || version == 2;
      EXPECT_EQ(back.ReadFromFile(file, version), known);
      EXPECT_EQ(file.GetPosition(), known ? file.GetLength() : 0);
      if (!known) continue;
      const bool span = version == 2;
      EXPECT_ALL(
          back.Date() == (span ? 2.5f : 0.0f),
          std::pair(back.VMin(), back.VMax()) == (span ? std::pair(-1.0f, 1.0f) : std::pair(-2.0f, 2.0f)),
          std::tuple(back.IMin(), back.IMax()) == (span ? std::tuple(1, 3) : std::tuple(0, 3)),
          back.XLen() == (span ? 3u : 4u), back.XUnit() == CMeasuringUnit(CMeasuringUnit::second, 0, 1, 0.0f),
          back.YUnit() == L"dB(Pa)", back.CurveId() == 5, back.FileCompression() == compressed);
    }
  }
}

TEST(SignalFile, CutAtEveryLengthReadsWhatIsThere) {
  LogCapture log;
  for (const bool compressed : {true, false}) {
    CMemFile whole;
    Recorded(compressed).WriteToFile(whole, 2);
    const std::size_t header = kHeader.size() / 2, data = header + 28, span = data + (compressed ? 4 : 16);
    for (std::size_t length = 0; length < whole.GetLength(); ++length) {
      CMemFile file(whole.Bytes().first(length));
      CSigCurveExt back;
      EXPECT_EQ(back.ReadFromFile(file, 2), length >= header) << length;
      const std::size_t bytes = std::min(std::max(length, data), span) - data;
      EXPECT_EQ(back.DLen(), compressed ? bytes : bytes / 4) << length;
      EXPECT_LE(back.IMax(), static_cast<std::int64_t>(back.DLen())) << length;
      if (length < span) continue;
      EXPECT_EQ(back.Date(), length >= span + 4 ? 2.5f : 0.0f) << length;
      EXPECT_EQ(back.VMin(), length >= span + 8 ? -1.0f : -2.0f) << length;
      EXPECT_EQ(back.VMax(), 2.0f) << length;
    }
    EXPECT_THAT(log.Take(), Not(IsEmpty()));
  }
}

TEST(SignalFile, AFullDiskIsToldAndNothingFollowsAHeaderThatDoesNotFit) {
  for (const bool compressed : {true, false}) {
    const CSigCurveExt curve = Recorded(compressed);
    CMemFile whole;
    curve.WriteToFile(whole, 2);
    EXPECT_TRUE(EveryFullDiskIsTold(whole.GetLength(), [&](CFile& f) { return curve.WriteToFile(f, 2); }));
  }
}

TEST(SignalFile, RawComesBackExactlyQuantisedWithinHalfAStep) {
  std::mt19937 random(11);
  std::normal_distribution<float> noise(3.0f, 20.0f);
  for (const std::size_t n : {0u, 1u, 2u, 255u, 40000u}) {
    CSigCurve curve(n);
    std::generate_n(curve.FData(), n, [&] { return noise(random); });
    curve.SetFileCompression(false);
    EXPECT_EQ(Values(RoundTrip(curve, 2)), Values(curve));
    curve.SetFileCompression(true);
    const CSigCurve coarse = RoundTrip(curve, 1);
    ASSERT_EQ(coarse.DLen(), n);
    float lo = 0, hi = 0;
    curve.GetYRange(lo, hi);
    const float half = (hi - lo) / 510.0f * 1.0001f;
    for (std::size_t i = 0; i < n; ++i) {
      const bool isMinimum = curve.FData()[i] == lo;  // comes back exactly
      EXPECT_NEAR(coarse.FData()[i], curve.FData()[i], isMinimum ? 0.0f : half) << i;
    }
  }
  EXPECT_THAT(Values(RoundTrip(Curve({2.5f, 2.5f, 2.5f}, 0, 1), 2)), Each(2.5f));
  for (const CSigCurve& odd : {Curve({1, NAN, 2}, 0, 1), Curve({-kInf, NAN, kInf}, 0, 1)}) RoundTrip(odd, 2);
}

TEST(SignalFile, ForeignModesAndLengthsAreLimitedToWhatIsThere) {
  const LogCapture silence;
  // mode, announced bytes (5 are there), samples, bytes left
  const struct {
    std::uint32_t fields[2];
    std::uint64_t samples, left;
  } cases[] = {
      {{0, 5}, 1, 0}, {{1, 4}, 4, 1}, {{7, 5}, 1, 0}, {{0, UINT32_MAX}, 1, 0}, {{1, UINT32_MAX}, 5, 0}};
  for (const auto& c : cases) {
    CMemFile file;
    CSigCurve(5).WriteToFile(file, 2);
    file.Seek(-28 - 5, CFile::end);
    file.Write(c.fields, sizeof c.fields);
    file.Seek(0, CFile::begin);
    CSigCurve back;
    EXPECT_TRUE(back.ReadFromFile(file, 2));
    EXPECT_EQ(std::pair(back.DLen(), file.Remaining()), std::pair(c.samples, c.left)) << c.fields[0];
    EXPECT_EQ(RoundTrip(back, 2).DLen(), c.samples);  // an unknown mode is written raw
  }
}

TEST(SignalFile, LongNamesAreCutTo39Bytes) {
  for (const std::size_t length : {38u, 39u, 40u, 600u}) {
    CSigCurve curve;
    curve.SetName(std::wstring(length, L'n').c_str());
    EXPECT_EQ(std::wcslen(RoundTrip(curve, 2).Name()), std::min<std::size_t>(length, 39)) << length;
  }
}

}  // namespace
