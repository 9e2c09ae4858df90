#include "umlauf/signal/SigRaw.h"

#include <array>
#include <cstdint>

#include "signal/SignalTestSupport.h"

namespace {

using testing::ElementsAre;

void Fill(CSigRaw& raw, std::initializer_list<float> values) {
  ASSERT_NE(raw.Malloc(values.size()), nullptr);
  std::copy(values.begin(), values.end(), reinterpret_cast<float*>(raw.Data()));
}

TEST(SigRaw, OwnedBlockGrowsShrinksAndKeepsItsMemory) {
  CSigRaw raw;
  Fill(raw, {1, 2, 3});
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(raw.Data()) % 128, 0u);
  const ULONG* const block = raw.Data();
  EXPECT_TRUE(raw.Resize(1));
  EXPECT_TRUE(raw.Resize(3));
  EXPECT_THAT(Values(raw), ElementsAre(1, 0, 0));
  EXPECT_TRUE(raw.Resize(0));
  EXPECT_EQ(raw.Data(), block);
  EXPECT_TRUE(raw.Resize(2));  // from empty: all samples are new
  EXPECT_EQ(raw.Data(), block);
  EXPECT_THAT(Values(raw), ElementsAre(0, 0));
  Fill(raw, {4, 5});
  EXPECT_TRUE(raw.Resize(5));  // beyond the block
  EXPECT_THAT(Values(raw), ElementsAre(4, 5, 0, 0, 0));
}

TEST(SigRaw, SizesThatCannotBeHadLoseNothing) {
  CSigRaw raw;
  Fill(raw, {1, 2});
  for (const std::uint64_t n : {UINT64_MAX, UINT64_MAX / 4 + 2, std::uint64_t{1} << 61}) {
    EXPECT_FALSE(raw.Resize(n)) << n;
    EXPECT_THAT(Values(raw), ElementsAre(1, 2)) << n;
  }
  EXPECT_EQ(raw.Malloc(UINT64_MAX), nullptr);
  EXPECT_EQ(raw.DLen(), 0u);
  EXPECT_EQ(raw.Data(), nullptr);
  EXPECT_EQ(CSigRaw(UINT64_MAX / 2).DLen(), 0u);
}

TEST(SigRaw, BorrowedBufferShrinksButDoesNotGrow) {
  std::array<float, 3> mine{1, 2, 3};
  CSigRaw raw;
  raw.SetBuffer(reinterpret_cast<ULONG*>(mine.data()), 3);
  EXPECT_FALSE(raw.Resize(4));
  EXPECT_TRUE(raw.Resize(2));
  CSigRaw copy(raw);
  EXPECT_NE(copy.Data(), raw.Data());
  EXPECT_THAT(Values(copy), ElementsAre(1, 2));
  raw.CopyToRealData();
  EXPECT_NE(static_cast<void*>(raw.Data()), static_cast<void*>(mine.data()));
  EXPECT_THAT(Values(raw), ElementsAre(1, 2));
  raw.CopyToRealData();
  EXPECT_THAT(Values(raw), ElementsAre(0, 0));
  raw.SetBuffer(reinterpret_cast<ULONG*>(mine.data()), -1);
  EXPECT_EQ(raw.DLen(), 0u);
  raw.SetBuffer(nullptr, 3);
  EXPECT_EQ(raw.DLen(), 0u);
  EXPECT_NE(raw.Malloc(1), nullptr);
  EXPECT_EQ(mine[0], 1.0f);
}

TEST(SigRaw, ShiftData) {
  const struct {
    int shift;
    std::vector<float> result;
  } cases[] = {{0, {1, 2, 3}},  {1, {0, 1, 2}}, {-1, {2, 3, 0}},      {2, {0, 0, 1}},
               {-3, {0, 0, 0}}, {3, {0, 0, 0}}, {INT_MIN, {0, 0, 0}}, {INT_MAX, {0, 0, 0}}};
  for (const auto& c : cases) {
    CSigRaw raw;
    Fill(raw, {1, 2, 3});
    raw.ShiftData(c.shift);
    EXPECT_EQ(Values(raw), c.result) << c.shift;
  }
}

TEST(SigRaw, CopiesCarryDataWordButNotTag) {
  CSigRaw raw;
  Fill(raw, {1});
  raw.SetSigId(77);
  raw.SetDataWord(5);
  raw.DoCopyData(0);
  const CSigRaw copy(raw);
  EXPECT_EQ(copy.SigId(), 101);
  EXPECT_EQ(copy.DataWord(), 5);
  EXPECT_EQ(copy.DoCopyData(), 1);
  CSigRaw assigned;
  assigned.SetSigId(12);
  assigned = raw;
  EXPECT_EQ(assigned.SigId(), 12);
  EXPECT_THAT(Values(assigned), ElementsAre(1));
  assigned = *&assigned;
  EXPECT_THAT(Values(assigned), ElementsAre(1));
}

TEST(SigRaw, TypeTestsGoByTheTag) {
  CSigRaw raw;
  const struct {
    LONG tag;
    bool curve, ext, any, pairs;
  } cases[] = {{101, false, false, false, false},
               {102, true, false, true, false},
               {1021, false, true, true, false},
               {109, false, false, false, true}};
  for (const auto& c : cases) {
    raw.SetSigId(c.tag);
    EXPECT_EQ(raw.IsSigCurve(), c.curve);
    EXPECT_EQ(raw.IsSigCurveExt(), c.ext);
    EXPECT_EQ(raw.IsSigCurveAny(), c.any);
    EXPECT_EQ(raw.IsSigPairs(), c.pairs);
  }
}

TEST(SigRaw, ClassRecord) {
  EXPECT_STREQ(CSigRaw::GetThisClass()->m_lpszClassName, "CSigRaw");
  EXPECT_EQ(CSigRaw::GetThisClass()->m_wSchema, 0xFFFFu);
  EXPECT_EQ(CSigRaw::GetThisClass()->CreateObject(), nullptr);
  EXPECT_TRUE(CSigRaw().IsKindOf(CObject::GetThisClass()));
}

}  // namespace
