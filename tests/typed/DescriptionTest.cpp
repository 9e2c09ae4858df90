#include "umlauf/typed/Description.h"

#include "support/Test.h"
#include "typed/TypedTestSupport.h"

namespace {

using Y = CYChannelDescriptionInterface;

TEST(ChannelDescription, AxisPositions) {
  CXChannelDescription x;
  x.Len(10);
  x.BeginIdx(2);
  x.Delta(0.5f);
  x.Start(7.0f);
  EXPECT_ALL(x.pod().x0 == 6.0f, x.Start() == 7.0f, x.Len() == 8u, x.XLen() == 4.0f, x.Idx(7.25f) == 2.5f);
  x.EndIdx(1);  // before the beginning
  EXPECT_ALL(x.Len() == 0u, x.XLen() == 0.0f);
}

TEST(ChannelDescription, CodingsAndTisModes) {
  const struct {
    std::uint32_t coding;
    int is;        // of the seven tests of the coding, in the order below
    int modes[4];  // without a flag, with bit 5, with bit 6, with both
  } cases[] = {{1, 1, {0, 0, 0, 0}},  {2, 2, {0, 0, 0, 0}},  {3, 4, {1, 1, 4, 4}},
               {4, 8, {0, 0, 0, 0}},  {5, 16, {0, 0, 0, 0}}, {6, 32, {0, 0, 0, 0}},
               {8, 64, {0, 0, 0, 0}}, {12, 0, {3, 2, 6, 5}}, {0, 0, {0, 0, 0, 0}}};
  for (const auto& c : cases) {
    CYChannelDescription y;
    y.ChannelCoding(c.coding);
    EXPECT_EQ(y.IsIntChannel() + 2 * y.IsFloatChannel() + 4 * y.IsTis24Channel() + 8 * y.IsUIntChannel() +
                  16 * y.IsInt16Channel() + 32 * y.IsInt16x2Channel() + 64 * y.IsRawChannel(),
              c.is);
    for (const std::uint32_t bits : {0u, 1u, 2u, 3u}) {
      y.CodingFlags(0x24);
      y.SetCodingFlag(5, (bits & 1) != 0);
      y.SetCodingFlag(6, (bits & 2) != 0);
      y.SetCodingFlag(32, true);  // there is no such flag
      EXPECT_EQ(y.CodingFlags(), bits << 5 | 4);
      EXPECT_EQ(y.TisMode(), c.modes[bits]) << c.coding << ' ' << bits;
    }
  }
}

TEST(ChannelDescription, ChannelSettersReplaceWhatWasThere) {
  const Cases<void (*)(Y&), std::uint32_t, std::uint32_t, int, int, int> cases = {
      {[](Y& y) { y.SetFloatChannel(70000); }, 2, 0, 70000, 4464, 1},
      {[](Y& y) { y.SetTisChannels(5, 7, true); }, 3, 65, 0x00070005, 5, 7},
      {[](Y& y) { y.SetTisChannels(-1, -1, false); }, 3, 1, -1, -1, -1},
      {[](Y& y) { y.SetTisChannels(0x8000, -2, false); }, 3, 1, -98304, 0x8000, -2},
      {[](Y& y) { y.SetRIEChannel(9, true, true); }, 12, 96, 9, 9, 0},
      {[](Y& y) { y.SetRIEChannel(9, false, false); }, 12, 0, 9, 9, 0},
      {[](Y& y) { y.AppSigId(0x00070005), y.AppSigIdLwChan(-1); }, 77, 0xFF, 0x0007FFFF, -1, 7},
      {[](Y& y) { y.AppSigId(0x00070005), y.AppSigIdHwChan(-1); }, 77, 0xFF, -65531, 5, -1}};
  for (const auto& [set, coding, flags, id, low, high] : cases) {
    CYChannelDescription y;
    y.ChannelCoding(77);
    y.CodingFlags(0xFF);
    y.Coordinate(true);
    set(y);
    EXPECT_ALL(y.ChannelCoding() == coding, y.CodingFlags() == flags, y.Coordinate() == (coding == 77),
               y.AppSigId() == id, y.AppSigIdLwChan() == low, y.AppSigIdHwChan() == high);
  }
}

TEST(Description, ElementsAndStrides) {
  // Of three channels.
  const Cases<std::uint32_t, std::vector<std::uint32_t>, std::uint64_t, std::vector<std::uint64_t>> cases = {
      {1, {10, 4}, 120, {3, 30, 120, 120}},
      {2, {10, 4}, 120, {1, 10, 40, 40}},
      {0, {10, 4}, 0, {0, 0, 0}},
      {3, {10, 4}, 0, {0, 0, 0}},
      {1, {}, 3, {3, 3}},
      {2, {UINT32_MAX, UINT32_MAX, 2}, UINT64_MAX, {1, UINT32_MAX, 18446744065119617025u, UINT64_MAX}},
      {2, {UINT32_MAX, UINT32_MAX, 2, 0}, 0, {1}}};
  for (const auto& [coding, lengths, elements, strides] : cases) {
    const CDescription d = Described(coding, lengths, 3);
    EXPECT_EQ(d.elements(), elements);
    for (unsigned i = 0; i < strides.size(); ++i) EXPECT_EQ(d.stride(i), strides[i]) << i;
  }
}

TEST(Description, InsertingAndRemovingSlots) {
  // Of 100, 101, 102.
  const Cases<bool, unsigned, unsigned, std::vector<int>, unsigned> cases = {
      {true, 1, 2, {100, 101, 102, 101, 102}, 5}, {true, 3, 1, {100, 101, 102}, 4},
      {true, 0, 29, {100, 101, 102}, 32},         {true, 1, 40, {100, 101, 102}, 32},
      {true, 50, 2, {100, 101, 102}, 5},          {false, 0, 1, {101, 102, 102}, 2},
      {false, 1, UINT_MAX, {100, 101, 102}, 1},   {false, 7, 1, {100, 101, 102}, 3}};
  for (const auto& [insert, pos, n, slots, count] : cases) {
    CDescription d = Described(1, {100, 101, 102}, 3);
    insert ? d.XInsert(pos, n) : d.XRemove(pos, n);
    EXPECT_EQ(d.YCount(), 3u);
    insert ? d.YInsert(pos, n) : d.YRemove(pos, n);
    EXPECT_ALL(d.XCount() == count, d.YCount() == count);
    for (unsigned i = 0; i < slots.size(); ++i) {
      EXPECT_EQ(d.X(i).Len(), static_cast<unsigned>(slots[i])) << pos << ' ' << n;
      EXPECT_EQ(d.Y(i).AppSigId(), slots[i]) << pos << ' ' << n;
    }
  }
}

TEST(Description, FindsChannelsBySubChannelIds) {
  CDescription d = Described(1, {1}, 5);
  d.Y(1).SetTisChannels(5, 7, false);
  d.Y(2).SetTisChannels(65535, -3, false);
  d.Y(3).SetFloatChannel(0x00090008);  // no sub-channels
  d.Y(4).SetFloatChannel(7);
  const int cases[][3] = {{100, 0, 0}, {100, 1, -1},   {5, 0, 1},       {7, 0, 1},          {7, 2, 4},
                          {-3, 0, 2},  {65535, 0, -1}, {9, 0, -1},      {0x00090008, 0, 3}, {-1, 0, -1},
                          {7, -9, 1},  {7, 5, -1},     {7, INT_MAX, -1}};
  for (const auto& [id, from, found] : cases) EXPECT_EQ(d.FindAppSigId(id, from), found) << id << ' ' << from;
}

TEST(Description, EqualityCoversAxesAndUnitsOnly) {
  const struct {
    bool equal;
    void (*change)(CDescription&);
  } cases[] = {{true, [](CDescription& d) { d.X(0).BeginIdx(3), d.X(0).EndIdx(4), d.X(0).AppSigId(8); }},
               {true, [](CDescription& d) { d.Y(1).SetTisChannels(1, 2, true), d.Y(1).Gauge(9); }},
               {true, [](CDescription& d) { d.X(1).Delta(9), d.Y(2).Unit().set_db(true); }},  // not in use
               {false, [](CDescription& d) { d.SignalCoding(2); }},
               {false, [](CDescription& d) { d.XInsert(1, 1); }},
               {false, [](CDescription& d) { d.YRemove(0, 1); }},
               {false, [](CDescription& d) { d.X(0).pod().length = 9; }},
               {false, [](CDescription& d) { d.X(0).pod().x0 = 9; }},
               {false, [](CDescription& d) { d.X(0).Delta(2); }},
               {false, [](CDescription& d) { d.X(0).Unit().logref(2); }},
               {false, [](CDescription& d) { d.Y(1).Unit().set_power(2); }}};
  const CDescription original = Described(1, {10}, 2);
  for (const auto& c : cases) {
    CDescription changed(original);
    c.change(changed);
    EXPECT_EQ(changed == original, c.equal) << &c - cases;
    EXPECT_EQ(original != changed, !c.equal) << &c - cases;
  }
  CDescription nan = original;
  nan.X(0).Delta(std::numeric_limits<float>::quiet_NaN());
  EXPECT_FALSE(nan == nan);
}

}  // namespace
