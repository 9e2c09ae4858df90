// Interleaving and de-interleaving of typed signals beside memcpy of the same memory.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/Bandwidth.h"
#include "umlauf/typed/Signalieee32.h"

namespace {

constexpr std::uint32_t kFloats = 16u << 20;  // 64 MB: far more than the caches hold
constexpr std::size_t kBytes = kFloats * sizeof(float);

CDescription Described(unsigned channels) {
  CDescription description;
  description.XInsert(0, 1);
  description.X(0).Len(kFloats / channels);
  description.YInsert(0, channels);
  return description;
}

/// An interleaved signal, one of the same size, and the channels one by one; all memory has been touched.
struct Signals {
  explicit Signals(unsigned channels)
      : interleaved(Described(channels)), other(interleaved), parts(channels) {
    for (auto& part : parts) part.reshape(interleaved, 1);
    interleaved.demux(parts.data(), false);
  }
  CSignalieee32 interleaved, other;
  std::vector<CTypedSignal<float>> parts;
};

/// An operation that moves `bytes` in all; `yardstick` bytes of memcpy are counted twice, as they are read
/// and written.
template <class Operation>
void Register(const std::string& name, unsigned channels, std::size_t bytes, Operation operation) {
  const auto run = [=](benchmark::State& state) {
    Signals signals(channels);
    CSignalieee32 target(signals.interleaved);
    bandwidth::Compare(
        state, bytes, [&] { operation(signals); }, "vs_copy", 2 * kBytes,
        [&] { return bandwidth::CopySeconds(target.data(), signals.interleaved.data(), kBytes); });
  };
  benchmark::RegisterBenchmark(("typed_signal/" + name + "/" + std::to_string(channels)).c_str(), run)
      ->UseManualTime();
}

const bool registered = [] {
  for (const unsigned channels : {2u, 4u, 8u, 32u}) {
    Register("demux_all", channels, 2 * kBytes,
             [](Signals& s) { s.interleaved.demux(s.parts.data(), false); });
    Register("mux", channels, 2 * kBytes, [](Signals& s) { s.interleaved.mux(s.parts.data()); });
    // Whole cache lines are read, whatever of them is wanted.
    Register("demux_one", channels, kBytes + kBytes / channels,
             [](Signals& s) { s.interleaved.demux(0, s.parts[0], false); });
    Register("transmux_all_but_one", channels, 2 * kBytes,
             [](Signals& s) { s.interleaved.transmux(~2u, s.other, 0, false); });
  }
  return true;
}();

}  // namespace
