// CAN streams: searching and decoding beside a plain read of the same memory.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/Bandwidth.h"
#include "umlauf/can/CanMessageDecoderXml.h"
#include "umlauf/can/CanMessageFinder.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/QVL.h"

namespace {

constexpr unsigned kWords = 16u << 20;  // 64 MB: far more than the caches hold
constexpr std::size_t kBytes = kWords * sizeof(ULONG);

/// A stream without messages, or with a message of 8 data bytes every `distance` words.
const ULONG* Stream(unsigned distance) {
  static CAlignedMem<ULONG> block;
  static unsigned made = 1;
  if (block.size() == 0 && !block.alloc(kWords)) return nullptr;
  if (made != distance) {
    for (unsigned i = 0; i < kWords; ++i) block.data()[i] = i;
    for (unsigned i = 0; distance > 0 && i + 4 <= kWords; i += distance) {
      block.data()[i] = 0xAA080155;
      block.data()[i + 1] = 0x100;
    }
    made = distance;
  }
  return block.data();
}

void Search(const ULONG* words, int channel1, int channel2, unsigned stride) {
  CCanMessageFinder finder;
  finder.StartSearchBlock(words, kWords / stride, channel1, channel2, stride);
  while (finder.FindNextMessage()) benchmark::DoNotOptimize(finder.Message());
}

/// A function that goes through 64 MB.
template <class Kernel>
void Reads(const std::string& name, unsigned distance, Kernel kernel) {
  benchmark::RegisterBenchmark(("can/" + name).c_str(), [=](benchmark::State& state) {
    const ULONG* words = Stream(distance);
    bandwidth::Compare(
        state, kBytes, [&] { kernel(words); }, "vs_read", kBytes,
        [&] { return bandwidth::ReadSeconds(words, kBytes); });
  })->UseManualTime();
}

void RegisterSearches() {
  for (const unsigned stride : {1u, 2u, 3u, 4u, 8u, 16u}) {
    Reads("find_masked/stride_" + std::to_string(stride), 0, [=](const ULONG* words) {
      benchmark::DoNotOptimize(
          QVL::FindMasked(words, kWords / stride, stride, kCanHeaderMask, kCanHeaderSync));
    });
  }
  for (const unsigned distance : {0u, 100000u, 1000u, 100u, 10u}) {
    const std::string every = distance == 0 ? "no_messages" : "every_" + std::to_string(distance) + "_words";
    Reads("one_channel/" + every, distance, [](const ULONG* words) { Search(words, 0, -1, 1); });
  }
  for (const unsigned stride : {2u, 4u}) {
    Reads("two_channels/no_messages/stride_" + std::to_string(stride), 0,
          [=](const ULONG* words) { Search(words, 0, 1, stride); });
  }
  Reads("two_channels/every_100_words/stride_2", 100, [](const ULONG* words) { Search(words, 0, 1, 2); });
}

/// Messages of eight 8-bit signals, all of them wanted.
void Decode(benchmark::State& state) {
  std::wstring text = L"<NetworkDefinition><Bus><Message name='M' id='0x100'>";
  CCanMessageDecoderXml decoder;
  for (int i = 0; i < 8; ++i) {
    const std::wstring name = L"S" + std::to_wstring(i);
    text += L"<Signal name='" + name + L"' offset='" + std::to_wstring(8 * i) +
            L"' length='8'><Value slope='0.5' intercept='-40'/></Signal>";
    decoder.AppSignalBekanntmachen(i, name);
  }
  decoder.SetDecoderXmlText((text + L"</Message></Bus></NetworkDefinition>").c_str());
  decoder.StartDecoderSession();
  CanMessageBlock_s message{0xAA080155, 0x100, {1, 2, 3, 4, 5, 6, 7, 8}};
  for (auto _ : state) {
    benchmark::DoNotOptimize(message);
    benchmark::DoNotOptimize(decoder.DecodeCanMessage(message));
  }
  state.counters["values"] =
      benchmark::Counter(8.0 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(Decode)->Name("can/decode_8_signals");

const bool registered = [] {
  RegisterSearches();
  return true;
}();

}  // namespace
