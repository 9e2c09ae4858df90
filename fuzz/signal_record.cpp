// Signal records of all kinds and versions: what is read can be written and read again, and takes no more
// memory than the record justifies.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

template <class Signal>
void ReadAndWrite(std::span<const std::byte> bytes, unsigned version) {
  CMemFile file(bytes);
  Signal signal;
  if (!signal.ReadFromFile(file, version)) return;
  Require(signal.DLen() <= bytes.size());
  CMemFile again;
  Require(signal.WriteToFile(again, version));
  again.Seek(0, CFile::begin);
  Signal back;
  Require(back.ReadFromFile(again, version));
  Require(back.DLen() == signal.DLen());
}

}  // namespace

// Kind, version, then the record.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  PrWin::SetSink([](int, int, const CString&) {});
  if (size < 2) return 0;
  const std::span record(reinterpret_cast<const std::byte*>(bytes) + 2, size - 2);
  const unsigned version = bytes[1] % 4;
  switch (bytes[0] % 3) {
    case 0:
      ReadAndWrite<CSigCurve>(record, version);
      break;
    case 1:
      ReadAndWrite<CSigCurveExt>(record, version);
      break;
    default:
      ReadAndWrite<CSigPairs>(record, version);
  }
  return 0;
}
