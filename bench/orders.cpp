// Resampling over the angle of a shaft and order maps, beside rota-order where Python has it
// (orders_rota.py). Arguments: seconds at 50 kHz, channels. Counters vs_rota: its processor time over ours,
// above 1 is faster. LongRecording (megabytes) tells the greatest memory of the process, so it comes first.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
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

/// The pulses of 60 teeth of a run-up from 600 to 6000 rpm.
CPulseTrain RunUpPulses(double seconds) {
  CPulseTrain pulses(kRate);
  const double rise = 90 / seconds;
  CPulseTrain::Pulse pulse;
  for (double k = 1; pulse.end < kRate * seconds; ++k) {
    pulse.begin = pulse.end;
    pulse.end = (std::sqrt(100 + 2 * rise * k / 60) - 10) / rise * kRate;
    pulse.revolutionTime = pulse.Length() * 60;
    pulses.Append(pulse);
  }
  return pulses;
}

/// Noise on all channels, and the pulses of a run-up.
struct Recording {
  Recording(double length, unsigned c) : seconds(length), channels(c), pulses(RunUpPulses(length)) {
    std::mt19937 random(1);
    std::normal_distribution<float> noise;
    samples.resize(static_cast<std::size_t>(kRate * seconds) * channels);
    for (float& each : samples) each = noise(random);
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

/// A second of a recording over and over, so that a long one takes no memory.
class Repeated : public CBlockSource {
 public:
  Repeated(const Recording& second, std::uint64_t frames) : second_(second), left_(frames) {}
  double SampleRate() const override { return kRate; }
  unsigned Channels() const override { return second_.channels; }
  SampleBlock Read(std::size_t count) override {
    const std::size_t length = second_.samples.size() / second_.channels, at = at_ % length;
    const std::size_t n =
        static_cast<std::size_t>(std::min<std::uint64_t>(left_, std::min(count, length - at)));
    left_ -= n;
    at_ += n;
    return {second_.samples.data() + at * second_.channels, n, second_.channels};
  }

 private:
  const Recording& second_;
  std::uint64_t left_, at_ = 0;
};

/// So many megabytes of 8 channels: map and three tracks of each, in less than 1 GiB, at the same rate.
void LongRecording(benchmark::State& state) {
  const Recording noise(1, 8);
  const std::uint64_t frames = static_cast<std::uint64_t>(state.range(0)) * 1'000'000 / (8 * sizeof(float));
  const double seconds = static_cast<double>(frames) / kRate;
  COrderAnalysis::Settings settings;
  settings.map = {.maxOrder = 60, .resolution = 0.1};
  settings.tracks.orders = {1, 2, 27.5};
  for (auto _ : state) {
    const CPulseTrain pulses = RunUpPulses(seconds);
    Repeated source(noise, frames);
    COrderAnalysis analysis(settings);
    if (!analysis.Analyse(source, pulses, 60)) state.SkipWithError("no analysis");
    benchmark::DoNotOptimize(analysis.Map()->Rows().size());
  }
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const double most = static_cast<double>(used.ru_maxrss) / 1024;
  state.counters["MiB"] = most;
  state.counters["samples/s"] =
      benchmark::Counter(static_cast<double>(8 * frames * state.iterations()), benchmark::Counter::kIsRate);
  if (most >= 1024) state.SkipWithError("more than 1 GiB");
}

BENCHMARK(LongRecording)->Arg(250)->Arg(1000)->Unit(benchmark::kSecond)->Iterations(1);
BENCHMARK(Resampling)->Args({20, 1})->Args({80, 1})->Args({20, 8})->Unit(benchmark::kMillisecond);
BENCHMARK(OrderMap)->Args({20, 1})->Args({80, 1})->Args({20, 8})->Unit(benchmark::kMillisecond);

}  // namespace
