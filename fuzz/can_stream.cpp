// Words of a recorded stream through the finder, the editor curve, the compressor and a decoder.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "umlauf/can/CanMessageCompressor.h"
#include "umlauf/can/CanMessageDecoderXml.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

CCanMessageDecoderXml& Decoder() {
  static CCanMessageDecoderXml decoder;
  static const bool ready = [] {
    PrWin::SetSink([](int, int, const CString&) {});
    decoder.AppSignalBekanntmachen(1, L"A");
    return decoder.SetDecoderXmlText(
        L"<NetworkDefinition><Bus><Message id='0'><Signal name='A' offset='3' length='64'/>"
        L"<Multiplex name='P' offset='40' length='4' endianess='big'><MuxGroup count='1'>"
        L"<Signal name='A' offset='500' length='12'/></MuxGroup></Multiplex></Message>"
        L"<Message id='1' format='extended'><Signal name='A' offset='63' length='64' endianess='big'>"
        L"<Value type='double'/></Signal></Message></Bus></NetworkDefinition>");
  }();
  Require(ready);
  return decoder;
}

void Search(const ULONG* words, unsigned samples, int channel1, int channel2, unsigned stride) {
  CCanMessageFinder finder;
  finder.StartSearchBlock(words, samples, channel1, channel2, stride);
  for (unsigned behind = 0; finder.FindNextMessage();) {
    Require(finder.SamplePos() >= behind && IsCanHeader(finder.Message().header));
    behind = finder.SamplePos() + finder.MessageSamples();
    Require(finder.MessageSamples() > 0 && behind <= samples);
    Decoder().DecodeCanMessage(finder.Message());
  }
  const std::unique_ptr<float[]> curve(new float[samples]);
  finder.GenerateWavEditorCurve(curve.get(), samples, channel1, channel2, stride);
}

void Compress(const float* words, unsigned samples, unsigned stride, float ratio, float phase) {
  const float length = static_cast<float>(samples) / ratio + phase;
  if (!(length < 1e5f)) return;
  const std::size_t room = 18 + (length > 0.0f ? static_cast<std::size_t>(length) : 0);
  const std::unique_ptr<float[]> out(new float[room]);
  CCanMessageCompressor compressor;
  Require(compressor.CanDownsampling(out.get(), 1, words, samples, stride, ratio, phase) + 18 <= room);
}

}  // namespace

// 4 bytes of settings, ratio and phase, then the stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  constexpr std::size_t front = 12;
  if (size < front) return 0;
  const unsigned stride = 1 + bytes[0] % 9;
  const int channel1 = bytes[1] % static_cast<int>(stride);
  const int channel2 = static_cast<std::int8_t>(bytes[2]) % 10;
  float ratio, phase;
  std::memcpy(&ratio, bytes + 4, sizeof ratio);
  std::memcpy(&phase, bytes + 8, sizeof phase);
  // Whole frames, in memory that ends with them.
  const auto samples = static_cast<unsigned>((size - front) / 4 / stride);
  const std::size_t count = std::size_t{samples} * stride;
  const std::unique_ptr<ULONG[]> words(new ULONG[count]);
  const std::unique_ptr<float[]> floats(new float[count]);
  if (count > 0) {
    std::memcpy(words.get(), bytes + front, 4 * count);
    std::memcpy(floats.get(), bytes + front, 4 * count);
  }
  Decoder().SetRecordedChannels(1 + bytes[3] % 2u);
  Search(words.get(), samples, channel1, channel2, stride);
  Compress(floats.get(), samples, stride, ratio, phase);
  return 0;
}
