// Unit texts per second, beside UDUNITS-2 on the same texts in the same run. Each library gets the texts in
// the form that it takes, and gives back what it made of them.

#include <benchmark/benchmark.h>
#include <udunits2.h>

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "umlauf/platform/framework/CString.h"
#include "umlauf/units/MeasuringUnit.h"

namespace {

// Texts that both understand.
constexpr std::array kNames = {"m", "s", "Hz", "V", "Pa", "rpm", "A", "W", "bar", "rad", "°C", "%"};
constexpr std::array kPrefixed = {"kHz", "ms", "mV", "kPa", "MW", "µs"};
constexpr std::array kExpressions = {"m/s", "m/s^2", "m/s²", "rad/s", "(m/s)^2", "V²", "V^-1", "km/h"};

std::vector<std::string> Texts(int set) {
  std::vector<std::string> texts;
  if (set == 0 || set == 1) texts.insert(texts.end(), kNames.begin(), kNames.end());
  if (set == 0 || set == 2) texts.insert(texts.end(), kPrefixed.begin(), kPrefixed.end());
  if (set == 0 || set == 3) texts.insert(texts.end(), kExpressions.begin(), kExpressions.end());
  return texts;
}

constexpr int kRepeats = 200;  // of all texts in one measurement

template <class Parse>
double Seconds(const Parse& parse) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kRepeats; ++i) parse();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Alternates between the two within each iteration, so that both see the same machine. Argument: 0 all
/// texts, 1 names, 2 names with prefixes, 3 expressions.
void BM_UnitParsing(benchmark::State& state) {
  const std::vector<std::string> texts = Texts(static_cast<int>(state.range(0)));
  std::vector<CString> wide;
  for (const std::string& text : texts) wide.push_back(CString::FromUtf8(text));
  ut_set_error_message_handler(ut_ignore);
  ut_system* const system = ut_read_xml(nullptr);
  if (system == nullptr) return state.SkipWithError("UDUNITS-2 finds no unit database");

  bool understood = true;
  const auto ours = [&] {
    for (const CString& text : wide) {
      CMeasuringUnit unit;
      understood &= unit.set(text) && !unit.empty();
      benchmark::DoNotOptimize(unit.pod());
    }
  };
  const auto theirs = [&] {
    for (const std::string& text : texts) {
      ut_unit* const unit = ut_parse(system, text.c_str(), UT_UTF8);
      understood &= unit != nullptr;
      ut_free(unit);
    }
  };
  double ourSeconds = 0;
  double theirSeconds = 0;
  for ([[maybe_unused]] auto _ : state) {
    const double mine = Seconds(ours);
    state.SetIterationTime(mine);
    ourSeconds += mine;
    theirSeconds += Seconds(theirs);
  }
  ut_free_system(system);
  if (!understood) return state.SkipWithError("a text was not understood by both");
  const auto count = static_cast<double>(state.iterations()) * kRepeats * static_cast<double>(texts.size());
  state.counters["umlauf_texts/s"] = count / ourSeconds;
  state.counters["udunits_texts/s"] = count / theirSeconds;
  state.counters["ratio"] = theirSeconds / ourSeconds;
}
BENCHMARK(BM_UnitParsing)->DenseRange(0, 3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
