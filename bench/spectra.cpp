// Spectra, spectrograms and filters beside SciPy (spectra_scipy.py, where it is installed): the same samples,
// by turns in the same run, by processor time. Argument: samples. Counters vs_scipy: our speed as a share of
// SciPy's, each from its best run; above 1 is faster.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "support/Peer.h"
#include "umlauf/algorithms/CurveFeatures.h"
#include "umlauf/filters/Butterworth.h"
#include "umlauf/filters/SosFilter.h"
#include "umlauf/filters/ZeroPhase.h"
#include "umlauf/filters/ZeroPhaseStream.h"
#include "umlauf/spectrum/CrossSpectrumAverage.h"
#include "umlauf/spectrum/RealTransform.h"
#include "umlauf/spectrum/SpectrogramBuilder.h"
#include "umlauf/spectrum/SpectrogramStream.h"
#include "umlauf/spectrum/SpectrumAverage.h"

namespace {

constexpr double kRate = 48000;
const SpectrumSettings kHalf{.length = 4096, .step = 2048};
const SpectrumSettings kThreeQuarters{.length = 4096, .step = 1024};

Peer& SciPy() {
  std::signal(SIGPIPE, SIG_IGN);
  static Peer peer(UMLAUF_BENCH_DIR "/spectra_scipy.py");
  return peer;
}

std::vector<float> Noise(std::size_t n) {
  std::vector<float> x(n);
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint64_t k = i;
    x[i] = static_cast<float>(static_cast<double>((k * k * 7 + k * 131) % 1009) / 1009 - 0.5);
  }
  return x;
}

double Now() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Ours and SciPy's by turns.
template <class Call>
void Compare(benchmark::State& state, const std::string& task, Call call) {
  const auto n = static_cast<std::size_t>(state.range(0));
  const std::string line = task + " " + std::to_string(n);
  SciPy().Ask(line);
  double best = std::numeric_limits<double>::infinity(), theirs = best;
  for (auto _ : state) {
    const double start = Now();
    call();
    benchmark::ClobberMemory();
    const double seconds = Now() - start;
    state.SetIterationTime(seconds);
    best = std::min(best, seconds);
    if (const double answer = SciPy().Ask(line); answer > 0) theirs = std::min(theirs, answer);
  }
  state.counters["M/s"] = static_cast<double>(n) / best / 1e6;
  if (theirs < std::numeric_limits<double>::infinity()) {
    state.counters["scipy_M/s"] = static_cast<double>(n) / theirs / 1e6;
    state.counters["vs_scipy"] = theirs / best;
  }
}

void Welch(benchmark::State& state) {
  const std::vector<float> x = Noise(static_cast<std::size_t>(state.range(0)));
  CSpectrumAverage average(kHalf, kRate);
  CSigCurve out;
  Compare(state, "welch", [&] {
    average.Restart();
    average.Process(x.data(), x.size());
    average.Spectrum(SpectrumScaling::Density, out);
  });
}

void Cross(benchmark::State& state) {
  const std::vector<float> x = Noise(static_cast<std::size_t>(state.range(0)));
  CCrossSpectrumAverage average(kHalf, kRate);
  CSigCurve real, imaginary;
  Compare(state, "cross", [&] {
    average.Restart();
    average.Process(x.data(), x.data() + 3, x.size() - 3);
    average.CrossDensity(real, imaginary);
  });
}

void Spectrogram(benchmark::State& state) {
  const std::vector<float> x = Noise(static_cast<std::size_t>(state.range(0)));
  CSpectrogramStream stream(kThreeQuarters, kRate, SpectrumScaling::Density);
  std::vector<float> rows(stream.Rows(x.size()) * stream.Bins());
  Compare(state, "spectrogram", [&] {
    stream.Restart();
    stream.Process(rows.data(), x.data(), x.size());
  });
}

void SpectrogramAsArray(benchmark::State& state) {
  const std::vector<float> x = Noise(static_cast<std::size_t>(state.range(0)));
  CSpectrogramBuilder builder(kThreeQuarters, kRate, SpectrumScaling::Density);
  CSigCurveArray array;
  Compare(state, "spectrogram", [&] {
    builder.Process(x.data(), x.size());
    builder.Finish(array);
  });
}

void SosFilter(benchmark::State& state) {
  const std::vector<float> x = Noise(static_cast<std::size_t>(state.range(0)));
  std::vector<float> y(x.size());
  CSosFilter filter(Butterworth::LowPass(4, 1000, kRate));
  Compare(state, "sosfilt", [&] { filter.Process(y.data(), x.data(), x.size()); });
}

void WithoutPhase(benchmark::State& state) {
  const std::vector<float> x = Noise(static_cast<std::size_t>(state.range(0)));
  std::vector<float> y(x);
  const SosSections sections = Butterworth::LowPass(4, 1000, kRate);
  Compare(state, "sosfiltfilt", [&] { ZeroPhase::Filter(sections, y.data(), y.size()); });
}

void StreamWithoutPhase(benchmark::State& state) {
  const std::vector<float> x = Noise(static_cast<std::size_t>(state.range(0)));
  CZeroPhaseStream stream(Butterworth::LowPass(4, 1000, kRate));
  std::vector<float> y(stream.MaxOutput(x.size()));
  Compare(state, "sosfiltfilt", [&] {
    const std::uint64_t n = stream.Process(y.data(), x.data(), x.size());
    stream.Flush(y.data() + n);
  });
}

void Peaks(benchmark::State& state) {
  const std::vector<float> x = Noise(static_cast<std::size_t>(state.range(0)));
  CSigCurve curve(x.size());
  std::copy(x.begin(), x.end(), curve.FData());
  curve.SetXMinMax(0, static_cast<float>(x.size()));
  CAlignedMem<CurvePeak> peaks;
  Compare(state, "peaks", [&] { CurveFeatures::Peaks(curve, {0.3f, 5.0, 0.2f}, peaks); });
}

/// One transform of real samples; items are transforms.
void Transform(benchmark::State& state) {
  CRealTransform transform(static_cast<std::size_t>(state.range(0)));
  const std::vector<float> x = Noise(transform.Size());
  std::copy(x.begin(), x.end(), transform.Samples());
  for (auto _ : state) {
    transform.Forward();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}

long PeakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

/// A long signal through all streams, block by block: their speed together, and by how much the greatest
/// memory of the program [KB] grows behind the first hundredth.
void LongStream(benchmark::State& state) {
  const std::vector<float> block = Noise(1 << 16);
  const auto blocks = static_cast<std::uint64_t>(state.range(0)) / block.size();
  const SosSections sections = Butterworth::LowPass(4, 1000, kRate);
  for (auto _ : state) {
    CSpectrumAverage average(kHalf, kRate);
    CSpectrogramBuilder builder(kThreeQuarters, kRate, SpectrumScaling::Density, 200);
    CSosFilter filter(sections);
    CZeroPhaseStream stream(sections);
    std::vector<float> out(stream.MaxOutput(block.size()));
    long before = 0;
    for (std::uint64_t i = 0; i < blocks; ++i) {
      average.Process(block.data(), block.size());
      builder.Process(block.data(), block.size());
      filter.Process(out.data(), block.data(), block.size());
      stream.Process(out.data(), block.data(), block.size());
      if (i == blocks / 100) before = PeakMemory();
    }
    benchmark::DoNotOptimize(out.data());
    state.counters["grown_KB"] = static_cast<double>(PeakMemory() - before);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(blocks * block.size()) * state.iterations());
}

constexpr std::int64_t kSamples = 1 << 20;

BENCHMARK(Welch)->Arg(kSamples)->UseManualTime()->Iterations(25);
BENCHMARK(Cross)->Arg(kSamples)->UseManualTime()->Iterations(25);
BENCHMARK(Spectrogram)->Arg(kSamples)->UseManualTime()->Iterations(25);
BENCHMARK(SpectrogramAsArray)->Arg(kSamples)->UseManualTime()->Iterations(25);
BENCHMARK(SosFilter)->Arg(kSamples)->UseManualTime()->Iterations(25);
BENCHMARK(WithoutPhase)->Arg(kSamples)->UseManualTime()->Iterations(25);
BENCHMARK(StreamWithoutPhase)->Arg(kSamples)->UseManualTime()->Iterations(25);
BENCHMARK(Peaks)->Arg(kSamples)->UseManualTime()->Iterations(15);
BENCHMARK(LongStream)->Arg(100'000'000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(Transform)->Arg(1024)->Arg(4096)->Arg(5000)->Arg(65536);

}  // namespace
