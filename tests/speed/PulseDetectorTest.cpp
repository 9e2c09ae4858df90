#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "umlauf/speed/DzPulsDetektor.h"
#include "umlauf/speed/DzPulsListe.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

struct Expected {
  std::uint64_t samples;
  float value;
  char mark;  // + rising, - falling, o open
};

void ExpectPulses(const CDzPulsListe& list, const std::vector<Expected>& expected) {
  ASSERT_EQ(list.size(), expected.size());
  std::uint64_t start = 0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(list[i].NrSamples(), expected[i].samples);
    EXPECT_NEAR(list[i].Value(), expected[i].value, 1e-6f * expected[i].value);
    EXPECT_EQ(list[i].IsOpen(), expected[i].mark == 'o');
    EXPECT_EQ(list[i].IsLoFlank(), expected[i].mark == '-');
    EXPECT_EQ(list[i].StartSample(), start);
    start += list[i].NrSamples();
  }
}

/// (L - 1) samples of 0 and one of 1 for each length: the first pulse lasts a quarter less, the others L.
std::vector<float> Train(const std::vector<std::size_t>& lengths) {
  std::vector<float> x;
  for (const std::size_t length : lengths) {
    x.insert(x.end(), length - 1, 0.0f);
    x.push_back(1.0f);
  }
  return x;
}

TEST(PulseDetector, FindsTheAnnotatedEdges) {
  using D = CDzPulsDetektor;
  const std::vector<float> square = {0, 0, 1, 1, 0, 0, 1, 1, 0};
  const struct {
    const char* name;
    void (*set)(D&);
    std::vector<float> samples;
    std::vector<Expected> expected;
  } cases[] = {
      // The step from 0 to 1 passes 0.75 after three quarters of a sample, the one from 1 to 0 passes 0.25
      // so.
      {"rising", [](D&) {}, square, {{3, 2.75f, '+'}, {4, 4.0f, '+'}, {2, 4.0f, 'o'}}},
      {"falling", [](D& d) { d.FallendeFlankenSuchen(true); }, square, {{5, 4.75f, '-'}, {4, 4.0f, '-'}}},
      {"both",
       [](D& d) { d.BeideFlankenSuchen(true); },
       square,
       {{3, 2.75f, '+'}, {2, 2.0f, '-'}, {2, 2.0f, '+'}, {2, 2.0f, '-'}}},
      {"divider",
       [](D& d) { d.PulsTeilerSetzen(2), d.QuellenPulseProUmdr(6u); },
       square,
       {{7, 6.75f * 3, '+'}, {2, 6.75f * 3, 'o'}}},
      {"divider 0",
       [](D& d) { d.PulsTeilerSetzen(0); },
       square,
       {{3, 2.75f, '+'}, {4, 4.0f, '+'}, {2, 4.0f, 'o'}}},
      {"a short pulse joins the next",
       [](D& d) { d.PulsMinLenSetzen(4); },
       square,
       {{7, 6.75f / 2, '+'}, {2, 6.75f / 2, 'o'}}},
      {"dead time",
       [](D& d) { d.StoerpulsFilterAktivieren(false, 0.2f, 5, 5); },
       square,
       {{7, 6.75f, '+'}, {2, 6.75f, 'o'}}},
      {"starts high", [](D&) {}, {1, 1, 0, 1}, {{4, 3.75f, '+'}}},
      {"hysteresis", [](D&) {}, {0, 0.8f, 0.5f, 0.8f, 0.2f, 0.8f}, {{2, 1.9375f, '+'}, {4, 3.979167f, '+'}}},
      {"equal to a threshold is no edge",
       [](D&) {},
       {0, 0.75f, 1, 0.25f, 1},
       {{3, 2.0f, '+'}, {2, 2.0f, 'o'}}},
      {"flat step", [](D&) {}, {0, 0.74999f, 0.75003f}, {{3, 2.0f, '+'}}},
      {"not a number", [](D&) {}, {0, kNaN, 1, 1, kNaN, 0, 1}, {{3, 2.0f, '+'}, {4, 4.75f, '+'}}},
      {"infinite", [](D&) {}, {0, kInf, -kInf, 1}, {{2, 1.0f, '+'}, {2, 2.0f, '+'}}},
      {"TTL",
       [](D& d) { d.TtlKorrekturAktivieren(true); },
       {0, 1, 1, 0, 1},
       {{2, 1.882353f, '+'}, {3, 2.949465f, '+'}}},
      {"TTL starts again behind a bad sample",
       [](D& d) { d.TtlKorrekturAktivieren(true); },
       {0, kNaN, kInf, 0, 1},
       {{3, 2.0f, '+'}, {2, 2.882353f, '+'}}},
      {"nothing", [](D&) {}, {0, 0.5f}, {{2, 0.0f, 'o'}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    D detector;
    detector.PulsMinLenSetzen(0);
    c.set(detector);
    detector.Neustart();
    CDzPulsListe list;
    detector.PulseSuchen(c.samples.data(), c.samples.size(), list, 1);
    ExpectPulses(list, c.expected);
    EXPECT_TRUE(std::isfinite(detector.AvgSample()) && std::isfinite(detector.SdvSample()));
  }
}

TEST(PulseDetector, SpikeFilterRejectsAndBelievesAgain) {
  CDzPulsDetektor detector;
  detector.PulsMinLenSetzen(0);
  detector.StoerpulsFilterAktivieren(true, 0.2f, 2, 0);
  detector.Neustart();
  CDzPulsListe list;
  // Run-in of two; one spike; then a jump that is believed at the second rejection after the first.
  const auto x = Train({10, 10, 10, 20, 10, 20, 20, 20, 10, 10, 40});
  detector.PulseSuchen(x.data(), x.size(), list, 1);
  ExpectPulses(list, {{10, 9.75f, '+'},
                      {10, 10, '+'},
                      {10, 10, '+'},
                      {20, 10, '+'},
                      {10, 10, '+'},
                      {20, 10, '+'},
                      {20, 10, '+'},
                      {20, 20, '+'},
                      {10, 10, '+'},
                      {10, 10, '+'},
                      {40, 10, '+'}});
}

TEST(PulseDetector, EmptyBlocksAndRestart) {
  CDzPulsDetektor detector;
  detector.PulsMinLenSetzen(0);
  detector.QuellenPulseProUmdr(2.5f);
  detector.PulsTeilerSetzen(2);
  CDzPulsListe list;
  const auto x = Train({4, 4, 4, 4});
  detector.PulseSuchen(x.data(), x.size(), list, 1);
  EXPECT_EQ(list.PulseProUmdrehung(), 1.25f);
  const auto before = detector.SampleStatistik();
  for (const auto& [samples, stride] :
       {std::pair{x.data(), 0u}, std::pair<const float*, unsigned>{nullptr, 1u}}) {
    detector.PulseSuchen(samples, 16, list, stride);
    EXPECT_TRUE(list.empty());
  }
  EXPECT_EQ(detector.SampleStatistik().mean, before.mean);
  detector.PulseSuchen(x.data(), x.size(), list, 1);
  ExpectPulses(list, {{8, 10.0f, '+'}, {8, 10.0f, '+'}});

  CDzPulsDetektor copy = detector;  // starts afresh, with the same settings
  EXPECT_TRUE(copy == detector);
  EXPECT_EQ(copy.MaxSample(), 0.0f);
  copy.PulseSuchen(x.data(), x.size(), list, 1);
  ExpectPulses(list, {{8, 7.75f * 1.25f, '+'}, {8, 10.0f, '+'}});
  detector.Neustart();
  detector.PulseSuchen(x.data(), x.size(), list, 1);
  ExpectPulses(list, {{8, 7.75f * 1.25f, '+'}, {8, 10.0f, '+'}});
  detector.NeustartLevels();
  EXPECT_EQ(detector.MaxSample(), 0.0f);
}

TEST(PulseDetector, AutomaticThresholds) {
  CDzPulsDetektor d;
  EXPECT_TRUE(d.AutoSchrankenSetzen(0.0f, 10.0f, 5.0f, 2.0f));  // mean -+ two deviations
  EXPECT_FLOAT_EQ(d.UntereSchranke(), 2.0f);                    // not below a fifth of the range
  EXPECT_FLOAT_EQ(d.ObereSchranke(), 8.0f);
  const float sine[] = {-1.0f, 1.0f, 0.0f, 0.5f};
  EXPECT_TRUE(d.AutoSchrankenSetzen(0.0f, 10.0f, 4.0f, 0.5f));
  EXPECT_FLOAT_EQ(d.UntereSchranke(), 3.0f);
  EXPECT_FLOAT_EQ(d.ObereSchranke(), 5.0f);
  EXPECT_FALSE(d.AutoSchrankenSetzen(sine));
  EXPECT_FLOAT_EQ(d.ObereSchranke(), 0.6f);
  d.TtlKorrekturAktivieren(true);
  d.SampleStatistik() = {0.0f, 3.0f, 1.0f, 1.0f, 0.0f, 0.0f};  // no variance: any range is usable
  EXPECT_TRUE(d.AutoSchrankenSetzen(nullptr));
  EXPECT_FLOAT_EQ(d.ObereSchranke(), 2.01f);
  EXPECT_FLOAT_EQ(d.UntereSchranke(), 0.99f);
  d.SampleStatistik().mean = 1.0000001f;
  EXPECT_EQ(d.SdvSample(), 0.0f);
}

TEST(PulseDetector, ReadsAndWritesItsSettings) {
  const struct {
    const wchar_t* text;
    bool complete;
    const wchar_t* written;
  } cases[] = {
      {L"", false, L"[0.250000|0.750000|1|20|0|0|0|0.200000|5|0|0]"},
      {L"[0.2|0.8|2]", false, L"[0.200000|0.800000|2|20|0|0|0|0.200000|5|0|0]"},
      {L"[|-1||1|]", false, L"[-1.000000|1.000000|1|20|0|0|0|0.200000|5|0|0]"},  // empty fields are skipped
      {L"[0|1|3|4|1|0|1|0.5|6|7|1]", true, L"[0.000000|1.000000|3|4|1|0|1|0.500000|6|7|1]"},
      {L"0|1|3|4|1|0|1|0.5|6|7|1|more", true, L"[0.000000|1.000000|3|4|1|0|1|0.500000|6|7|1]"},
      {L"[ \t.5x|+75e-2|0|-3|1x| 1|10|5,7|4294967296|12.9|yes]", true,
       L"[0.500000|0.750000|1|0|1|0|1|5.000000|4294967295|12|0]"},
      {L"[nan|inf|none|+-1|0|0|0|1e-999|--1|µ|0]", true, L"[0.000000|0.000000|1|0|0|0|0|0.000000|0|0|0]"},
      {L"[-1e999|1e39]", false,
       L"[-340282346638528859811704183484516925440.000000|340282346638528859811704183484516925440.000000"
       L"|1|20|0|0|0|0.200000|5|0|0]"},
  };
  for (const auto& c : cases) {
    CDzPulsDetektor detector;
    EXPECT_EQ(detector.SettingsStringLesen(c.text), c.complete) << CString(c.text).ToUtf8();
    EXPECT_EQ(detector.SettingsStringBilden().str(), c.written);
    CDzPulsDetektor again;
    EXPECT_TRUE(again.SettingsStringLesen(detector.SettingsStringBilden()));
    EXPECT_TRUE(again == detector) << CString(c.text).ToUtf8();
  }
}

TEST(PulseDetector, ComparesEverySetting) {
  using D = CDzPulsDetektor;
  void (*const changes[])(D&) = {
      [](D& d) { d.SchrankenSetzen(0.5f, 0.25f); },
      [](D& d) { d.SchrankenSetzen(0.75f, 0.5f); },
      [](D& d) { d.QuellenPulseProUmdr(2u); },
      [](D& d) { d.QuellenPulseProUmdr(1.5f); },
      [](D& d) { d.PulsTeilerSetzen(0); },
      [](D& d) { d.PulsMinLenSetzen(21); },
      [](D& d) { d.FallendeFlankenSuchen(true); },
      [](D& d) { d.BeideFlankenSuchen(true); },
      [](D& d) { d.TtlKorrekturAktivieren(true); },
      [](D& d) { d.StoerpulsFilterAktivieren(true, 0.2f, 5, 0); },
      [](D& d) { d.StoerpulsFilterAktivieren(false, 0.3f, 5, 0); },
      [](D& d) { d.StoerpulsFilterAktivieren(false, 0.2f, 6, 0); },
      [](D& d) { d.StoerpulsFilterAktivieren(false, 0.2f, 5, 1); },
      [](D& d) { d.PulsLueckenKorrigieren(true, 1.0f); },
      [](D& d) { d.PulsLueckenKorrigieren(false, 3.0f); },
  };
  for (std::size_t i = 0; i < std::size(changes); ++i) {
    D changed;
    changes[i](changed);
    EXPECT_TRUE(changed != D()) << i;
    D assigned;
    assigned = changed;
    EXPECT_TRUE(assigned == changed) << i;
  }
}

}  // namespace
