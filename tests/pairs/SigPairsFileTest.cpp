#include "pairs/PlainPairs.h"
#include "signal/SignalTestSupport.h"
#include "support/Test.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

class SigPairsFile : public testing::Test {
 protected:
  ~SigPairsFile() override { PrWin::SetSink(sink_); }
  PrWin::Sink sink_ = PrWin::SetSink([](int, int, const CString&) {});
};

CSigPairs Sample() {
  CSigPairs s(3);
  s.NeuesPaar(2, 5);
  s.NeuesPaar(1, -1);
  s.SetName(L"Öl\u4e2d");
  s.Parameter() = 0.5f;
  s.Nummer() = 0x00020003;
  return s;
}

// capacity, zero, count, parameter, number; reserved; name; x of three slots; y of three slots
const std::string kGolden = "0600000000000000020000000000003f03000200" + std::string(40, '0') + "d66c3f" +
                            std::string(74, '0') + "000000400000803f00000000" + "0000a040000080bf00000000";

TEST_F(SigPairsFile, RecordIsHeaderAndGoldenBytesAndReadsBack) {
  CMemFile header;
  CMemFile file;
  Sample().CSignal::WriteToFile(header, 2);
  EXPECT_ALL(Sample().WriteToFile(file, 2), Hex(file.Bytes()) == Hex(header.Bytes()) + kGolden);
  file.Seek(0, CFile::begin);
  CSigPairs back = Pairs({{1, 1}});
  EXPECT_ALL(back.ReadFromFile(file, 2), file.Remaining() == 0, PointsOf(back) == PointsOf(Sample()),
             std::pair(back.Parameter(), back.Nummer()) == std::pair(0.5f, LONG{0x00020003}));
  EXPECT_STREQ(back.Name(), L"Öl?");  // code page 1252
  EXPECT_ALL(back.IstInversSortiert(), !back.IstSortiert());
}

TEST_F(SigPairsFile, ManyPointsAndNoneReadBack) {
  CSigPairs back;
  for (const std::size_t n : {40000u, 0u}) {
    const CSigPairs s = Pairs(RandomPoints(41).Make(n, 1000));
    CMemFile file;
    s.DateiExport(file);
    file.Seek(0, CFile::begin);
    EXPECT_ALL(back.DateiImport(file) == 1, file.Remaining() == 0, PointsOf(back) == PointsOf(s));
  }
}

TEST_F(SigPairsFile, CutAtEveryLengthIsRefused) {
  CMemFile whole;
  Sample().WriteToFile(whole, 2);
  for (std::size_t length = 0; length < whole.GetLength(); ++length) {
    CMemFile file(whole.Bytes().first(length));
    CSigPairs back = Pairs({{1, 1}});
    EXPECT_FALSE(back.ReadFromFile(file, 2)) << length;
    EXPECT_TRUE(back.IstSortiert());
    CMemFile pairs(whole.Bytes().first(length).subspan(std::min<std::size_t>(length, 78)));
    EXPECT_ALL(back.DateiImport(pairs) == 0, !back.Gueltig());
  }
}

TEST_F(SigPairsFile, AnyCapacityAndCountIsSurvived) {
  CMemFile whole;
  Sample().DateiExport(whole);
  const std::uint32_t values[] = {0, 1, 2, 3, 5, 6, 7, 8, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  for (const std::uint32_t capacity : values) {
    for (const std::uint32_t count : values) {
      CMemFile file(whole.Bytes());
      file.Write(&capacity, 4);
      file.Seek(8, CFile::begin);
      file.Write(&count, 4);
      file.Seek(0, CFile::begin);
      CSigPairs back = Pairs({{1, 1}});
      const bool fits = capacity <= 6;
      EXPECT_EQ(back.DateiImport(file), fits ? 1 : 0) << capacity;
      EXPECT_EQ(back.NPaare(), fits ? std::min(count, capacity / 2) : 0u) << capacity << ' ' << count;
      EXPECT_EQ(file.GetPosition(), 80 + (fits ? 4 * capacity : 0));
    }
  }
}

}  // namespace
