// Every operation on records of random bytes; the sanitizers judge that nothing outside is touched.

#include <algorithm>
#include <random>

#include "typed/TypedTestSupport.h"
#include "umlauf/typed/Signalieee32.h"

namespace {

std::mt19937 g_engine(20240611);
unsigned Random() { return static_cast<unsigned>(g_engine()); }

std::uint32_t Pick(std::initializer_list<std::uint32_t> choices) {
  return choices.begin()[Random() % choices.size()];
}

unsigned RandomMask() { return Random() % 4 == 0 ? kAllChannels : Random(); }

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

bool IsSmall(const CSignalBase& signal) {
  return signal.Description().elements() < 5000 && signal.Description().points() < 5000;
}

CSignalieee32 HostileSignal() {
  CSignalieee32 signal(Described(1, {Pick({0, 1, 2, 5, 12, 96, 97})}, 1));
  const SSignalBasePOD record = HostileRecord();
  EXPECT_GT(signal.CSignalBase::read(&record), 0);
  if (IsSmall(signal) && Random() % 2 == 0) signal.reshape_array();
  return signal;
}

TEST(HostileRecords, NoOperationLeavesTheBlocks) {
  std::vector<CTypedSignal<float>> parts(32, CTypedSignal<float>(Described(1, {3}, 1)));
  for (int i = 0; i < 3000; ++i) {
    const CSignalieee32 source = HostileSignal(), other = HostileSignal();
    CSignalieee32 dst = HostileSignal();
    const bool reshape = IsSmall(source) && Random() % 2 == 0;
    const unsigned channel = Pick({0, 1, 2, 31, 32, UINT32_MAX}), dim = Pick({0, 1, 2, 31, 32, UINT32_MAX});
    source.demux(channel, dst, reshape);
    source.transmux(RandomMask(), dst, Pick({0, 1, 2, 31, UINT32_MAX}), reshape);
    source.demux(parts.data(), reshape);
    dst.mux(parts.data());
    const auto first = dst.begin(dim, channel), last = dst.end(dim, channel);
    const auto steps = last - first;
    EXPECT_LE(static_cast<std::uint64_t>(steps), dst.elements());
    EXPECT_EQ(first + steps, last);
    dst.Sum(first, last);
    dst.YRange(first, last);
    dst.Square(first, last).Fill(last, first, 1.0f).Scale(first, last, 2.0f);
    dst.Maximize(other).WeightedSum(other, 1.0f, 2.0f);
    dst.MakeTransposedOf(other);
    if (IsSmall(source)) dst = CSignalieee32(source, RandomMask());
  }
}

TEST(HostileRecords, DescriptionsStayWithinTheirSlots) {
  for (int i = 0; i < 3000; ++i) {
    CSignalBase base(HostileRecord());
    CDescription a(base.Description());
    const CDescription b(HostileRecord().description);
    EXPECT_NE(a == b, a != b);
    EXPECT_LT(a.FindAppSigId(5, static_cast<int>(Random())), 32);
    const unsigned n = Pick({1, 3, 40, UINT32_MAX}), pos = Pick({0, 5, 31, 32, UINT32_MAX});
    a.XInsert(pos, n), a.YInsert(pos, n);
    a.XRemove(pos / 2, n), a.YRemove(pos / 2, n);
    EXPECT_LE(std::max(a.pod().xCount, a.pod().yCount), 32u);
    base.reshape_description(b, RandomMask());
    base.reshape_description(base.Description(), RandomMask());
  }
}

}  // namespace
