#include "umlauf/typed/TypedSignal.h"

#include <iterator>

#include "support/Test.h"
#include "typed/TypedTestSupport.h"
#include "umlauf/typed/Signalieee32.h"

namespace {

static_assert(std::random_access_iterator<CTypedSignal<float>::iterator>);
static_assert(std::random_access_iterator<CTypedSignal<float>::const_iterator>);

template <class T>
class TypedSignalTest : public testing::Test {};
using SampleTypes = testing::Types<std::int16_t, std::int32_t, ULONG, float>;
TYPED_TEST_SUITE(TypedSignalTest, SampleTypes);

TYPED_TEST(TypedSignalTest, BlockFollowsTheDescription) {
  auto signal = Counting<CTypedSignal<TypeParam>>(Described(1, {4}, 3));
  EXPECT_ALL(signal.element_size() == sizeof(TypeParam), signal.elements() == 12u);
  signal.Description().SignalCoding(2);
  EXPECT_TRUE(signal.reshape_array());  // the same size: samples stay
  EXPECT_ALL(signal.data()[11] == TypeParam{11}, signal.reshape(signal, 0b101),
             signal.Description().Y(1).AppSigId() == 102);
  const std::vector<TypeParam> mine(8, TypeParam{5});
  EXPECT_ALL(signal.assign_buffer(mine.data()), !signal.assign_buffer(nullptr));
  signal.Description() = Described(1, {UINT32_MAX, UINT32_MAX}, 1);  // more than there is memory for
  EXPECT_ALL(!signal.reshape_array(), !signal.assign_buffer(mine.data()), Samples(signal) == mine);
  signal.Description().SignalCoding(0);
  EXPECT_ALL(signal.reshape_array(), signal.elements() == 0u);
}

TYPED_TEST(TypedSignalTest, DemuxTakesOneChannel) {
  using Signal = CTypedSignal<TypeParam>;
  // Positions in a destination with room for as many.
  const Cases<std::uint32_t, unsigned, bool, std::vector<TypeParam>> cases = {
      {1, 0, true, {0, 3, 6, 9}}, {2, 2, true, {8, 9, 10, 11}},      {1, 1, true, {1, 4}},
      {2, 1, true, {4, 5, 6}},    {1, 2, true, {2, 5, 8, 11, 0, 0}}, {0, 2, false, {0, 0}}};
  for (const auto& [coding, channel, result, samples] : cases) {
    auto source = Counting<Signal>(Described(1, {4}, 3));
    source.Description().SignalCoding(coding);
    Signal dst(Described(1, {static_cast<std::uint32_t>(samples.size())}, 1));
    EXPECT_EQ(source.demux(channel, dst, false), result);
    EXPECT_EQ(Samples(dst), samples) << coding << ' ' << channel;
    EXPECT_ALL(source.demux(channel, dst, true) == result, dst.elements() == 4u,
               dst.Description().SignalCoding() == 1u,
               dst.Description().Y(0).AppSigId() == 100 + static_cast<int>(channel));
    if (!result) continue;
    EXPECT_TRUE(source.demux(channel, source, true));  // into itself
    EXPECT_EQ(Samples(source), Samples(dst));
  }
}

/// What transmux makes of the samples of a destination when no whole block is copied, one after the other.
template <class T>
void PlainTransmux(const CTypedSignal<T>& source, unsigned mask, std::vector<T>& dst, unsigned dstChannels,
                   std::uint64_t dstChannel) {
  const std::uint64_t channels = source.Description().YCount(), frames = source.Description().points();
  const bool interleaved = source.Description().SignalCoding() == 1;
  for (unsigned c = 0; c < channels; ++c) {
    const bool selected = (mask >> c & 1) != 0;
    for (std::uint64_t i = 0; selected && i < frames; ++i) {
      const std::uint64_t to = interleaved ? dstChannel + i * dstChannels : dstChannel * frames + i;
      if (to < dst.size()) dst[to] = source.data()[interleaved ? i * channels + c : c * frames + i];
    }
    dstChannel += interleaved || selected;
  }
}

TYPED_TEST(TypedSignalTest, TransmuxAgreesWithPlainLoopsWhateverTheSizes) {
  using Signal = CTypedSignal<TypeParam>;
  std::mt19937 random(1);
  const auto below = [&random](unsigned n) { return static_cast<unsigned>(random() % n); };
  for (int run = 0; run < 2000; ++run) {
    const unsigned channels = below(2) == 0 ? 5 : 33, frames = below(3) == 0 ? 3 : 150;
    const unsigned dstChannels = 1 + below(channels - 1);
    const auto source = Counting<Signal>(Described(1 + below(2), {below(frames)}, below(channels)));
    Signal dst(Described(1, {below(frames)}, below(channels)));  // can be shorter than a frame
    dst.Description() = Described(1, {1}, dstChannels);
    const unsigned mask = static_cast<unsigned>(random()) & ~1u, first = below(3);
    auto expected = Samples(dst);
    PlainTransmux(source, mask, expected, dstChannels, first);
    EXPECT_TRUE(source.transmux(mask, dst, first, false));
    ASSERT_EQ(Samples(dst), expected) << "run " << run << ", mask " << mask << " from " << first;
  }
}

TEST(TypedSignal, TransmuxLooksAtMaskAndChannelsBeforeTheCoding) {
  // The source has 3 channels of 2 samples from 0 on; 9 = not written.
  const Cases<std::uint32_t, unsigned, unsigned, unsigned, bool, std::vector<float>> cases = {
      {1, kAllChannels, 3, 2, true, {0, 1, 2, 3, 4, 5}},
      {0, kAllChannels, 3, 1, true, {0, 1, 2, 3, 4, 5}},
      {0, kAllChannels, 2, 0, false, {9, 9, 9, 9}},
      {0, 0, 2, 0, true, {9, 9, 9, 9}},
      {3, 1, 2, 0, false, {9, 9, 9, 9}},
      {3, 1, 0, 0, true, {}},
      {2, 1, 2, UINT32_MAX, true, {9, 9, 9, 9}}};
  for (const auto& [coding, mask, dstChannels, dstFirst, result, samples] : cases) {
    auto source = Counting(Described(1, {2}, 3));
    source.Description().SignalCoding(coding);
    CSignalieee32 dst(Described(1, {2}, dstChannels));
    dst = 9.0f;
    EXPECT_EQ(source.transmux(mask, dst, dstFirst, false), result);
    EXPECT_EQ(Samples(dst), samples) << coding << ' ' << mask << ' ' << dstFirst;
  }
}

TEST(TypedSignal, TransmuxReshapesFirst) {
  const auto source = Counting(Described(2, {2}, 3));
  CTypedSignal<float> dst(Described(2, {7}, 1));
  EXPECT_TRUE(source.transmux(0b110, dst, 0, true));
  EXPECT_THAT(Samples(dst), ElementsAre(2, 3, 4, 5));
  EXPECT_ALL(dst.Description().Y(0).AppSigId() == 101, source.transmux(0, dst, 0, true),
             dst.elements() == 0u);
  auto own = source;
  EXPECT_TRUE(own.transmux(0b100, own, 0, false));  // onto itself
  EXPECT_THAT(Samples(own), ElementsAre(4, 5, 2, 3, 4, 5));
}

TEST(TypedSignal, ReshapedDescriptionKeepsItsCodingUnlessAllIsCopied) {
  const CDescription source = Described(2, {3, 2}, 4);
  CSignalBase base;
  base.reshape_description(source, 0xFFFFFFFA);  // channels 1 and 3, and more than there are
  EXPECT_ALL(base.Description().SignalCoding() == 1u, base.Description().points() == 6u,
             base.Description().YCount() == 2u, base.Description().Y(0).AppSigId() == 101,
             base.Description().Y(1).AppSigId() == 103);
  base.reshape_description(source, kAllChannels);
  EXPECT_EQ(Flat(CDescription(base.Description())), Flat(source));
}

TEST(TypedSignal, CopyOfSomeChannelsKeepsResultAndArrangement) {
  for (const std::uint32_t coding : {1u, 2u}) {
    auto source = Counting(Described(coding, {300}, 9));
    source.Key().Mode() = 4;
    const CTypedSignal<float> copy(source, 0b101100010);
    EXPECT_ALL(copy.Key().Mode() == 4, copy.Description().SignalCoding() == coding);
    unsigned slot = 0;
    for (const unsigned channel : {1u, 5u, 6u, 8u}) {
      CTypedSignal<float> expected, copied;
      EXPECT_ALL(source.demux(channel, expected, true), copy.demux(slot++, copied, true));
      EXPECT_EQ(Samples(copied), Samples(expected)) << channel;
    }
    EXPECT_EQ(Flat(CTypedSignal<float>(source, kAllChannels)), Flat(source));
    EXPECT_EQ(CTypedSignal<float>(source, 0).elements(), 0u);
  }
}

TEST(TypedSignal, IteratorsRunAlongAnyDimension) {
  // 3 channels, used lengths 4 and 2
  const Cases<std::uint32_t, unsigned, unsigned, std::vector<std::uint64_t>> cases = {
      {1, 0, 2, {2, 5, 8, 11, 14, 17, 20, 23}},
      {1, 1, 1, {1, 13}},
      {1, 9, 0, {0}},
      {2, 1, 1, {8, 12, 16, 20, 24, 28}},  // ends one block size behind its start
      {2, 2, 2, {16, 24, 32}},
      {0, 0, 1, {}}};
  for (const auto& [coding, dim, channel, expectedPositions] : cases) {
    auto signal = Counting(Described(1, {4, 2}, 3));
    signal.Description().SignalCoding(coding);
    std::vector<std::uint64_t> positions;
    const auto end = signal.end(dim, channel);
    for (auto it = signal.begin(dim, channel); it != end; ++it) positions.push_back(it.position());
    EXPECT_EQ(positions, expectedPositions) << coding << ' ' << dim << ' ' << channel;
    EXPECT_EQ(end - signal.begin(dim, channel), static_cast<std::ptrdiff_t>(positions.size()));
    EXPECT_EQ(end.block() == nullptr, coding == 0);
  }
}

TEST(TypedSignal, IteratorArithmetic) {
  auto signal = Counting(Described(1, {4}, 3));
  auto it = signal.begin(0, 1);
  EXPECT_ALL(it[2] + *(it + 3 - 2) == 11.0f, *it++ + *it == 5.0f, it < signal.end(0, 1),
             CTypedSignal<float>::const_iterator(--it) == std::as_const(signal).begin(0, 1));
}

}  // namespace
