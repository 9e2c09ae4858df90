#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

/// What the memory of this machine gives to the simplest loops, as the yardstick of kernels that do no more
/// than stream through it.
namespace bandwidth {

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define BANDWIDTH_CLONES \
  __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default"), noinline))
#else
#define BANDWIDTH_CLONES __attribute__((noinline))
#endif

/// Reads a block and does next to nothing with it: a plain loop over words that the compiler vectorises. The
/// two variants differ in the number of words a step.
template <std::size_t kWords>
BANDWIDTH_CLONES inline std::uint64_t ReadBy(const std::uint64_t* words, std::size_t count) {
  std::uint64_t all[kWords] = {};
  for (std::size_t i = 0; i + kWords <= count; i += kWords) {
    for (std::size_t k = 0; k < kWords; ++k) all[k] ^= words[i + k];
  }
  for (std::size_t k = 1; k < kWords; ++k) all[0] ^= all[k];
  return all[0];
}

/// Seconds that a call takes.
template <class Call>
double Seconds(Call call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Seconds that a plain read of a block takes, the faster variant.
inline double ReadSeconds(const void* data, std::size_t bytes) {
  const auto* words = static_cast<const std::uint64_t*>(data);
  const double narrow = Seconds([&] { benchmark::DoNotOptimize(ReadBy<16>(words, bytes / 8)); });
  const double wide = Seconds([&] { benchmark::DoNotOptimize(ReadBy<32>(words, bytes / 8)); });
  return std::min(narrow, wide);
}

/// Seconds that memcpy takes for a block.
inline double CopySeconds(void* out, const void* in, std::size_t bytes) {
  return Seconds([&] {
    std::memcpy(out, in, bytes);
    benchmark::ClobberMemory();
  });
}

/// Runs a kernel and its yardstick by turns, so that both meet the machine in the same mood, and reports the
/// bytes a second of the kernel and, under `counter`, its bandwidth as a share of the yardstick's, each from
/// its best run. The yardstick returns seconds for `yardstickBytes` moved.
template <class Kernel, class Yardstick>
void Compare(benchmark::State& state, std::size_t bytes, Kernel kernel, const char* counter,
             std::size_t yardstickBytes, Yardstick yardstick) {
  double best = std::numeric_limits<double>::infinity(), bestYardstick = best;
  for (auto _ : state) {
    const double seconds = Seconds([&] {
      kernel();
      benchmark::ClobberMemory();
    });
    state.SetIterationTime(seconds);
    best = std::min(best, seconds);
    bestYardstick = std::min(bestYardstick, yardstick());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes * state.iterations()));
  state.counters[counter] =
      (static_cast<double>(bytes) / best) / (static_cast<double>(yardstickBytes) / bestYardstick);
}

}  // namespace bandwidth
