// Signal files: what is read can be written and read again; a file with anything missing or too much is
// refused.

#include <algorithm>

#include "fuzz/support/Fuzz.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/recording/SignalFile.h"

namespace umlauf::fuzz {

void FuzzOne(Input input) {
  CMemFile file(input.Rest());
  CSignalFile reader;
  const std::unique_ptr<CSignal> signal = reader.Read(file);
  Require((signal == nullptr) == !reader.Failure().IsEmpty(), "a failure has a reason, and nothing else has");
  if (signal == nullptr) return;
  Require(file.Remaining() == 0, "a signal file is read to its end");
  CMemFile written;
  Require(reader.Write(*signal, written), "a signal that was read can be written");
  for (const std::size_t length : {written.Bytes().size() - 1, written.Bytes().size() / 2}) {
    CMemFile cut(written.Bytes().first(length));
    Require(reader.Read(cut) == nullptr, "a cut file is refused");
  }
  written.Seek(0, CFile::begin);
  const std::unique_ptr<CSignal> back = reader.Read(written);
  Require(back != nullptr && back->SigId() == signal->SigId() && back->DLen() == signal->DLen(),
          "a written signal is the one that comes back");
  Require(std::equal(back->Data(), back->Data() + back->DLen(), signal->Data()),
          "exact samples come back to the bit");
}

}  // namespace umlauf::fuzz
