#include "support/EveryTarget.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace {

constexpr std::size_t kSamples = 30000;

using D = CDzPulsDetektor;

/// The pulse search in its plainest form, one sample after the other, to compare the fast one with.
struct PlainDetector {
  struct Pulse {
    std::uint64_t samples;
    float value;
    bool rising;
    bool operator==(const Pulse&) const = default;
  };

  D settings;

  bool first = true, high = false;
  float carry = 0, previous = 0, lastValue = 0;
  std::int64_t countdown = 0, edges = 0, runInLeft = 0, rejections = 0, deadLeft = 0;
  double statistics[6] = {};  // minimum, maximum, mean, mean of squares, average above, average below

  /// Closed pulses of one block; `rest` tells the samples behind the last.
  std::vector<Pulse> Search(const float* x, std::size_t n, std::size_t stride, std::uint64_t& rest) {
    std::vector<Pulse> pulses;
    if (first) {
      first = false;
      countdown = settings.PulsTeiler();
      runInLeft = settings.PulsFilterRunin();
      deadLeft = settings.PulsFilterTotzeit();
      previous = x[0];
      high = x[0] > settings.ObereSchranke();
    }
    const auto mean = static_cast<float>(statistics[2]);
    double low = x[0], top = x[0], sum = 0, squares = 0;
    std::uint64_t since = 0;
    const bool both = settings.BeideFlankenSuchen();
    for (std::size_t i = 0; i < n; ++i) {
      float v = x[i * stride];
      ++since;
      --deadLeft;
      if (settings.TtlKorrektur()) v = previous * 0.15f + v * 0.85f;
      low = std::min<double>(low, v);
      top = std::max<double>(top, v);
      sum += v;
      squares += static_cast<double>(v) * v;
      double& average = statistics[v != mean ? 4 : 5];
      average = average * 0.995 + static_cast<double>(v) * 0.005;
      bool edge = false;
      if (!high) {
        edge = high = v > settings.ObereSchranke();
        edge = edge && (both || !settings.FallendeFlankenSuchen());
      } else if (settings.UntereSchranke() > v) {
        high = false;
        edge = both || settings.FallendeFlankenSuchen();
      }
      if (edge && deadLeft <= 0) {
        if (--countdown == 0) {
          Enter(pulses, since, v, high);
          countdown = settings.PulsTeiler();
        }
        deadLeft = settings.PulsFilterTotzeit();
      }
      previous = v;
    }
    rest = since;
    carry += static_cast<float>(since);
    const double block[] = {low, top, sum / static_cast<double>(n), squares / static_cast<double>(n)};
    for (int i = 0; i < 4; ++i) statistics[i] = 0.25 * block[i] + 0.75 * statistics[i];
    return pulses;
  }

 private:
  void Enter(std::vector<Pulse>& pulses, std::uint64_t& since, float current, bool rising) {
    ++edges;
    if (static_cast<float>(since) + carry < static_cast<float>(settings.PulsMinLen())) return;
    float f = 0;
    if (rising && current - previous > 0.0001f)
      f = (settings.ObereSchranke() - previous) / (current - previous);
    if (!rising && previous - current > 0.0001f)
      f = (settings.UntereSchranke() - previous) / (current - previous);
    const float reciprocal =
        settings.PulsTeiler() < 2 ? 1.0f : 1.0f / static_cast<float>(settings.PulsTeiler());
    const float length = static_cast<float>(since - 1) + carry + f;
    const float value = length * reciprocal / static_cast<float>(edges) * settings.QuellenPulseProUmdrReal();
    if (!settings.StoerpulsFilter() || Plausible(value)) {
      rejections = 0;
      if (runInLeft != 0) --runInLeft;
      lastValue = value;
    }
    pulses.push_back({since, lastValue, rising});
    carry = 1.0f - f;
    since = 0;
    edges = 0;
  }

  bool Plausible(float value) {
    if (rejections != 0 && --rejections == 0) {
      runInLeft = std::int64_t{settings.PulsFilterRunin()} + 1;
      return true;
    }
    const double last = lastValue, wide = value;
    if (std::fabs(last - wide) / wide < double{settings.StoerpulsSchwelle()} || runInLeft != 0) return true;
    if (rejections == 0) rejections = settings.PulsFilterRunin();
    return false;
  }
};

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

class Signals : public EveryTarget {};
INSTANTIATE_TEST_SUITE_P(On, Signals, AllTargets(), TargetName);

TEST_P(Signals, FastSearchIsThePlainOneWhateverTheBlocks) {
  constexpr unsigned strides[] = {1, 2, 3, 4, 5, 16};
  unsigned next = 0;
  for (const auto& config : kConfigs) {
    for (const unsigned seed : {1u, 2u, 3u}) {
      const unsigned stride = strides[next++ % std::size(strides)];
      SCOPED_TRACE(testing::Message() << config.name << ", seed " << seed << ", stride " << stride);
      D fast;
      config.set(fast);
      D whole = fast;
      fast.Neustart();
      PlainDetector plain{fast};
      CDzPulsListe list;
      const std::vector<float> x = Tacho(seed, kSamples, stride);
      std::mt19937 split(seed);
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
