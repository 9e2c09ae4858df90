// The whole job of a recording, 60-2 teeth of 33 samples on average: pulses and speeds with levels given, as
// NumPy does it, and with levels and gaps found; in memory and from a raw file in the page cache. Counters:
// samples/s, and vs_numpy and vs_fastest_numpy, the processor times of two NumPy forms (speed_job_numpy.py)
// over ours; they are left out where there is no Python with NumPy (PYTHON chooses one).

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "umlauf/recording/MemorySource.h"
#include "umlauf/rotation/Rotation.h"
#include "umlauf_io/RecordingSource.h"

namespace {

constexpr std::size_t kSamples = 30'000'000;
constexpr double kRate = 100'000;
constexpr float kUpper = 0.3f, kLower = -0.3f;

const std::vector<float>& Samples() {
  static const std::vector<float> samples = [] {
    std::vector<float> x(kSamples);
    std::mt19937 random(1);
    std::normal_distribution<float> noise(0.0f, 0.005f);
    double pitches = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
      pitches += 1 / (33 + 10 * std::sin(1e-6 * static_cast<double>(i)));
      const bool gap = std::fmod(pitches, 60) >= 58;
      x[i] = noise(random) + (gap ? 0.0f : static_cast<float>(std::sin(2 * std::numbers::pi * pitches)));
    }
    return x;
  }();
  return samples;
}

/// The same in a file, which goes at the end.
const std::string& File() {
  struct Temporary {
    std::string path = (std::filesystem::temp_directory_path() / "umlauf-bench-speed.f32").string();
    Temporary() {
      std::FILE* file = std::fopen(path.c_str(), "wb");
      if (file == nullptr) return;
      std::fwrite(Samples().data(), sizeof(float), kSamples, file);
      std::fclose(file);
    }
    ~Temporary() { std::remove(path.c_str()); }
  };
  static const Temporary file;
  return file.path;
}

struct NumPy {
  struct Form {
    double inMemory = 0, fromFile = 0, pulses = 0;
    bool Read(FILE* from) { return std::fscanf(from, "%lf %lf %lf", &inMemory, &fromFile, &pulses) == 3; }
  };
  Form usual, fastest;
};

const NumPy& Peer() {
  static const NumPy seconds = [] {
    NumPy found;
    const char* chosen = std::getenv("PYTHON");
    for (const char* python : {chosen != nullptr ? chosen : "python3", "/usr/bin/python3"}) {
      const std::string command = std::string(python) + " " UMLAUF_BENCH_DIR "/speed_job_numpy.py " + File() +
                                  " 100000 60 0.3 -0.3 5 2>/dev/null";
      const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
      if (pipe && found.usual.Read(pipe.get()) && found.fastest.Read(pipe.get())) return found;
    }
    return NumPy();
  }();
  return seconds;
}

double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void Job(benchmark::State& state, bool fromFile, bool given) {
  CMemorySource memory(Samples(), kRate);
  RecordingFormat format;
  format.raw = RawSamples::f32;
  format.rate = kRate;
  RecordingFailure failure;
  const std::unique_ptr<CRecordingSource> file = OpenRecording(File(), format, failure);
  if (!file) return state.SkipWithError("the file cannot be read");
  CRotation rotation;
  if (given) {
    rotation.Wheel(60);
    rotation.GivenLevels(kUpper, kLower);
  } else {
    rotation.Wheel(60, CRotation::Gap::automatic);
  }
  const auto peer = [&](const NumPy::Form& form) { return fromFile ? form.fromFile : form.inMemory; };
  double best = std::numeric_limits<double>::infinity();
  for (auto _ : state) {
    const double begin = ProcessorSeconds();
    const bool found = fromFile ? rotation.Analyse(*file) : rotation.Analyse(memory);
    const double seconds = ProcessorSeconds() - begin;
    if (!found) state.SkipWithError("no speed was found");
    best = std::min(best, seconds);
    state.SetIterationTime(seconds);
  }
  const auto pulses = static_cast<double>(rotation.Pulses().size());
  if (given && Peer().usual.pulses > 0) {
    if (std::abs(Peer().usual.pulses - pulses) > 2 || std::abs(Peer().fastest.pulses - pulses) > 2)
      state.SkipWithError("NumPy finds other pulses");
    state.counters["vs_numpy"] = peer(Peer().usual) / best;
    state.counters["vs_fastest_numpy"] = peer(Peer().fastest) / best;
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kSamples));
  state.counters["best_samples/s"] = static_cast<double>(kSamples) / best;
}

}  // namespace

BENCHMARK_CAPTURE(Job, memory_levels_given, false, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Job, memory_all_found, false, false)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Job, file_levels_given, true, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Job, file_all_found, true, false)->UseManualTime()->Unit(benchmark::kMillisecond);
