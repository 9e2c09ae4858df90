#include <gtest/gtest.h>

#include <numbers>
#include <random>
#include <utility>

#include "speed/PlainDetector.h"
#include "umlauf/speed/DzPulsListe.h"

namespace {

constexpr std::size_t kSamples = 30000;

using D = CDzPulsDetektor;

const struct {
  const char* name;
  void (*set)(D&);
} kConfigs[] = {
    {"rising", [](D&) {}},
    {"falling", [](D& d) { d.FallendeFlankenSuchen(true); }},
    {"both", [](D& d) { d.BeideFlankenSuchen(true), d.FallendeFlankenSuchen(true); }},
    {"divider, pulses per revolution", [](D& d) { d.PulsTeilerSetzen(3), d.QuellenPulseProUmdr(60.5f); }},
    {"every edge", [](D& d) { d.BeideFlankenSuchen(true), d.PulsMinLenSetzen(0); }},
    {"merged short pulses", [](D& d) { d.PulsMinLenSetzen(61), d.PulsTeilerSetzen(2); }},
    {"dead time", [](D& d) { d.StoerpulsFilterAktivieren(false, 0, 5, 45), d.BeideFlankenSuchen(true); }},
    {"spike filter", [](D& d) { d.StoerpulsFilterAktivieren(true, 0.05f, 3, 0); }},
    {"TTL", [](D& d) { d.TtlKorrekturAktivieren(true), d.PulsMinLenSetzen(5); }},
    {"narrow hysteresis", [](D& d) { d.SchrankenSetzen(0.5f, 0.499f), d.PulsMinLenSetzen(0); }},
    {"thresholds upside down", [](D& d) { d.SchrankenSetzen(0.4f, 0.6f), d.PulsMinLenSetzen(0); }},
};

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

TEST_P(Signals, FastSearchIsThePlainOneWhateverTheBlocks) {
  for (const auto& config : kConfigs) {
    for (const unsigned stride : {1u, 4u}) {
      SCOPED_TRACE(testing::Message() << config.name << ", seed " << GetParam() << ", stride " << stride);
      D fast;
      config.set(fast);
      D whole = fast;
      fast.Neustart();
      PlainDetector plain(fast);
      CDzPulsListe list;
      const std::vector<float> x = Tacho(GetParam(), kSamples, stride);
      std::mt19937 split(GetParam());
      std::vector<PlainDetector::Pulse> all;  // with their length over the blocks
      for (std::size_t done = 0, n = 0, before = 0; done < kSamples; done += n) {
        n = std::min<std::size_t>(kSamples - done, 1 + split() % (split() % 2 == 0 ? 10 : 5000));
        std::uint64_t rest = 0;
        const auto expected = plain.Search(x.data() + done * stride, n, stride, rest);
        fast.PulseSuchen(x.data() + done * stride, n, list, stride);
        ASSERT_EQ(list.NrRealPulses(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
          const PulsEntry& e = list[i];
          ASSERT_EQ((PlainDetector::Pulse{e.NrSamples(), e.Value(), e.IsHiFlank()}), expected[i]) << i;
          all.push_back({e.NrSamples() + std::exchange(before, 0), e.Value(), e.IsHiFlank()});
        }
        ASSERT_EQ(rest, list.LastPulsUsable() ? 0 : list[expected.size()].NrSamples());
        before += rest;
        const auto& s = fast.SampleStatistik();
        const float fields[] = {s.minimum, s.maximum, s.mean, s.meanSquare, s.averageAbove, s.averageBelow};
        for (int i = 0; i < 6; ++i) EXPECT_NEAR(fields[i], plain.statistics[i], i < 4 ? 2e-6 : 1e-5) << i;
      }
      // Without blocks the same pulses, but for the rounding of the single-precision carry.
      whole.PulseSuchen(x.data(), kSamples, list, stride);
      ASSERT_GT(all.size(), 100u);
      ASSERT_EQ(list.NrRealPulses(), all.size());
      for (std::size_t i = 0; i < all.size(); ++i) {
        ASSERT_EQ(std::pair(list[i].NrSamples(), list[i].IsHiFlank()),
                  std::pair(all[i].samples, all[i].rising));
        ASSERT_NEAR(list[i].Value(), all[i].value, 2e-6f * (1.0f + std::fabs(all[i].value))) << i;
      }
    }
  }
}

}  // namespace
