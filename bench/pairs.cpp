// Point pairs beside the plain reading of their rules, beside std::sort, and beside the usual NumPy form of
// combining two signals (pairs_numpy.py, when NumPy is installed). Argument: points of a signal. Counters
// vs_...: our speed relative to the yardstick in the same run, by processor time; above 1 is faster.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "umlauf/pairs/SigPairs.h"

namespace {

using Points = std::vector<SPunkt>;

/// Processor time: what else runs on the machine disturbs it least.
template <class Call>
double Seconds(Call call) {
  const std::clock_t start = std::clock();
  call();
  return static_cast<double>(std::max<std::clock_t>(std::clock() - start, 1)) / CLOCKS_PER_SEC;
}

/// Uneven ascending points, about one a unit of x; pairs_numpy.py makes the same.
Points Grid(std::size_t n, double offset, double irrational) {
  Points points(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i);
    points[i].x = static_cast<float>(t + offset + 0.3 * std::fmod(t * irrational, 1.0));
    points[i].y = static_cast<float>(std::sin(t * 0.01));
  }
  return points;
}

Points Shuffled(std::size_t n, std::size_t distinct) {
  Points points(n);
  for (std::size_t i = 0; i < n; ++i) points[i] = {static_cast<float>(i % distinct), static_cast<float>(i)};
  std::shuffle(points.begin(), points.end(), std::mt19937(1));
  return points;
}

CSigPairs Signal(const Points& points) {
  CSigPairs signal(points.size());
  for (const SPunkt& p : points) signal.NeuesPaar(p.x, p.y);
  return signal;
}

float PlainValue(const Points& p, float x) {
  if (x <= p.front().x) return p.front().y;
  if (x >= p.back().x) return p.back().y;
  std::size_t i = 1;
  while (p[i].x < x) ++i;
  return p[i - 1].y + (p[i].y - p[i - 1].y) / (p[i].x - p[i - 1].x) * (x - p[i - 1].x);
}

/// a + b as the rules read: a scan, an interpolation and an insertion for every point.
void PlainAdd(Points& a, const Points& b, float tolerance) {
  std::size_t k = 0;
  for (const SPunkt& q : b) {
    if (q.x < a.front().x - tolerance || q.x > a.back().x + tolerance) continue;
    std::size_t i = k++;
    while (i < a.size() && !(std::fabs(a[i].x - q.x) <= tolerance)) ++i;
    if (i < a.size()) continue;
    const SPunkt point{q.x, PlainValue(a, q.x)};
    i = a.size();
    while (i > 0 && a[i - 1].x > q.x) --i;
    a.insert(a.begin() + static_cast<std::ptrdiff_t>(i), point);
  }
  std::erase_if(
      a, [&](const SPunkt& p) { return p.x < b.front().x - tolerance || p.x > b.back().x + tolerance; });
  for (SPunkt& p : a) p.y += PlainValue(b, p.x);
}

void PlainSort(Points& p) {
  for (std::size_t i = 1; i < p.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (p[j].x > p[i].x) std::swap(p[i], p[j]);
    }
  }
}

void PlainSmooth(Points& p, float width) {
  std::vector<float> smooth(p.size());
  for (std::size_t i = 0; i < p.size(); ++i) {
    double sum = 0.0;
    int n = 0;
    for (const SPunkt& q : p) {
      if (std::fabs(p[i].x - q.x) < width) {
        sum += q.y;
        ++n;
      }
    }
    smooth[i] = static_cast<float>(sum / n);
  }
  for (std::size_t i = 0; i < p.size(); ++i) p[i].y = smooth[i];
}

/// Seconds that NumPy needs for one combination of n and n points; 0 when it is not installed.
double NumpySeconds(std::size_t n) {
  const char* const chosen = std::getenv("PYTHON");
  for (const char* python : {chosen != nullptr ? chosen : "python3", "/usr/bin/python3"}) {
    const std::string command =
        std::string(python) + " " UMLAUF_BENCH_DIR "/pairs_numpy.py " + std::to_string(n) + " 2>/dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    double seconds = 0.0;
    if (pipe != nullptr && std::fscanf(pipe.get(), "%lf", &seconds) == 1) return seconds;
  }
  return 0.0;
}

/// A yardstick's seconds, measured once for each benchmark and its arguments: Google Benchmark calls a
/// function several times to find out how often to iterate, and the plain forms are slow.
template <class Call>
double Once(std::pair<std::int64_t, std::int64_t> arguments, Call seconds) {
  static std::map<std::pair<std::int64_t, std::int64_t>, double> known;  // one for each benchmark's `Call`
  const auto [place, isNew] = known.try_emplace(arguments);
  if (isNew) place->second = seconds();
  return place->second;
}

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

/// Runs ours in every iteration and reports its median against the yardstick's seconds.
template <class Prepare, class Call>
void Measure(benchmark::State& state, const char* counter, double yardstick, Prepare prepare, Call call) {
  std::vector<double> times;
  for (auto _ : state) {
    auto input = prepare();
    times.push_back(Seconds([&] { call(input); }));
    state.SetIterationTime(times.back());
  }
  state.counters[counter] = yardstick / Median(times);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void CombineBesidePlain(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  const Points a = Grid(n, 0.0, std::sqrt(2.0));
  const Points b = Grid(n, 0.45, std::sqrt(3.0));
  const CSigPairs first = Signal(a);
  const CSigPairs second = Signal(b);
  const double seconds = Once({state.range(0), 0}, [&] {
    Points plain = a;
    const double plainSeconds = Seconds([&] { PlainAdd(plain, b, first.ToleranzInX()); });
    if ((first + second).NPaare() != plain.size()) state.SkipWithError("the results differ");
    return plainSeconds;
  });
  Measure(
      state, "vs_plain", seconds, [] { return 0; },
      [&](int) {
        const CSigPairs sum = first + second;
        benchmark::DoNotOptimize(sum.Punkte());
      });
}

void CombineBesideNumpy(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  const CSigPairs first = Signal(Grid(n, 0.0, std::sqrt(2.0)));
  const CSigPairs second = Signal(Grid(n, 0.45, std::sqrt(3.0)));
  const double seconds = Once({state.range(0), 0}, [n] { return NumpySeconds(n); });
  if (seconds == 0.0) state.SkipWithError("NumPy is not installed");
  Measure(
      state, "vs_numpy", seconds, [] { return 0; },
      [&](int) {
        const CSigPairs sum = first + second;
        benchmark::DoNotOptimize(sum.Punkte());
      });
  state.counters["numpy_ms"] = seconds * 1000.0;
}

/// Second argument: how many points share an x.
void SortBesideStd(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  const Points points = Shuffled(n, n / static_cast<std::size_t>(state.range(1)));
  const CSigPairs signal = Signal(points);
  // Each time in another order: processors learn the branches of a sort that they have seen before.
  std::mt19937 random(7);
  Points shuffled = points;
  std::vector<double> peer;
  for (int i = 0; i < 21; ++i) {
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    std::vector<std::pair<float, float>> pairs;
    for (const SPunkt& p : shuffled) pairs.emplace_back(p.x, p.y);
    peer.push_back(Seconds([&] { std::sort(pairs.begin(), pairs.end()); }));
    benchmark::DoNotOptimize(pairs.data());
  }
  Measure(
      state, "vs_std_sort", Median(peer), [&] { return signal; },
      [](CSigPairs& s) { s.DatenSortieren(true); });
}

void SortBesidePlain(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  Points points = Shuffled(n, n / static_cast<std::size_t>(state.range(1)));
  const CSigPairs signal = Signal(points);
  const double seconds = Once({state.range(0), state.range(1)}, [&] {
    const double plainSeconds = Seconds([&] { PlainSort(points); });
    CSigPairs sorted = signal;
    sorted.DatenSortieren(true);
    if (!std::equal(points.begin(), points.end(), sorted.Punkte())) state.SkipWithError("the results differ");
    return plainSeconds;
  });
  Measure(
      state, "vs_plain", seconds, [&] { return signal; }, [](CSigPairs& s) { s.DatenSortieren(true); });
}

/// A window of about 20 points.
void SmoothBesidePlain(benchmark::State& state) {
  Points points = Grid(static_cast<std::size_t>(state.range(0)), 0.0, std::sqrt(2.0));
  const CSigPairs signal = Signal(points);
  const double seconds =
      Once({state.range(0), 0}, [&] { return Seconds([&] { PlainSmooth(points, 10.0f); }); });
  Measure(
      state, "vs_plain", seconds, [&] { return signal; }, [](CSigPairs& s) { s.Glaetten(10.0f); });
}

/// 1000 values at random places.
void LookupBesidePlain(benchmark::State& state) {
  const Points points = Grid(static_cast<std::size_t>(state.range(0)), 0.0, std::sqrt(2.0));
  const CSigPairs signal = Signal(points);
  std::mt19937 random(1);
  std::uniform_real_distribution<float> anywhere(points.front().x, points.back().x);
  std::array<float, 1000> places;
  for (float& x : places) x = anywhere(random);
  const double seconds = Once({state.range(0), 0}, [&] {
    return Seconds([&] {
      float sum = 0.0f;
      for (const float x : places) sum += PlainValue(points, x);
      benchmark::DoNotOptimize(sum);
    });
  });
  Measure(
      state, "vs_plain", seconds, [] { return 0.0f; },
      [&](float& all) {
        for (const float x : places) all += signal.WertBei(x);
        benchmark::DoNotOptimize(all);
      });
}

BENCHMARK(CombineBesidePlain)->Name("pairs/combine")->Arg(1000)->Arg(10000)->Arg(100000)->UseManualTime();
BENCHMARK(CombineBesideNumpy)
    ->Name("pairs/combine_numpy")
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->UseManualTime();
BENCHMARK(SortBesideStd)->Name("pairs/sort")->ArgsProduct({{1000, 10000, 100000}, {1, 10}})->UseManualTime();
BENCHMARK(SortBesidePlain)
    ->Name("pairs/sort_plain")
    ->ArgsProduct({{1000, 10000, 100000}, {1, 10}})
    ->UseManualTime();
BENCHMARK(SmoothBesidePlain)->Name("pairs/smooth")->Arg(1000)->Arg(10000)->Arg(100000)->UseManualTime();
BENCHMARK(LookupBesidePlain)->Name("pairs/lookup")->Arg(1000)->Arg(10000)->Arg(100000)->UseManualTime();

}  // namespace
