// Writing and reading the curve section of the signal record, quantised and raw, in memory, beside memcpy of
// the samples.

#include <benchmark/benchmark.h>

#include <random>

#include "support/Bandwidth.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/signal/SigCurve.h"

namespace {

constexpr std::size_t kSamples = 4u << 20;
constexpr std::size_t kBytes = kSamples * sizeof(float);

CSigCurve Noise() {
  CSigCurve curve(kSamples);
  std::mt19937 random(3);
  std::normal_distribution<float> noise(0.0f, 1.0f);
  for (std::size_t i = 0; i < kSamples; ++i) curve.SetAt(i, noise(random));
  return curve;
}

/// Sample bytes per second; `vs_copy` is the share of memcpy's rate over the same samples.
template <class Kernel>
void Measure(benchmark::State& state, const CSigCurve& curve, Kernel kernel) {
  CSigCurve copy(kSamples);
  bandwidth::Compare(state, kBytes, kernel, "vs_copy", kBytes,
                     [&] { return bandwidth::CopySeconds(copy.FData(), curve.FData(), kBytes); });
}

void Write(benchmark::State& state, bool compressed) {
  CSigCurve curve = Noise();
  curve.SetFileCompression(compressed);
  CMemFile file;
  Measure(state, curve, [&] {
    file.Seek(0, CFile::begin);
    curve.WriteToFile(file, CSignal::CurrentFileVersion());
  });
}

void Read(benchmark::State& state, bool compressed) {
  CSigCurve curve = Noise();
  curve.SetFileCompression(compressed);
  CMemFile file;
  curve.WriteToFile(file, CSignal::CurrentFileVersion());
  CSigCurve back;
  Measure(state, curve, [&] {
    file.Seek(0, CFile::begin);
    back.ReadFromFile(file, CSignal::CurrentFileVersion());
  });
}

BENCHMARK_CAPTURE(Write, quantised, true)->UseManualTime();
BENCHMARK_CAPTURE(Write, raw, false)->UseManualTime();
BENCHMARK_CAPTURE(Read, quantised, true)->UseManualTime();
BENCHMARK_CAPTURE(Read, raw, false)->UseManualTime();

}  // namespace
