// The float-vector functions beside a plain read and memcpy of the same memory.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>

#include "support/Bandwidth.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/QVL.h"

namespace {

constexpr std::size_t kFloats = 16u << 20;  // 64 MB: far more than the caches hold
constexpr std::size_t kBytes = kFloats * sizeof(float);

float* Block(std::size_t which) {
  static CAlignedMem<float> blocks[3];
  CAlignedMem<float>& block = blocks[which];
  if (block.size() == 0 && block.alloc(kFloats)) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> digits(-1.0f, 1.0f);
    for (std::size_t i = 0; i < kFloats; ++i) block.data()[i] = digits(random);
  }
  return block.data();
}

/// A function that reads 64 MB.
template <class Kernel>
void Reads(const std::string& name, Kernel kernel) {
  benchmark::RegisterBenchmark(("qvl/" + name).c_str(), [kernel](benchmark::State& state) {
    const float* x = Block(0);
    bandwidth::Compare(
        state, kBytes, [&] { kernel(x); }, "vs_read", kBytes,
        [&] { return bandwidth::ReadSeconds(x, kBytes); });
  })->UseManualTime();
}

/// A function that reads and writes; `bytes` counts both.
template <class Kernel>
void Copies(const std::string& name, std::size_t bytes, Kernel kernel) {
  benchmark::RegisterBenchmark(("qvl/" + name).c_str(), [=](benchmark::State& state) {
    float *x = Block(0), *out = Block(1);
    bandwidth::Compare(
        state, bytes, [&] { kernel(out, x); }, "vs_copy", 2 * kBytes,
        [&] { return bandwidth::CopySeconds(Block(2), x, kBytes); });
  })->UseManualTime();
}

/// Short vectors, in the cache: time a call.
template <class Kernel>
void Short(const std::string& name, Kernel kernel) {
  benchmark::RegisterBenchmark(("qvl/short/" + name).c_str(),
                               [kernel](benchmark::State& state) {
                                 const auto n = static_cast<std::size_t>(state.range(0));
                                 float *x = Block(0), *out = Block(1);
                                 for (auto _ : state) {
                                   kernel(out, x, n);
                                   benchmark::ClobberMemory();
                                 }
                                 state.SetItemsProcessed(static_cast<std::int64_t>(n) * state.iterations());
                               })
      ->Arg(5)
      ->Arg(50)
      ->Arg(500)
      ->Arg(5000)
      ->Arg(50000);
}

void RegisterReads() {
  Reads("min_max", [](const float* x) {
    float range[2];
    QVL::VectorMinMax(x, kFloats, 1, range[0], range[1]);
    benchmark::DoNotOptimize(range);
  });
  Reads("min_max_index", [](const float* x) {
    std::size_t places[2];
    QVL::VectorMinMaxIndex(x, kFloats, places[0], places[1]);
    benchmark::DoNotOptimize(places);
  });
  Reads("sum", [](const float* x) { benchmark::DoNotOptimize(QVL::VectorSum(x, kFloats)); });
  Reads("mean", [](const float* x) { benchmark::DoNotOptimize(QVL::VectorMean(x, kFloats)); });
  Reads("sum_stride_2", [](const float* x) { benchmark::DoNotOptimize(QVL::VectorSum(x, kFloats / 2, 2)); });
  Reads("sum_stride_4", [](const float* x) { benchmark::DoNotOptimize(QVL::VectorSum(x, kFloats / 4, 4)); });
  Reads("moments", [](const float* x) { benchmark::DoNotOptimize(QVL::VectorMoments(x, kFloats)); });
  Reads("count_equal", [](const float* x) { benchmark::DoNotOptimize(QVL::CountEqual(x, kFloats, 0.5f)); });
  Reads("threshold_masks", [](const float* x) {
    static std::uint64_t above[64], below[64];
    for (std::size_t i = 0; i < kFloats; i += 4096) {
      QVL::ThresholdMasks(x + i, 4096, 0.9f, -0.9f, above, below);
      benchmark::DoNotOptimize(above);
    }
  });
}

void RegisterCopies() {
  Copies("multiply_in_place", 2 * kBytes,
         [](float* out, float*) { QVL::MulFloat(out, out, kFloats, -1.0f); });
  Copies("add_in_place", 2 * kBytes, [](float* out, float*) { QVL::AddFloat(out, out, kFloats, 0.25f); });
  Copies("multiply", 2 * kBytes, [](float* out, float* x) { QVL::MulFloat(out, x, kFloats, -1.0f); });
  Copies("add_vectors_in_place", 3 * kBytes,
         [](float* out, float* x) { QVL::SubVectors(out, x, out, kFloats); });
  // A strided copy moves whole cache lines, so the memory between the elements counts (once, as memcpy's
  // output does, although lines with gaps are read and written back).
  for (const std::size_t stride : {1u, 2u, 3u, 4u, 8u}) {
    const std::size_t n = kFloats / stride;
    Copies("copy_from_stride_" + std::to_string(stride), kBytes + n * sizeof(float),
           [=](float* out, float* x) { QVL::Interleave(out, 1, x, stride, n); });
    if (stride == 1) continue;
    Copies("copy_to_stride_" + std::to_string(stride), kBytes + n * sizeof(float),
           [=](float* out, float* x) { QVL::Interleave(out, stride, x, 1, n); });
  }
}

void RegisterShort() {
  Short("sum", [](float*, float* x, std::size_t n) { benchmark::DoNotOptimize(QVL::VectorSum(x, n)); });
  Short("moments",
        [](float*, float* x, std::size_t n) { benchmark::DoNotOptimize(QVL::VectorMoments(x, n)); });
  Short("multiply", [](float* out, float* x, std::size_t n) { QVL::MulFloat(out, x, n, 2.0f); });
  for (const std::size_t stride : {2u, 4u, 8u, 32u}) {
    Short("copy_from_stride_" + std::to_string(stride),
          [=](float* out, float* x, std::size_t n) { QVL::Interleave(out, 1, x, stride, n); });
    Short("copy_to_stride_" + std::to_string(stride),
          [=](float* out, float* x, std::size_t n) { QVL::Interleave(out, stride, x, 1, n); });
  }
  Short("threshold_masks", [](float*, float* x, std::size_t n) {
    static std::uint64_t above[1024], below[1024];
    QVL::ThresholdMasks(x, n, 0.9f, -0.9f, above, below);
    benchmark::DoNotOptimize(above);
  });
}

const bool registered = [] {
  RegisterReads();
  RegisterCopies();
  RegisterShort();
  return true;
}();

}  // namespace
