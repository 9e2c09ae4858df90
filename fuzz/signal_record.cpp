// Signal records of all kinds and versions: what is read can be written and read again.

#include <algorithm>
#include <type_traits>

#include "fuzz/support/Fuzz.h"
#include "umlauf/pairs/SigPairsTm.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/signal/SigCurveArray.h"
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

void ReadAndWriteArray(std::span<const std::byte> bytes, unsigned version) {
  CMemFile file(bytes);
  CSigCurveArray array;
  const bool whole = array.ReadFromFile(file, version);
  for (std::size_t i = 1; i < array.Count(); ++i) {
    Require(array[i - 1].Date() <= array[i].Date(), "curves are in the order of their dates");
  }
  if (!whole) return;
  CMemFile again;
  Require(array.WriteToFile(again, version), "an array that was read can be written");
  again.Seek(0, CFile::begin);
  CSigCurveArray back;
  Require(back.ReadFromFile(again, version) && again.Remaining() == 0, "a written array can be read");
  Require(back.Count() == array.Count(), "a written array has its curves");
  CSigCurveExt out;
  if (array.Mean(out)) Require(out.DLen() <= bytes.size(), "a mean has no more samples than the curves");
  array.SectionAt(0.0f, out);
  array.SectionAtX(0.0f, 16, out);
}

}  // namespace

// Kind, version, then the record.
void FuzzOne(Input input) {
  const std::uint8_t kind = input.Byte(), version = input.Byte() % 4;
  switch (kind % 5) {
    case 0:
      return ReadAndWrite<CSigCurve>(input.Rest(), version);
    case 1:
      return ReadAndWrite<CSigCurveExt>(input.Rest(), version);
    case 2:
      return ReadAndWrite<CSigPairs>(input.Rest(), version);
    case 4:
      return ReadAndWriteArray(input.Rest(), version);
    default:
      return ReadAndWrite<CSigPairsTm>(input.Rest(), version);
  }
}

}  // namespace umlauf::fuzz
