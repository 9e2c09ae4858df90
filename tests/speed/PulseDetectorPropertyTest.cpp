#include <gtest/gtest.h>

#include <numbers>
#include <random>
#include <tuple>

#include "speed/PlainDetector.h"
#include "umlauf/speed/DzPulsDetektor.h"
#include "umlauf/speed/DzPulsListe.h"

namespace {

struct Config {
  const char* name;
  void (*set)(PlainDetector&);
};

const Config kConfigs[] = {
    {"rising", [](PlainDetector&) {}},
    {"falling", [](PlainDetector& d) { d.falling = true; }},
    {"both", [](PlainDetector& d) { d.both = d.falling = true; }},
    {"divider, pulses per revolution", [](PlainDetector& d) { d.divider = 3, d.sourcePulses = 60.5f; }},
    {"every edge", [](PlainDetector& d) { d.both = true, d.minLength = 0; }},
    {"merged short pulses", [](PlainDetector& d) { d.minLength = 61, d.divider = 2; }},
    {"dead time", [](PlainDetector& d) { d.deadTime = 45, d.both = true; }},
    {"spike filter", [](PlainDetector& d) { d.spikeFilter = true, d.runIn = 3, d.spikeThreshold = 0.05f; }},
    {"TTL", [](PlainDetector& d) { d.ttl = true, d.minLength = 5; }},
    {"narrow hysteresis", [](PlainDetector& d) { d.upper = 0.5f, d.lower = 0.499f, d.minLength = 0; }},
    {"thresholds upside down", [](PlainDetector& d) { d.upper = 0.4f, d.lower = 0.6f, d.minLength = 0; }},
};

CDzPulsDetektor Fast(const PlainDetector& plain) {
  CDzPulsDetektor d;
  d.SchrankenSetzen(plain.upper, plain.lower);
  d.QuellenPulseProUmdr(plain.sourcePulses);
  d.PulsTeilerSetzen(plain.divider);
  d.PulsMinLenSetzen(plain.minLength);
  d.StoerpulsFilterAktivieren(plain.spikeFilter, plain.spikeThreshold, plain.runIn, plain.deadTime);
  d.TtlKorrekturAktivieren(plain.ttl);
  d.FallendeFlankenSuchen(plain.falling);
  d.BeideFlankenSuchen(plain.both);
  d.Neustart();
  return d;
}

/// A run-up between 0 and 1 with noise; a square signal for every other seed, with exact zeros and ones.
std::vector<float> Tacho(unsigned seed, std::size_t n, std::size_t stride) {
  std::mt19937 random(seed);
  std::normal_distribution<float> noise(0.0f, 0.04f);
  std::vector<float> x(n * stride, -1000.0f);
  double phase = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    phase += 2.0 * std::numbers::pi / (60.0 - 45.0 * static_cast<double>(i) / static_cast<double>(n));
    if (random() % 4096 == 0) phase += 2.0;  // a slip
    const auto wave = static_cast<float>(std::sin(phase));
    x[i * stride] = seed % 2 == 0 ? 0.5f + 0.5f * wave + noise(random) : wave > 0.0f ? 1.0f : 0.0f;
  }
  return x;
}

class Signals : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Seeds, Signals, testing::Values(1u, 2u, 3u, 4u, 5u, 6u));

TEST_P(Signals, FastSearchIsThePlainOne) {
  for (const Config& config : kConfigs) {
    for (const unsigned stride : {1u, 4u}) {
      SCOPED_TRACE(testing::Message() << config.name << ", seed " << GetParam() << ", stride " << stride);
      PlainDetector plain;
      config.set(plain);
      CDzPulsDetektor fast = Fast(plain);
      CDzPulsListe list;
      const std::vector<float> x = Tacho(GetParam(), 20000, stride);
      std::size_t done = 0;
      for (const std::size_t n : {7000u, 1u, 64u, 2047u, 8888u}) {
        std::uint64_t rest = 0;
        const auto expected = plain.Search(x.data() + done * stride, n, stride, rest);
        fast.PulseSuchen(x.data() + done * stride, n, list, stride);
        done += n;
        ASSERT_EQ(list.NrRealPulses(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
          const PulsEntry& e = list[i];
          ASSERT_EQ((PlainDetector::Pulse{e.NrSamples(), e.Value(), e.IsHiFlank()}), expected[i]) << i;
        }
        ASSERT_EQ(rest, list.LastPulsUsable() ? 0 : list[expected.size()].NrSamples());
        const auto& s = fast.SampleStatistik();
        const float fields[] = {s.minimum, s.maximum, s.mean, s.meanSquare, s.averageAbove, s.averageBelow};
        for (int i = 0; i < 6; ++i) EXPECT_NEAR(fields[i], plain.statistics[i], i < 4 ? 2e-6 : 1e-5) << i;
      }
    }
  }
}

/// Closed pulses over all blocks, with their whole length.
std::vector<PlainDetector::Pulse> InBlocks(const PlainDetector& settings, const std::vector<float>& x,
                                           std::mt19937* split) {
  CDzPulsDetektor detector = Fast(settings);
  CDzPulsListe list;
  std::vector<PlainDetector::Pulse> pulses;
  std::uint64_t before = 0;
  for (std::size_t done = 0; done < x.size();) {
    const std::size_t longest = split != nullptr && (*split)() % 2 == 0 ? 10 : 3000;
    const std::size_t n = split == nullptr ? x.size() : std::min(x.size() - done, (*split)() % longest);
    detector.PulseSuchen(x.data() + done, n, list, 1);
    done += n;
    for (const PulsEntry& entry : list) {
      before += entry.NrSamples();
      if (entry.IsOpen()) continue;
      pulses.push_back({before, entry.Value(), entry.IsHiFlank()});
      before = 0;
    }
  }
  return pulses;
}

TEST_P(Signals, BlocksJoinWithoutASeam) {
  const std::vector<float> x = Tacho(GetParam(), 60000, 1);
  for (const Config& config : kConfigs) {
    SCOPED_TRACE(testing::Message() << config.name << ", seed " << GetParam());
    PlainDetector settings;
    config.set(settings);
    std::mt19937 split(GetParam());
    const auto whole = InBlocks(settings, x, nullptr);
    const auto parts = InBlocks(settings, x, &split);
    ASSERT_GT(whole.size(), 300u);
    ASSERT_EQ(parts.size(), whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
      // Whole lengths and edges are equal, values but for the rounding of the single-precision carry.
      ASSERT_EQ(std::tie(parts[i].samples, parts[i].rising), std::tie(whole[i].samples, whole[i].rising))
          << i;
      ASSERT_NEAR(parts[i].value, whole[i].value, 2e-6f * (1.0f + std::fabs(whole[i].value))) << i;
    }
  }
}

}  // namespace
