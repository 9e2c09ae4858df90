// Decoding of encoder words into pulses, block by block, beside a plain read of the same words. Counters:
// words/s of the detector, and vs_read, its speed relative to the read in the same run.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/Bandwidth.h"
#include "umlauf/encoder/DzPulsTisDetector.h"
#include "umlauf/pulses/DzPulsListe.h"

namespace {

using ETisMode = CYChannelDescriptionInterface::ETisMode;

constexpr std::size_t kBlock = 65536;
constexpr std::size_t kWords = 256 * kBlock;  // more than the caches hold

/// Edges a given number of samples apart, give or take a tenth, at changing times within the sample.
std::vector<ULONG> Stream(ETisMode mode, std::size_t samplesPerEdge) {
  std::vector<ULONG> words(kWords);
  std::uint32_t random = 1;
  ULONG counter = 0, time = 0;
  std::size_t nextEdge = samplesPerEdge;
  for (std::size_t i = 0; i < kWords; ++i) {
    const bool edge = i == nextEdge;
    if (edge) {
      random = random * 1664525u + 1013904223u;
      const std::size_t spread = samplesPerEdge / 5 + 1;
      nextEdge += samplesPerEdge - spread / 2 + (random >> 16) % spread;
      time = (random >> 8) & 0x7FF;
      ++counter;
    }
    if (mode == ETisMode::tisStandard) {
      if (edge) words[i] = (0xA0u | (time >> 3) << 8) << 16;
    } else if (mode == ETisMode::tisHighRes) {
      if (edge) words[i] = (0x1000u | time << 1) << 16;
    } else {
      words[i] = counter << 16 | time << 1;
    }
  }
  return words;
}

void Decode(benchmark::State& state) {
  const auto mode = static_cast<ETisMode>(state.range(0));
  const auto samplesPerEdge = static_cast<std::size_t>(state.range(1));
  const std::vector<ULONG> words = Stream(mode, samplesPerEdge);
  const std::size_t bytes = words.size() * sizeof(ULONG);

  CDzPulsTisDetector detector(mode);
  detector.SetMinPulsSamples(0);
  CDzPulsListe list;
  const auto decode = [&] {
    std::uint64_t pulses = 0;
    for (std::size_t done = 0; done < kWords; done += kBlock) {
      detector.PulseSuchen(words.data() + done, kBlock, 1, list);
      pulses += list.NrRealPulses();
    }
    return pulses;
  };
  if (decode() < kWords / samplesPerEdge * 9 / 10) state.SkipWithError("pulses are missing");

  bandwidth::Compare(
      state, bytes, [&] { benchmark::DoNotOptimize(decode()); }, "vs_read", bytes,
      [&] { return bandwidth::ReadSeconds(words.data(), bytes); });
  state.SetItemsProcessed(static_cast<std::int64_t>(words.size()) * state.iterations());
}

}  // namespace

BENCHMARK(Decode)
    ->ArgNames({"mode", "samples_per_edge"})
    ->ArgsProduct({{1, 2, 4, 5}, {10, 1000}})
    ->UseManualTime()
    ->MinTime(0.2);
