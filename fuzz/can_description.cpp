// Message descriptions, as bytes of a file and as wide text; then messages by what was understood.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "umlauf/can/CanMessageDecoderXml.h"
#include "umlauf/platform/framework/CFile.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

/// A file of this process's own.
class TemporaryFile {
 public:
  TemporaryFile() {
    if (mkstemp(name_) < 0) std::abort();
    PrWin::SetSink([](int, int, const CString&) {});
  }
  ~TemporaryFile() { std::remove(name_); }
  CString Path() const { return CString(name_); }

 private:
  char name_[40] = "/tmp/fuzz_can_description_XXXXXX";
};

void DecodeAll(CCanMessageDecoderXml& decoder) {
  const unsigned count = decoder.NumSignals() < 100 ? decoder.NumSignals() : 100;
  for (unsigned i = 0; i < count; ++i) {
    decoder.AppSignalBekanntmachen(static_cast<int>(i), decoder.Signal(i).signal);
  }
  decoder.StartDecoderSession();
  for (unsigned i = 0; i < count; ++i) {
    CanMessageBlock_s message{0xAA400055, decoder.Signal(i).identifier, {}};
    for (unsigned k = 0; k < sizeof message.data; ++k)
      message.data[k] = static_cast<std::uint8_t>(37 * k + i);
    for (const unsigned length : {1u, 8u, 64u}) {
      message.header = 0xAA000055 | length << 16;
      for (unsigned r = 0; r < decoder.DecodeCanMessage(message); ++r) {
        if (!decoder.AppSigIdGesehen(decoder.ResultId(r))) std::abort();
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const TemporaryFile file;
  CFile(file.Path(), CFile::modeWrite | CFile::modeCreate).Write(bytes, size);
  CCanMessageDecoderXml decoder;
  decoder.SetBigEndianOffset(size % 2 == 0 ? CCanMessageDecoderXml::BigEndianOffset::leastSignificantBit
                                           : CCanMessageDecoderXml::BigEndianOffset::mostSignificantBit);
  decoder.SetDecoderXmlFile(file.Path());
  DecodeAll(decoder);
  decoder.SetDecoderXmlText(std::wstring(bytes, bytes + size).c_str());
  DecodeAll(decoder);
  return 0;
}
