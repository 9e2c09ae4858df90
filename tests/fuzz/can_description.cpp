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
const std::wstring& Path() {
  static const std::wstring path = [] {
    PrWin::SetSink([](int, int, const CString&) {});
    char name[] = "/tmp/fuzz_can_description_XXXXXX";
    if (mkstemp(name) < 0) std::abort();
    return CString(name).str();
  }();
  return path;
}

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
  CFile(Path().c_str(), CFile::modeWrite | CFile::modeCreate).Write(bytes, size);
  CCanMessageDecoderXml decoder;
  decoder.SetBigEndianOffset(size % 2 == 0 ? CCanMessageDecoderXml::BigEndianOffset::leastSignificantBit
                                           : CCanMessageDecoderXml::BigEndianOffset::mostSignificantBit);
  decoder.SetDecoderXmlFile(Path().c_str());
  DecodeAll(decoder);
  decoder.SetDecoderXmlText(std::wstring(bytes, bytes + size).c_str());
  DecodeAll(decoder);
  return 0;
}
