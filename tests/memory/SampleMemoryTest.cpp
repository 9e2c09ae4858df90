#include "FailingAllocation.h"
#include "support/Test.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/umlauf.h"

namespace {

TEST(WithoutMemory, Pulses) {
  EveryAllocationFails([] {
    static const std::vector<float> tacho = [] {
      std::vector<float> samples(3000);
      for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = i % 20 < 10 ? 1.0f : -1.0f;
      return samples;
    }();
    static std::array<ULONG, 600> words;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<ULONG>(i / 7 << 16 | 0x10A0);
    CDzPulsDetektor detector;
    detector.SchrankenSetzen(0.5f, -0.5f);
    const CString settings = detector.SettingsStringBilden();
    detector.SettingsStringLesen(settings);
    detector.SettingsStringLesen(L"[-0.5000000000000000000000|0.5000000000000000000000|1|2|0|0]");
    CDzPulsDetektor same(detector);
    CDzPulsListe list, copy;
    detector.PulseSuchen(tacho.data(), tacho.size(), list, 1);
    list.CalcAverPulsF(48000.0f);
    copy = list;
    CFueGroeHopListe hops;
    list.CopyFueGroeHopList(hops);
    hops += hops;
    CSigCurve curve;
    list.GenerateVisCurve(curve, 100);
    list.DebugOutput(LongText(), 5);
    CDzPulsListArray lists;
    lists.GroesseAendern(3);
    lists.ListeUebernehmen(1, list);
    for (const int mode : {1, 2, 3, 4, 5, 6}) {
      using Mode = CYChannelDescriptionInterface::ETisMode;
      CDzPulsTisDetector encoder(static_cast<Mode>(mode));
      encoder.Restart(48000, 60, true, static_cast<Mode>(mode));
      encoder.PulseSuchen(words.data(), words.size(), 1, list);
      const CDzPulsTisDetector twin(encoder);
    }
    CPositionPulseDetector position;
    Copy(position);
    CQuadratureDecoder decoder;
    decoder.highres(words.data(), words.size(), 1);
    Copy(decoder);
    position.process(words.data(), words.size(), 1, true, hops, 48000, &list, 4.0f, 0.0f);
  });
}

TEST(WithoutMemory, Rates) {
  EveryAllocationFails([] {
    static const std::vector<float> in(6000, 1.0f);
    static std::vector<float> out(7000);
    using Reduction = CDownsamplingStream::Reduction;
    for (const Reduction reduction : {Reduction::Filter, Reduction::Linear, Reduction::Mean, Reduction::Max,
                                      Reduction::MinMax, Reduction::Sum, Reduction::SteepFilter}) {
      CDownsamplingStream stream(5.3, reduction, 2);
      if (!stream.IsValid()) continue;
      EXPECT_LE(stream.Process(out.data(), in.data(), 1000), stream.MaxOutput(1000));
      stream.Flush(out.data());
    }
    CDownsamplingFilter filter;
    float phase = 0.0f;
    // The filters read around the block.
    filter.Downsampling(out.data(), 1, in.data() + 1000, 3000, 2.5f, phase, 1.0f);
    const CDownsamplingFilter copy(filter);
    CMuxDownsamplingFilter mux;
    mux.Downsampling(out.data(), in.data() + 1000, 1000, 4, 2.5f, phase, 1.0f);
    const CMuxDownsamplingFilter muxCopy(mux);
    CResampleTool tool;
    if (tool.Adjust2dPuffer(20, 10)) tool.Interpol2dy(10, 20);
  });
}

TEST(WithoutMemory, Can) {
  EveryAllocationFails([] {
    static const CString text(
        LR"(<NetworkDefinition xmlns="http://kayak.2codeornot2code.org/1.0"><Bus name="Motor"><Message id="0x100" )"
        LR"(name="Engine" length="8"><Signal name="A_rather_long_name_of_the_speed" offset="0" length="16">)"
        LR"(<Value slope="0.25" unit="1/min"/></Signal></Message></Bus></NetworkDefinition>)");
    CCanMessageDecoderXml decoder;
    decoder.AppSignalBekanntmachen(7, L"A_rather_long_name_of_the_speed");
    decoder.SetDecoderXmlText(text);
    decoder.StartDecoderSession();
    CanMessageBlock_s message{};
    decoder.DecodeCanMessage(message);
    for (unsigned i = 0; i < decoder.NumSignals(); ++i) decoder.Signal(i);
    CCanMessageDecoderDemo demo;
    demo.AppSignalBekanntmachen(7, LongText());
    demo.StartDecoderSession();
    const auto made = demo.Create();
  });
}

}  // namespace
