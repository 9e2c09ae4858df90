// Words of a recorded stream through the finder, the editor curve, the compressor and a decoder.

#include "fuzz/support/Fuzz.h"
#include "umlauf/can/CanMessageCompressor.h"
#include "umlauf/can/CanMessageDecoderXml.h"

namespace umlauf::fuzz {
namespace {

CCanMessageDecoderXml& Decoder() {
  static CCanMessageDecoderXml decoder;
  static const bool ready = [] {
    decoder.AppSignalBekanntmachen(1, L"A");
    return decoder.SetDecoderXmlText(
        L"<NetworkDefinition><Bus><Message id='0'><Signal name='A' offset='3' length='64'/>"
        L"<Multiplex name='P' offset='40' length='4' endianess='big'><MuxGroup count='1'>"
        L"<Signal name='A' offset='500' length='12'/></MuxGroup></Multiplex></Message>"
        L"<Message id='1' format='extended'><Signal name='A' offset='63' length='64' endianess='big'>"
        L"<Value type='double'/></Signal></Message></Bus></NetworkDefinition>");
  }();
  Require(ready, "the description is understood");
  return decoder;
}

void Search(const ULONG* words, unsigned samples, int channel1, int channel2, unsigned stride) {
  CCanMessageFinder finder;
  finder.StartSearchBlock(words, samples, channel1, channel2, stride);
  for (unsigned behind = 0; finder.FindNextMessage();) {
    Require(finder.SamplePos() >= behind && IsCanHeader(finder.Message().header),
            "messages follow each other");
    behind = finder.SamplePos() + finder.MessageSamples();
    Require(finder.MessageSamples() > 0 && behind <= samples, "a message lies in the block");
    Decoder().DecodeCanMessage(finder.Message());
  }
  Exact<float> curve(samples);
  finder.GenerateWavEditorCurve(curve.data(), samples, channel1, channel2, stride);
}

void Compress(const float* words, unsigned samples, unsigned stride, float ratio, float phase) {
  const float length = static_cast<float>(samples) / ratio + phase;
  if (!(length < 1e5f)) return;
  const std::size_t room = 18 + (length > 0.0f ? static_cast<std::size_t>(length) : 0);
  Exact<float> out(room);
  CCanMessageCompressor compressor;
  Require(compressor.CanDownsampling(out.data(), 1, words, samples, stride, ratio, phase) + 18 <= room,
          "no more is written than there is room for");
}

}  // namespace

// 4 bytes of settings, ratio and phase, then the stream.
void FuzzOne(Input input) {
  const unsigned stride = 1 + input.Byte() % 9;
  const int channel1 = input.Byte() % static_cast<int>(stride);
  const int channel2 = input.Take<std::int8_t>() % 10;
  Decoder().SetRecordedChannels(1 + input.Byte() % 2u);
  const auto ratio = input.Take<float>(), phase = input.Take<float>();
  // Whole frames.
  const auto samples = static_cast<unsigned>(input.size() / 4 / stride);
  const auto frames = input.Rest().first(std::size_t{samples} * stride * 4);
  const Exact<ULONG> words(frames);
  const Exact<float> floats(frames);
  Search(words.data(), samples, channel1, channel2, stride);
  Compress(floats.data(), samples, stride, ratio, phase);
}

}  // namespace umlauf::fuzz
