// Message descriptions, as bytes of a file and as wide text; then messages by what was understood.

#include <string>

#include "fuzz/support/Fuzz.h"
#include "umlauf/can/CanMessageDecoderXml.h"

namespace umlauf::fuzz {
namespace {

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
        Require(decoder.AppSigIdGesehen(decoder.ResultId(r)), "a result is of a signal that was seen");
      }
    }
  }
}

}  // namespace

void FuzzOne(Input input) {
  static const TemporaryFile file;
  file.Fill(input.Rest());
  const CString path = CString::FromUtf8(file.path());
  CCanMessageDecoderXml decoder;
  decoder.SetBigEndianOffset(input.size() % 2 == 0
                                 ? CCanMessageDecoderXml::BigEndianOffset::leastSignificantBit
                                 : CCanMessageDecoderXml::BigEndianOffset::mostSignificantBit);
  decoder.SetDecoderXmlFile(path);
  DecodeAll(decoder);
  const std::string_view text = input.Text();
  decoder.SetDecoderXmlText(std::wstring(text.begin(), text.end()).c_str());
  DecodeAll(decoder);
}

}  // namespace umlauf::fuzz
