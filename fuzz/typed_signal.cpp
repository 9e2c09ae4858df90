// Every operation on typed signals whose records are foreign bytes: nothing outside the blocks is touched.

#include <algorithm>
#include <vector>

#include "fuzz/support/Fuzz.h"
#include "umlauf/typed/Signalieee32.h"

namespace umlauf::fuzz {
namespace {

/// An initial record, with the fields that steer the copies drawn from values that lead somewhere.
SSignalBasePOD Record(Input& input) {
  SSignalBasePOD record;
  SDescriptionPOD& d = record.description;
  d.signalCoding = input.Pick({0, 1, 1, 1, 2, 2, 2, 3});
  d.xCount = input.Pick({0, 1, 1, 2, 3, 32, 33, UINT32_MAX});
  d.yCount = input.Pick({0, 1, 2, 3, 4, 8, 31, 32, 33, UINT32_MAX});
  for (unsigned i = 0; i < std::min(d.xCount, 32u) && !input.empty(); ++i) {
    d.x[i].beginIdx = input.Pick({0, 0, 0, 1, 5, UINT32_MAX});
    d.x[i].endIdx = d.x[i].beginIdx + input.Pick({0, 1, 1, 1, 2, 3, 7, UINT32_MAX});
    if (input.Byte() % 16 == 0) d.x[i].endIdx = UINT32_MAX;
  }
  return record;
}

bool IsSmall(const CSignalBase& signal) {
  return signal.Description().elements() < 5000 && signal.Description().points() < 5000;
}

CSignalieee32 Signal(Input& input) {
  CSignalieee32 signal;
  signal.Description().SignalCoding(1);
  signal.Description().XInsert(0, 1);
  signal.Description().YInsert(0, 1);
  signal.Description().X(0).Len(input.Pick({0, 1, 2, 5, 12, 96, 97}));
  signal.reshape_array();
  const SSignalBasePOD record = Record(input);
  Require(signal.CSignalBase::read(&record) > 0, "a base record is read as it stands");
  if (IsSmall(signal) && input.Byte() % 2 == 0) signal.reshape_array();
  return signal;
}

unsigned Mask(Input& input) { return input.Byte() % 4 == 0 ? kAllChannels : input.Take<std::uint32_t>(); }

void Ranges(CSignalieee32& signal, const CSignalieee32& other, unsigned dim, unsigned channel) {
  const auto first = signal.begin(dim, channel), last = signal.end(dim, channel);
  const auto steps = last - first;
  Require(static_cast<std::uint64_t>(steps) <= signal.elements(),
          "a range has at most the samples of the block");
  Require(first + steps == last, "a range is as long as the way from its begin to its end");
  signal.Sum(first, last);
  signal.YRange(first, last);
  signal.Square(first, last).Fill(last, first, 1.0f).Scale(first, last, 2.0f);
  signal.Maximize(other).WeightedSum(other, 1.0f, 2.0f);
}

void Describe(CSignalBase base, const CSignalBase& other, Input& input) {
  CDescription a(base.Description());
  const CDescription b(other.Description());
  Require((a == b) != (a != b), "descriptions are equal or not");
  Require(a.FindAppSigId(5, input.Take<std::int32_t>()) < 32, "a channel that is found is one of 32");
  const unsigned n = input.Pick({1, 3, 40, UINT32_MAX}), at = input.Pick({0, 5, 31, 32, UINT32_MAX});
  a.XInsert(at, n), a.YInsert(at, n);
  a.XRemove(at / 2, n), a.YRemove(at / 2, n);
  Require(std::max(a.pod().xCount, a.pod().yCount) <= 32, "there are at most 32 slots");
  base.reshape_description(b, Mask(input));
  base.reshape_description(base.Description(), Mask(input));
}

void SplitAndJoin(const CSignalieee32& source, CSignalieee32& dst, bool reshape, Input& input) {
  std::vector<CTypedSignal<float>> parts(32);
  for (unsigned i = 0; i < 32; i += 5) parts[i] = Signal(input);
  source.demux(parts.data(), reshape);
  dst.mux(parts.data());
}

}  // namespace

void FuzzOne(Input input) {
  const CSignalieee32 source = Signal(input), other = Signal(input);
  CSignalieee32 dst = Signal(input);
  const bool reshape = IsSmall(source) && input.Byte() % 2 == 0;
  const unsigned channel = input.Pick({0, 1, 2, 31, 32, UINT32_MAX});
  source.demux(channel, dst, reshape);
  source.transmux(Mask(input), dst, input.Pick({0, 1, 2, 31, UINT32_MAX}), reshape);
  if (input.Byte() % 16 == 0) SplitAndJoin(source, dst, reshape, input);
  Ranges(dst, other, input.Pick({0, 1, 2, 31, 32, UINT32_MAX}), channel);
  dst.MakeTransposedOf(other);
  if (IsSmall(source)) dst = CSignalieee32(source, Mask(input));
  Describe(source, other, input);
}

}  // namespace umlauf::fuzz
