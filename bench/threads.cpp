// What two threads cost each other, each with objects of its own. Counters, from the best of all turns:
// speedup, twice the processor time of a thread that works alone over that of one beside another thread;
// vs_processes, the same beside two processes over two threads (what these share beyond memory would show:
// locks, cache lines); waits, how often a thread gave its processor away in a round, which locks make it do.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <functional>
#include <latch>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/rate/DownsamplingStream.h"
#include "umlauf/tacho/DzPulsDetektor.h"
#include "umlauf/units/MeasuringUnit.h"

namespace {

constexpr std::size_t kBlock = 65536;

std::vector<float> Tacho() {
  std::vector<float> samples(kBlock);
  for (std::size_t i = 0; i < kBlock; ++i)
    samples[i] = static_cast<float>(std::sin(0.2 * static_cast<double>(i)));
  return samples;
}

// Each makes its objects and returns the work of a round.
using Work = std::function<void()>;

Work Pulses() {
  struct State {
    std::vector<float> samples = Tacho();
    CDzPulsDetektor detector;
    CDzPulsListe list;
  };
  auto state = std::make_shared<State>();
  state->detector.SchrankenSetzen(0.3f, -0.3f);
  return [state] { state->detector.PulseSuchen(state->samples.data(), kBlock, state->list, 1); };
}

Work Downsampling() {
  auto stream = std::make_shared<CDownsamplingStream>(10.0, CDownsamplingStream::Reduction::Filter);
  auto samples = std::make_shared<std::vector<float>>(Tacho());
  auto out = std::make_shared<std::vector<float>>(stream->MaxOutput(kBlock));
  return [=] { stream->Process(out->data(), samples->data(), kBlock); };
}

Work Pairs() {
  auto first = std::make_shared<CSigPairs>(), second = std::make_shared<CSigPairs>();
  for (int i = 0; i < 2000; ++i) {
    first->NeuesPaar(static_cast<float>(i), 1);
    second->NeuesPaar(static_cast<float>(i) + 0.4f, 2);
  }
  return [=] { benchmark::DoNotOptimize((*first + *second).NPaare()); };
}

Work Units() {
  return [] {
    for (int i = 0; i < 100; ++i) {
      for (const wchar_t* text : {L"m/s²", L"kHz", L"(m/s)^2", L"rpm"}) {
        CMeasuringUnit unit;
        unit.set(text);
        benchmark::DoNotOptimize(unit.pod());
      }
    }
  };
}

double ThreadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

struct Cost {
  double seconds = 0, waits = 0;
};

/// Of one thread, for a number of rounds.
Cost Rounds(const Work& work, int rounds) {
  rusage before{}, after{};
  getrusage(RUSAGE_THREAD, &before);
  const double start = ThreadSeconds();
  for (int i = 0; i < rounds; ++i) work();
  const double seconds = ThreadSeconds() - start;
  getrusage(RUSAGE_THREAD, &after);
  return {seconds, static_cast<double>(after.ru_nvcsw - before.ru_nvcsw) / rounds};
}

Cost InTwoThreads(const std::array<Work, 2>& work, int rounds) {
  std::array<Cost, 2> costs;
  std::latch begin(2);
  const auto run = [&](std::size_t i) {
    begin.arrive_and_wait();
    costs[i] = Rounds(work[i], rounds);
  };
  std::thread other(run, 1);
  run(0);
  other.join();
  return {(costs[0].seconds + costs[1].seconds) / 2, (costs[0].waits + costs[1].waits) / 2};
}

double InTwoProcesses(const std::array<Work, 2>& work, int rounds) {
  int ends[2];
  if (pipe(ends) != 0) return 0;
  const pid_t child = fork();
  const double own = Rounds(work[child == 0 ? 1 : 0], rounds).seconds;
  double other = 0;
  if (child == 0) {
    const bool told = write(ends[1], &own, sizeof own) == sizeof own;
    _exit(told ? 0 : 1);
  }
  if (child < 0 || read(ends[0], &other, sizeof other) != sizeof other) other = own;
  waitpid(child, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
  return (own + other) / 2;
}

void Threads(benchmark::State& state, Work (*make)()) {
  const std::array<Work, 2> work = {make(), make()};
  const int rounds = static_cast<int>(0.02 / (Rounds(work[0], 20).seconds / 20)) + 1;
  double alone = std::numeric_limits<double>::infinity(), threads = alone, processes = alone, waits = alone;
  for (auto _ : state) {
    alone = std::min(alone, Rounds(work[0], rounds).seconds);
    const Cost both = InTwoThreads(work, rounds);
    state.SetIterationTime(both.seconds);
    threads = std::min(threads, both.seconds);
    waits = std::min(waits, both.waits);
    processes = std::min(processes, InTwoProcesses(work, rounds));
  }
  state.counters["speedup"] = 2 * alone / threads;
  state.counters["vs_processes"] = processes / threads;
  state.counters["waits"] = waits;
}

BENCHMARK_CAPTURE(Threads, pulse_search, Pulses)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Threads, downsampling, Downsampling)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Threads, combined_pairs, Pairs)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Threads, unit_texts, Units)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
