#pragma once

#include <benchmark/benchmark.h>
#include <time.h>

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

/// Reads a block and does next to nothing with it: a plain loop over words, kWords a step, which the compiler
/// vectorises.
template <std::size_t kWords>
BANDWIDTH_CLONES inline std::uint64_t ReadBy(const std::uint64_t* words, std::size_t count) {
  std::uint64_t all[kWords] = {};
  for (std::size_t i = 0; i + kWords <= count; i += kWords) {
    for (std::size_t k = 0; k < kWords; ++k) all[k] ^= words[i + k];
  }
  for (std::size_t k = 1; k < kWords; ++k) all[0] ^= all[k];
  return all[0];
}

/// The same at four places at once, which suits some memories better.
BANDWIDTH_CLONES inline std::uint64_t ReadAtFourPlaces(const std::uint64_t* words, std::size_t count) {
  constexpr std::size_t gap = 8192;
  std::uint64_t a[8] = {}, b[8] = {}, c[8] = {}, d[8] = {};
  for (std::size_t i = 0; i + 4 * gap <= count; i += 4 * gap) {
    for (std::size_t j = i; j < i + gap; j += 8) {
      for (std::size_t k = 0; k < 8; ++k) a[k] ^= words[j + k];
      for (std::size_t k = 0; k < 8; ++k) b[k] ^= words[j + gap + k];
      for (std::size_t k = 0; k < 8; ++k) c[k] ^= words[j + 2 * gap + k];
      for (std::size_t k = 0; k < 8; ++k) d[k] ^= words[j + 3 * gap + k];
    }
  }
  for (std::size_t k = 0; k < 8; ++k) a[0] ^= a[k] ^ b[k] ^ c[k] ^ d[k];
  return a[0];
}

/// Processor seconds of this thread so far, as far as the system can tell.
inline double ThreadSeconds() {
#ifdef CLOCK_THREAD_CPUTIME_ID
  timespec now{};
  if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) == 0)
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
#endif
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Processor seconds that a call takes: other programs that the processor turns to meanwhile do not count.
template <class Call>
double Seconds(Call call) {
  const double start = ThreadSeconds();
  call();
  return ThreadSeconds() - start;
}

/// Seconds that a plain read of a block takes: the fastest variant.
inline double ReadSeconds(const void* data, std::size_t bytes) {
  const auto* words = static_cast<const std::uint64_t*>(data);
  return std::min({Seconds([&] { benchmark::DoNotOptimize(ReadBy<8>(words, bytes / 8)); }),
                   Seconds([&] { benchmark::DoNotOptimize(ReadBy<16>(words, bytes / 8)); }),
                   Seconds([&] { benchmark::DoNotOptimize(ReadAtFourPlaces(words, bytes / 8)); })});
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
