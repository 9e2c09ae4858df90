// Resampling over the angle of a shaft and order maps, beside rota-order where Python has it
// (orders_rota.py). Arguments: seconds at 50 kHz, channels. Counters vs_rota: its processor time over ours,
// above 1 is faster.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "umlauf/orders/OrderAnalysis.h"
#include "umlauf/recording/MemorySource.h"

namespace {

constexpr double kRate = 50000;

/// Noise on all channels, and the pulses of 60 teeth of a run-up from 600 to 6000 rpm.
struct Recording {
  Recording(double length, unsigned c) : seconds(length), channels(c), pulses(kRate) {
    std::mt19937 random(1);
    std::normal_distribution<float> noise;
    samples.resize(static_cast<std::size_t>(kRate * seconds) * channels);
    for (float& each : samples) each = noise(random);
    const double rise = 90 / seconds;
    CPulseTrain::Pulse pulse;
    for (double k = 1; pulse.end < kRate * seconds; ++k) {
      pulse.begin = pulse.end;
      pulse.end = (std::sqrt(100 + 2 * rise * k / 60) - 10) / rise * kRate;
      pulse.revolutionTime = pulse.Length() * 60;
      pulses.Append(pulse);
    }
  }
  CMemorySource Source() const {
    return {samples.data(), samples.size() / channels, channels, channels, kRate};
  }

  double seconds;
  unsigned channels;
  std::vector<float> samples;
  CPulseTrain pulses;
};

struct Seconds {
  double resampling = 0, map = 0;
};

/// Of the peer, measured once for each pair of arguments; 0 when it is not installed.
Seconds Peer(std::int64_t seconds, std::int64_t channels) {
  static std::map<std::pair<std::int64_t, std::int64_t>, Seconds> known;
  const auto [place, isNew] = known.try_emplace({seconds, channels});
  if (!isNew) return place->second;
  const char* const chosen = std::getenv("PYTHON");
  const std::string command = std::string(chosen != nullptr ? chosen : "python3") +
                              " " UMLAUF_BENCH_DIR "/orders_rota.py " + std::to_string(seconds) + " " +
                              std::to_string(channels) + " 2>/dev/null";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  Seconds& peer = place->second;
  if (pipe == nullptr || std::fscanf(pipe.get(), "%lf %lf", &peer.resampling, &peer.map) != 2) peer = {};
  return peer;
}

void Report(benchmark::State& state, const Recording& recording, double peer, double own) {
  const double frames = kRate * recording.seconds * static_cast<double>(state.iterations());
  state.counters["samples/s"] = benchmark::Counter(frames * recording.channels, benchmark::Counter::kIsRate);
  if (peer > 0) state.counters["vs_rota"] = peer / (own / static_cast<double>(state.iterations()));
}

double ProcessorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

void Resampling(benchmark::State& state) {
  const Recording recording(static_cast<double>(state.range(0)), static_cast<unsigned>(state.range(1)));
  const double peer = Peer(state.range(0), state.range(1)).resampling, start = ProcessorSeconds();
  std::vector<float> frames(4096 * recording.channels);
  for (auto _ : state) {
    const CShaftAngle angle(recording.pulses, 60);
    CAngleResampler resampler(AngleGrid::ForSpectra(60, 0.1), recording.channels, kRate);
    CMemorySource source = recording.Source();
    std::size_t n = 0;
    const auto take = [&] {
      while ((n = resampler.Get(angle, frames.data(), 4096)) > 0) benchmark::DoNotOptimize(frames.data());
    };
    for (SampleBlock block = source.Read(16384); block.count > 0; block = source.Read(16384)) {
      for (std::size_t at = 0; at < block.count;) {
        at += resampler.Put(block.samples + at * block.stride, block.count - at, block.stride);
        take();
      }
    }
    resampler.Finish();
    take();
  }
  Report(state, recording, peer, ProcessorSeconds() - start);
}

void OrderMap(benchmark::State& state) {
  const Recording recording(static_cast<double>(state.range(0)), static_cast<unsigned>(state.range(1)));
  const double peer = Peer(state.range(0), state.range(1)).map, start = ProcessorSeconds();
  COrderAnalysis::Settings settings;
  settings.map = {.maxOrder = 60, .resolution = 0.1, .overlap = 0.75};
  for (auto _ : state) {
    COrderAnalysis analysis(settings);
    CMemorySource source = recording.Source();
    if (!analysis.Analyse(source, recording.pulses, 60)) state.SkipWithError("no analysis");
    for (unsigned c = 0; c < recording.channels; ++c) {
      CSigCurveArray map;
      analysis.Map()->Map(c, {}, map);
      benchmark::DoNotOptimize(map.Count());
    }
  }
  Report(state, recording, peer, ProcessorSeconds() - start);
}

BENCHMARK(Resampling)->Args({20, 1})->Args({80, 1})->Args({20, 8})->Unit(benchmark::kMillisecond);
BENCHMARK(OrderMap)->Args({20, 1})->Args({80, 1})->Args({20, 8})->Unit(benchmark::kMillisecond);

}  // namespace
