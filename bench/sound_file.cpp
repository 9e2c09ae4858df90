// Sound files to samples and to pulses, from the page cache, 24 bits, 30 samples per pulse. Counters:
// vs_bytes, the processor time of reading the file's bytes in blocks of 64 kB over ours; vs_libsndfile, that
// of libsndfile reading the same samples as floats.

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "umlauf/rotation/PulseFinder.h"
#include "umlauf_io/RecordingSource.h"

namespace {

constexpr std::size_t kSamples = 20'000'000, kBlock = 65536;

/// A file that goes at the end.
struct SoundFile {
  std::string path;
  explicit SoundFile(const char* ending, int format)
      : path((std::filesystem::temp_directory_path() / "umlauf-bench-sound").string() + ending) {
    SF_INFO info{};
    info.samplerate = 100'000;
    info.channels = 1;
    info.format = format;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    std::vector<float> samples(kBlock);
    unsigned noise = 1;
    for (std::size_t i = 0; file != nullptr && i < kSamples; i += kBlock) {
      for (std::size_t k = 0; k < kBlock; ++k) {
        noise = noise * 1664525u + 1013904223u;
        samples[k] = 0.9f * static_cast<float>(std::sin(0.2094 * static_cast<double>(i + k))) +
                     1e-5f * static_cast<float>(noise >> 24);
      }
      sf_writef_float(file, samples.data(), static_cast<sf_count_t>(std::min(kBlock, kSamples - i)));
    }
    sf_close(file);
  }
  ~SoundFile() { std::remove(path.c_str()); }
};

template <class Call>
double Seconds(Call call) {
  const std::clock_t start = std::clock();
  call();
  return static_cast<double>(std::max<std::clock_t>(std::clock() - start, 1)) / CLOCKS_PER_SEC;
}

void ReadBytes(const std::string& path) {
  static std::vector<char> block(65536);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  while (std::fread(block.data(), 1, block.size(), file.get()) > 0) benchmark::ClobberMemory();
}

void ReadByLibsndfile(const std::string& path) {
  static std::vector<float> block(kBlock);
  SF_INFO info{};
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
  while (sf_readf_float(file, block.data(), kBlock) > 0) benchmark::ClobberMemory();
  sf_close(file);
}

void Run(benchmark::State& state, const char* ending, int format, bool pulses) {
  const SoundFile file(ending, format);
  double best = std::numeric_limits<double>::infinity(), bytes = best, peer = best;
  for (auto _ : state) {
    std::size_t found = 0;
    const double seconds = Seconds([&] {
      RecordingFailure failure;
      const auto source = OpenRecording(file.path, RecordingFormat(), failure);
      if (!source) return;
      if (pulses) {
        CDzPulsDetektor detector;
        detector.SchrankenSetzen(0.3f, -0.3f);
        CPulseFinder finder(*source, 0, detector, kBlock);
        CPulseTrain train;
        while (finder.Next(train)) found += train.size();
      } else {
        while (const std::size_t n = source->Read(kBlock).count) found += n;
      }
    });
    if (found < kSamples / 31) state.SkipWithError("too little was found");
    state.SetIterationTime(seconds);
    best = std::min(best, seconds);
    bytes = std::min(bytes, Seconds([&] { ReadBytes(file.path); }));
    peer = std::min(peer, Seconds([&] { ReadByLibsndfile(file.path); }));
  }
  state.counters["samples/s"] = static_cast<double>(kSamples) / best;
  state.counters["vs_bytes"] = bytes / best;
  state.counters["vs_libsndfile"] = peer / best;
}

constexpr int kWav = SF_FORMAT_WAV | SF_FORMAT_PCM_24, kFlac = SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
BENCHMARK_CAPTURE(Run, wav_samples, ".wav", kWav, false)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Run, wav_pulses, ".wav", kWav, true)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Run, flac_samples, ".flac", kFlac, false)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Run, flac_pulses, ".flac", kFlac, true)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
