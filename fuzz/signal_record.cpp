// Signal records of all kinds and versions: what is read can be written and read again.

#include <algorithm>
#include <type_traits>

#include "fuzz/support/Fuzz.h"
#include "umlauf/pairs/SigPairsTm.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/signal/SigCurveExt.h"

namespace umlauf::fuzz {
namespace {

template <class Signal>
void ReadAndWrite(std::span<const std::byte> bytes, unsigned version) {
  CMemFile file(bytes);
  Signal signal;
  if (!signal.ReadFromFile(file, version)) return;
  Require(signal.DLen() <= bytes.size(), "a signal has no more samples than its record has bytes");
  CMemFile first, second;
  Require(signal.WriteToFile(first, version), "a signal that was read can be written");
  first.Seek(0, CFile::begin);
  Signal back;
  Require(back.ReadFromFile(first, version) && first.Remaining() == 0, "a written signal can be read");
  Require(back.DLen() == signal.DLen(), "a written signal has its samples");
  if constexpr (std::is_base_of_v<CSigCurve, Signal>) {
    if (signal.FileCompression()) return;  // quantised samples move with their range
  }
  // A name that is cut within a character comes back with another end.
  const std::size_t name = version == 0 ? 0 : 40;
  Require(back.WriteToFile(second, version) &&
              std::ranges::equal(first.Bytes().subspan(name), second.Bytes().subspan(name)),
          "a written signal is the one that comes back");
}

}  // namespace

// Kind, version, then the record.
void FuzzOne(Input input) {
  const std::uint8_t kind = input.Byte(), version = input.Byte() % 4;
  switch (kind % 4) {
    case 0:
      return ReadAndWrite<CSigCurve>(input.Rest(), version);
    case 1:
      return ReadAndWrite<CSigCurveExt>(input.Rest(), version);
    case 2:
      return ReadAndWrite<CSigPairs>(input.Rest(), version);
    default:
      return ReadAndWrite<CSigPairsTm>(input.Rest(), version);
  }
}

}  // namespace umlauf::fuzz
