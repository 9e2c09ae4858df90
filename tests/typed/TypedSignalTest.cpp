#include "umlauf/typed/TypedSignal.h"

#include <iterator>

#include "typed/TypedTestSupport.h"

namespace {

using testing::ElementsAre;

static_assert(std::random_access_iterator<CTypedSignal<float>::iterator>);
static_assert(std::random_access_iterator<CTypedSignal<float>::const_iterator>);

template <class T>
class TypedSignalTest : public testing::Test {};
using SampleTypes = testing::Types<std::int16_t, std::int32_t, ULONG, float>;
TYPED_TEST_SUITE(TypedSignalTest, SampleTypes);

TYPED_TEST(TypedSignalTest, BlockFollowsTheDescription) {
  using Signal = CTypedSignal<TypeParam>;
  auto signal = Counting<Signal>(Described(1, {4}, 3));
  EXPECT_EQ(signal.element_size(), sizeof(TypeParam));
  EXPECT_EQ(signal.elements(), 12u);
  const TypeParam* const block = signal.data();
  signal.Description().SignalCoding(2);
  EXPECT_TRUE(signal.reshape_array());  // the same size: samples stay where they are
  EXPECT_EQ(signal.data(), block);
  EXPECT_EQ(signal.data()[11], TypeParam{11});
  EXPECT_TRUE(signal.reshape(signal, 0b101));
  EXPECT_EQ(signal.elements(), 8u);
  EXPECT_EQ(signal.Description().Y(1).AppSigId(), 102);
  const std::vector<TypeParam> mine(8, TypeParam{5});
  EXPECT_TRUE(signal.assign_buffer(mine.data()));
  EXPECT_FALSE(signal.assign_buffer(nullptr));
  EXPECT_EQ(Samples(signal), mine);
  signal.Description() = Described(1, {UINT32_MAX, UINT32_MAX}, 1);
  EXPECT_FALSE(signal.reshape_array());  // more than there is memory for
  EXPECT_FALSE(signal.assign_buffer(mine.data()));
  EXPECT_EQ(Samples(signal), mine);
  signal.Description().SignalCoding(0);
  EXPECT_TRUE(signal.reshape_array());
  EXPECT_EQ(signal.elements(), 0u);
}

TYPED_TEST(TypedSignalTest, DemuxTakesOneChannel) {
  using Signal = CTypedSignal<TypeParam>;
  const struct {
    std::uint32_t coding;
    unsigned channel;
    std::size_t room;  // samples of a destination that is not reshaped
    bool result;
    std::vector<TypeParam> samples;
  } cases[] = {{1, 2, 4, true, {2, 5, 8, 11}},  {1, 0, 4, true, {0, 3, 6, 9}},
               {2, 2, 4, true, {8, 9, 10, 11}}, {1, 1, 2, true, {1, 4}},
               {2, 1, 3, true, {4, 5, 6}},      {1, 2, 6, true, {2, 5, 8, 11, 0, 0}},
               {0, 2, 2, false, {0, 0}}};
  for (const auto& c : cases) {
    auto source = Counting<Signal>(Described(1, {4}, 3));
    source.Description().SignalCoding(c.coding);
    Signal dst(Described(1, {static_cast<std::uint32_t>(c.room)}, 1));
    EXPECT_EQ(source.demux(c.channel, dst, false), c.result);
    EXPECT_EQ(Samples(dst), c.samples) << c.coding << ' ' << c.channel;
    EXPECT_EQ(source.demux(c.channel, dst, true), c.result);
    EXPECT_EQ(dst.elements(), 4u);
    EXPECT_EQ(dst.Description().SignalCoding(), 1u);
    EXPECT_EQ(dst.Description().Y(0).AppSigId(), 100 + static_cast<int>(c.channel));
    if (!c.result) continue;
    Signal parts(source);
    EXPECT_TRUE(parts.demux(c.channel, parts, true));  // into itself
    EXPECT_EQ(Samples(parts), Samples(dst));
  }
}

TYPED_TEST(TypedSignalTest, TransmuxMovesChannelsByTheSourcesCoding) {
  using Signal = CTypedSignal<TypeParam>;
  const struct {
    std::uint32_t coding;
    unsigned mask, dstChannels, dstFirst;
    bool result;
    std::vector<TypeParam> samples;  // source: 3 channels of 2 samples from 1 on; 0 = not written
  } cases[] = {                      // interleaved: channels keep their distance
               {1, 0b101, 4, 1, true, {0, 1, 0, 3, 0, 4, 0, 6}},
               {1, 0b111, 3, 0, true, {1, 2, 3, 4, 5, 6}},
               {1, 0b100, 2, 0, true, {0, 0, 3, 0}},  // channel 2 of 2: the next frame's first
               {1, 0b100, 2, 9, true, {0, 0, 0, 0}},
               {1, ~0u, 4, 0, true, {1, 2, 3, 0, 4, 5, 6, 0}},
               // blocked: channels are packed
               {2, 0b101, 4, 1, true, {0, 0, 1, 2, 5, 6, 0, 0}},
               {2, 0b110, 2, 1, true, {0, 0, 3, 4}},  // channel 2 has no place
               {2, 0b1, 2, 0xFFFFFFFF, true, {0, 0, 0, 0}},
               // the whole block, before the coding is looked at
               {0, ~0u, 3, 1, true, {1, 2, 3, 4, 5, 6}},
               {1, ~0u, 3, 2, true, {1, 2, 3, 4, 5, 6}},
               {1, 0, 2, 0, true, {0, 0, 0, 0}},
               {0, 0, 2, 0, true, {0, 0, 0, 0}},
               {0, 1, 0, 0, true, {}},
               {0, 1, 2, 0, false, {0, 0, 0, 0}},
               {3, ~0u, 2, 0, false, {0, 0, 0, 0}}};
  for (const auto& c : cases) {
    auto source = Counting<Signal>(Described(1, {2}, 3));
    for (TypeParam& sample : source) ++sample;
    source.Description().SignalCoding(c.coding);
    Signal dst(Described(1, {2}, c.dstChannels));
    EXPECT_EQ(source.transmux(c.mask, dst, c.dstFirst, false), c.result);
    EXPECT_EQ(Samples(dst), c.samples) << c.coding << ' ' << c.mask << ' ' << c.dstFirst;
  }
}

TEST(TypedSignal, TransmuxReshapesFirst) {
  const auto source = Counting(Described(2, {2}, 3));
  CTypedSignal<float> dst(Described(2, {7}, 1));
  EXPECT_TRUE(source.transmux(0b110, dst, 0, true));
  EXPECT_THAT(Samples(dst), ElementsAre(2, 3, 4, 5));
  EXPECT_EQ(dst.Description().Y(0).AppSigId(), 101);
  EXPECT_TRUE(source.transmux(0, dst, 0, true));
  EXPECT_EQ(dst.elements(), 0u);
  EXPECT_TRUE(source.transmux(kAllChannels, dst, 0, true));
  EXPECT_EQ(Flat(CDescription(dst.Description())), Flat(CDescription(source.Description())));
  EXPECT_EQ(Samples(dst), Samples(source));
  auto own = source;
  EXPECT_TRUE(own.transmux(0b100, own, 0, false));  // onto itself
  EXPECT_THAT(Samples(own), ElementsAre(4, 5, 2, 3, 4, 5));
}

TEST(TypedSignal, ReshapeDescriptionSelectsChannels) {
  const CDescription src = Described(2, {3, 2}, 4);
  const struct {
    unsigned mask;
    std::uint32_t coding;
    std::vector<int> ids;
  } cases[] = {{0b101, 1, {100, 102}},
               {0b1000, 1, {103}},
               {0xFFFFFFF0, 1, {}},
               {0x7FFFFFFF, 1, {100, 101, 102, 103}},
               {kAllChannels, 2, {100, 101, 102, 103}}};
  for (const auto& c : cases) {
    CSignalBase base;
    base.reshape_description(src, c.mask);
    const CDescriptionInterface& d = base.Description();
    EXPECT_EQ(d.SignalCoding(), c.coding) << c.mask;
    EXPECT_EQ(d.points(), 6u);
    ASSERT_EQ(d.YCount(), c.ids.size()) << c.mask;
    for (unsigned i = 0; i < d.YCount(); ++i) EXPECT_EQ(d.Y(i).AppSigId(), c.ids[i]) << c.mask;
  }
}

TEST(TypedSignal, CopyOfSomeChannelsKeepsResultAndArrangement) {
  for (const std::uint32_t coding : {1u, 2u}) {
    auto source = Counting(Described(coding, {2}, 3));
    source.Key().Mode() = 4;
    const CTypedSignal<float> copy(source, 0b110);
    EXPECT_EQ(copy.Key().Mode(), 4);
    EXPECT_EQ(copy.Description().SignalCoding(), coding);
    EXPECT_EQ(Samples(copy),
              coding == 1 ? (std::vector<float>{1, 2, 4, 5}) : (std::vector<float>{2, 3, 4, 5}));
    EXPECT_EQ(Flat(CTypedSignal<float>(source, kAllChannels)), Flat(source));
    EXPECT_EQ(CTypedSignal<float>(source, 0).elements(), 0u);
  }
}

TEST(TypedSignal, IteratorsRunAlongAnyDimension) {
  // 3 channels, used lengths 4 and 2
  const struct {
    std::uint32_t coding;
    unsigned dim, channel;
    std::vector<std::uint64_t> positions;
  } cases[] = {
      {1, 0, 2, {2, 5, 8, 11, 14, 17, 20, 23}},
      {1, 1, 1, {1, 13}},
      {1, 2, 0, {0}},
      {1, 9, 0, {0}},
      {2, 0, 0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23}},
      {2, 1, 1, {8, 12, 16, 20, 24, 28}},  // ends one block size behind its start
      {2, 2, 2, {16, 24, 32}},
      {0, 0, 1, {}}};
  for (const auto& c : cases) {
    auto signal = Counting(Described(1, {4, 2}, 3));
    signal.Description().SignalCoding(c.coding);
    std::vector<std::uint64_t> positions;
    const auto end = signal.end(c.dim, c.channel);
    for (auto it = signal.begin(c.dim, c.channel); it != end; ++it) {
      positions.push_back(it.position());
    }
    EXPECT_EQ(positions, c.positions) << c.coding << ' ' << c.dim << ' ' << c.channel;
    EXPECT_EQ(end - signal.begin(c.dim, c.channel), static_cast<std::ptrdiff_t>(positions.size()));
    EXPECT_EQ(end.block() == nullptr, c.coding == 0);
  }
}

TEST(TypedSignal, IteratorArithmetic) {
  auto signal = Counting(Described(1, {4}, 3));
  auto it = signal.begin(0, 1);
  EXPECT_EQ(it[2] + *(it + 3 - 2), 11.0f);
  EXPECT_EQ(*it++, 1.0f);
  EXPECT_EQ(*--it, 1.0f);
  EXPECT_LT(it, signal.end(0, 1));
  EXPECT_EQ(CTypedSignal<float>::const_iterator(it), std::as_const(signal).begin(0, 1));
}

}  // namespace
