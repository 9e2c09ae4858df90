// Every operation on records of random bytes; the sanitizers judge that nothing outside is touched.

#include <cstring>
#include <random>

#include "typed/TypedTestSupport.h"
#include "umlauf/typed/Signalieee32.h"

namespace {

std::mt19937 g_engine(20240611);
unsigned Random() { return static_cast<unsigned>(g_engine()); }

std::uint32_t Pick(std::initializer_list<std::uint32_t> choices) {
  return choices.begin()[Random() % choices.size()];
}

/// Random bytes, with the fields that steer the copies drawn from values that lead somewhere.
SSignalBasePOD HostileRecord() {
  SSignalBasePOD record;
  auto* bytes = reinterpret_cast<unsigned char*>(&record);
  for (std::size_t i = 0; i < sizeof record; ++i) bytes[i] = static_cast<unsigned char>(Random());
  SDescriptionPOD& d = record.description;
  d.signalCoding = Pick({0, 1, 1, 1, 2, 2, 2, 3});
  d.xCount = Pick({0, 1, 1, 2, 3, 32, 33, UINT32_MAX});
  d.yCount = Pick({0, 1, 2, 3, 4, 8, 31, 32, 33, UINT32_MAX});
  for (SXChannelDescriptionPOD& x : d.x) {
    x.beginIdx = Pick({0, 0, 0, 1, 5, UINT32_MAX});
    x.endIdx = x.beginIdx + Pick({0, 1, 1, 1, 2, 3, 7, UINT32_MAX});
    if (Random() % 16 == 0) x.endIdx = UINT32_MAX;
  }
  return record;
}

template <class Signal>
Signal HostileSignal() {
  Signal signal(Described(1, {Pick({0, 1, 2, 5, 12, 96, 97})}, 1));
  const SSignalBasePOD record = HostileRecord();
  EXPECT_GT(signal.CSignalBase::read(&record), 0);
  if (signal.Description().elements() < 5000 && Random() % 2 == 0) signal.reshape_array();
  return signal;
}

unsigned RandomMask() { return Random() % 4 == 0 ? kAllChannels : Random(); }

template <class Signal>
void Exercise() {
  const Signal source = HostileSignal<Signal>();
  Signal dst = HostileSignal<Signal>();
  const bool reshape =
      Random() % 2 == 0 && source.Description().elements() < 5000 && source.Description().points() < 5000;
  const unsigned channel = Pick({0, 1, 2, 31, 32, UINT32_MAX}), dim = Pick({0, 1, 2, 31, 32, UINT32_MAX});
  source.demux(channel, dst, reshape);
  source.transmux(RandomMask(), dst, channel, reshape);
  if (source.Description().elements() < 5000) {
    const Signal part(source, RandomMask());
    dst = part;
  }
  EXPECT_LT(source.Description().FindAppSigId(5, static_cast<int>(dim)), 32);
  auto it = source.begin(dim, channel);
  const auto end = source.end(dim, channel);
  const std::ptrdiff_t steps = end - it;
  EXPECT_LE(static_cast<std::uint64_t>(steps), source.elements());
  std::ptrdiff_t walked = 0;
  for (; it != end && walked <= steps; ++it) ++walked;
  EXPECT_EQ(walked, steps);
}

TEST(HostileRecords, NoCopyLeavesTheBlocks) {
  for (int i = 0; i < 3000; ++i) {
    Exercise<CTypedSignal<std::int16_t>>();
    Exercise<CTypedSignal<float>>();
    Exercise<CSignalieee32>();
  }
}

TEST(HostileRecords, NoFloatOperationLeavesTheBlocks) {
  for (int i = 0; i < 1000; ++i) {
    CSignalieee32 s = HostileSignal<CSignalieee32>();
    CSignalieee32 other = HostileSignal<CSignalieee32>();
    const auto first = s.begin(Pick({0, 1, 32}), Pick({0, 1, 40, UINT32_MAX}));
    const auto last = s.end(Pick({0, 1, 32}), Pick({0, 1, 40, UINT32_MAX}));
    s.Sum(first, last);
    s.YRange(first, last);
    s.Square(first, last).Fill(last, first, 1.0f).Scale(first, last, 2.0f);
    s.Maximize(other).WeightedSum(other, 1.0f, 2.0f);
    s.MakeTransposedOf(other);
    std::vector<CTypedSignal<float>> parts(32, CTypedSignal<float>(Described(1, {3}, 1)));
    s.demux(parts.data(), s.Description().points() < 5000);
    s.mux(parts.data());
  }
}

TEST(HostileRecords, DescriptionsStayWithinTheirSlots) {
  for (int i = 0; i < 3000; ++i) {
    const SSignalBasePOD record = HostileRecord();
    CDescription a(record.description);
    const CDescription b(HostileRecord().description);
    EXPECT_NE(a == b, a != b);
    a.XInsert(Random() % 40, Pick({1, 3, 40, UINT32_MAX}));
    a.YInsert(Pick({0, 31, 32, UINT32_MAX}), Random() % 40);
    a.XRemove(Random() % 40, Pick({1, 3, 40, UINT32_MAX}));
    a.YRemove(Pick({0, 31, 32, UINT32_MAX}), Random() % 40);
    EXPECT_LE(a.pod().xCount, 32u);
    EXPECT_LE(a.pod().yCount, 32u);
    CSignalBase base(record);
    base.reshape_description(b, RandomMask());
    base.reshape_description(base.Description(), RandomMask());
  }
}

}  // namespace
