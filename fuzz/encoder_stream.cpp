// Words of an encoder stream through the pulse decoder, the position pulses and the reduction for display,
// cut into two blocks.

#include <algorithm>

#include "fuzz/support/Fuzz.h"
#include "umlauf/encoder/DzPulsTisDetector.h"
#include "umlauf/encoder/PositionPulseDetector.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/pulses/FueGroeHopListe.h"

namespace umlauf::fuzz {
namespace {

using ETisMode = CYChannelDescriptionInterface::ETisMode;

struct Settings {
  std::uint8_t mode, stride, rate, flags, divider, pulses;
  std::uint16_t minimum, cut, samplesPerOutput;
};

void Decode(const Settings& settings, const ULONG* words, std::uint64_t count, unsigned stride) {
  constexpr unsigned rates[] = {50000, 100000, 200000, 48000, 12500, 44100};
  const unsigned rate = rates[settings.rate % std::size(rates)];
  CDzPulsTisDetector detector(ETisMode::tisNone);
  detector.Restart(rate, settings.pulses, (settings.flags & 1) != 0,
                   static_cast<ETisMode>(settings.mode % 8));
  detector.SetMinPulsSamples(settings.minimum % 100);
  detector.SetPulsteiler(settings.divider);
  detector.SetAllowZeroLenPulses((settings.flags & 2) != 0);
  CPositionPulseDetector positions;
  CDzPulsListe pulses;
  CFueGroeHopListe hops;
  const std::uint64_t first = std::min<std::uint64_t>(settings.cut, count);
  for (const auto& [begin, n] : {std::pair(std::uint64_t{0}, first), std::pair(first, count - first)}) {
    const ULONG* block = words + begin * stride;
    detector.PulseSuchen(block, n, stride, pulses);
    Require(pulses.size() <= 2 * n + 1, "a sample has at most two pulses");
    std::uint64_t samples = 0;
    for (const PulsEntry& pulse : pulses) samples += pulse.NrSamples();
    // A time field may point up to four samples behind its sample.
    Require(pulses.empty() || (samples >= n && samples <= n + 4), "the pulses of a block cover it");
    positions.process(block, n, stride, (settings.flags & 4) != 0, hops, rate,
                      (settings.flags & 8) != 0 ? &pulses : nullptr, 4.0f, 0.0f);
  }
}

void Reduce(const Settings& settings, const ULONG* words, unsigned n) {
  CDzPulsTisDetector detector(static_cast<ETisMode>(settings.mode % 8));
  const float ratio = static_cast<float>(settings.samplesPerOutput) / 256.0f;
  float phase = 0.5f;
  Exact<ULONG> out(n + std::size_t{1});
  Require(detector.Downsampling(words, n, out.data(), n + 1, ratio, phase) <= n + 1,
          "no more is written than there is room for");
}

}  // namespace

// The settings, then the stream.
void FuzzOne(Input input) {
  const auto settings = input.Take<Settings>();
  const unsigned stride = 1 + settings.stride % 5u;
  const std::size_t count = input.size() / sizeof(ULONG) / stride;
  const Exact<ULONG> words(input.Rest().first(count * stride * sizeof(ULONG)));  // whole frames
  Decode(settings, words.data(), count, stride);
  Reduce(settings, words.data(), static_cast<unsigned>(count));
}

}  // namespace umlauf::fuzz
