#include "support/PulseText.h"
#include "support/Test.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace {

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
  // A step from 0 to 1 passes the upper threshold after 0.75 samples, one from 1 to 0 the lower one likewise.
  const std::vector<float> square = {0, 0, 1, 1, 0, 0, 1, 1, 0};
  void (*const rising)(D&) = [](D&) {};
  void (*const both)(D&) = [](D& d) { d.BeideFlankenSuchen(true); };
  void (*const divide)(D&) = [](D& d) { d.PulsTeilerSetzen(2), d.QuellenPulseProUmdr(6); };
  void (*const dead)(D&) = [](D& d) { d.StoerpulsFilterAktivieren(false, 0.2f, 5, 5); };
  void (*const ttl)(D&) = [](D& d) { d.TtlKorrekturAktivieren(true); };
  const Cases<const char*, void (*)(D&), std::vector<float>, const char*> cases = {
      {"rising", rising, square, "3+2.75 4+4 2o4"},
      {"falling", [](D& d) { d.FallendeFlankenSuchen(true); }, square, "5-4.75 4-4"},
      {"both", both, square, "3+2.75 2-2 2+2 2-2"},
      {"divider", divide, square, "7+20.25 2o20.25"},
      {"divider 0", [](D& d) { d.PulsTeilerSetzen(0); }, square, "3+2.75 4+4 2o4"},
      {"short pulse joins the next", [](D& d) { d.PulsMinLenSetzen(4); }, square, "7+3.375 2o3.375"},
      {"just long enough", [](D& d) { d.PulsMinLenSetzen(3); }, square, "3+2.75 4+4 2o4"},
      {"dead time", dead, square, "7+6.75 2o6.75"},
      {"starts high", rising, {1, 1, 0, 1}, "4+3.75"},
      {"hysteresis", rising, {0, 0.8f, 0.5f, 0.8f, 0.2f, 0.8f}, "2+1.9375 4+3.97917"},
      {"equal to a threshold", rising, {0, 0.75f, 1, 0.25f, 1}, "3+2 2o2"},
      {"flat step", rising, {0, 0.74999f, 0.75003f}, "3+2"},
      {"not a number", rising, {0, kNaN, 1, 1, kNaN, 0, 1}, "3+2 4+4.75"},
      {"infinite", rising, {0, kInf, -kInf, 1}, "2+1 2+2"},
      {"TTL", ttl, {0, 1, 1, 0, 1}, "2+1.88235 3+2.94947"},
      {"TTL restarts behind bad samples", ttl, {0, kNaN, kInf, 0, 1}, "3+2 2+2.88235"},
      {"nothing", rising, {0, 0.5f}, "2o0"},
  };
  for (const auto& [name, set, samples, pulses] : cases) {
    SCOPED_TRACE(name);
    D detector;
    detector.PulsMinLenSetzen(0);
    set(detector);
    detector.Neustart();
    CDzPulsListe list;
    detector.PulseSuchen(samples.data(), samples.size(), list, 1);
    EXPECT_EQ(Text(list), pulses);
    EXPECT_ALL(std::isfinite(detector.AvgSample()), std::isfinite(detector.SdvSample()));
  }
}

TEST(PulseDetector, SpikeFilterRejectsAndBelievesAgain) {
  CDzPulsDetektor detector;
  detector.PulsMinLenSetzen(0);
  detector.StoerpulsFilterAktivieren(true, 0.2f, 2, 0);
  detector.Neustart();
  CDzPulsListe list;
  // Run-in of two; one spike; then a jump that is believed at the second rejection after the first, and a
  // run-in again.
  const auto x = Train({10, 10, 10, 20, 10, 20, 20, 20, 10, 20, 40});
  detector.PulseSuchen(x.data(), x.size(), list, 1);
  EXPECT_EQ(Text(list), "10+9.75 10+10 10+10 20+10 10+10 20+10 20+10 20+20 10+10 20+20 40+20");
}

TEST(PulseDetector, EmptyBlocksCopiesAndRestart) {
  CDzPulsDetektor detector;
  detector.PulsMinLenSetzen(0);
  detector.QuellenPulseProUmdr(2.5f);
  detector.PulsTeilerSetzen(2);
  CDzPulsListe list;
  const auto x = Train({4, 4, 4, 4});
  detector.PulseSuchen(x.data(), x.size(), list, 1);
  EXPECT_ALL(Text(list) == "8+9.6875 8+10", list.PulseProUmdrehung() == 1.25f);
  detector.PulseSuchen(nullptr, x.size(), list, 1);
  detector.PulseSuchen(x.data(), x.size(), list, 0);
  EXPECT_TRUE(list.empty());
  CDzPulsDetektor copy = detector;  // starts afresh, with the same settings
  EXPECT_ALL(copy == detector, copy.MaxSample() == 0.0f, detector.MaxSample() == 0.25f);
  detector.PulseSuchen(x.data(), x.size(), list, 1);
  EXPECT_EQ(Text(list), "8+10 8+10");
  detector.Neustart();
  for (CDzPulsDetektor* fresh : {&copy, &detector}) {
    fresh->PulseSuchen(x.data(), x.size(), list, 1);
    EXPECT_EQ(Text(list), "8+9.6875 8+10");
  }
  detector.NeustartLevels();
  EXPECT_EQ(detector.MaxSample(), 0.0f);
  detector.PulsLueckenKorrigieren(true, 3.0f);
  EXPECT_TRUE(copy != detector);
}

TEST(PulseDetector, PublishesAQuarterOfTheStatistics) {
  CDzPulsDetektor d;
  CDzPulsListe list;
  const float x[] = {4.0f, 0.0f, -2.0f};  // the middle one equals the mean so far
  d.PulseSuchen(x, 3, list, 1);
  EXPECT_ALL(d.MinSample() == -0.5f, d.MaxSample() == 1.0f);
  EXPECT_FLOAT_EQ(d.AvgSample(), 0.25f * 2 / 3);
  EXPECT_FLOAT_EQ(d.SampleStatistik().meanSquare, 0.25f * 20 / 3);
  EXPECT_NEAR(d.AvgAbove(), 0.005 * (4 * 0.995 - 2), 1e-7);  // all that differ from the mean
  EXPECT_EQ(d.AvgBelow(), 0.0f);
}

TEST(PulseDetector, AutomaticThresholds) {
  CDzPulsDetektor d;
  const auto thresholds = [&d] { return std::pair(d.UntereSchranke(), d.ObereSchranke()); };
  EXPECT_TRUE(d.AutoSchrankenSetzen(0.0f, 8.0f, 3.5f, 0.5f));
  EXPECT_EQ(thresholds(), std::pair(2.5f, 4.5f));  // two deviations around the mean
  const float sine[] = {-5.0f, 5.0f, 0.0f, 12.5f};
  EXPECT_FALSE(d.AutoSchrankenSetzen(sine));
  EXPECT_EQ(thresholds(), std::pair(-3.0f, 3.0f));  // at least a fifth of the range inside
  d.TtlKorrekturAktivieren(true);
  d.SampleStatistik() = {0.0f, 100.0f, 1.0f, 0.9999999f, 0.0f, 0.0f};
  EXPECT_ALL(d.SdvSample() == 0.0f, d.AutoSchrankenSetzen(nullptr), thresholds() == std::pair(33.0f, 67.0f));
}

TEST(PulseDetector, ReadsAndWritesItsSettings) {
  const Cases<const wchar_t*, bool, const wchar_t*> cases = {
      {L"", false, L"[0.250000|0.750000|1|20|0|0|0|0.200000|5|0|0]"},
      {L"[0.2|0.8|2]", false, L"[0.200000|0.800000|2|20|0|0|0|0.200000|5|0|0]"},
      {L"[|-1||1[7|]", false, L"[-1.000000|1.000000|1|20|0|0|0|0.200000|5|0|0]"},  // empty fields are skipped
      {L"[0|1|3|4|1|0|1|0.5|6|7|1]", true, L"[0.000000|1.000000|3|4|1|0|1|0.500000|6|7|1]"},
      {L"0|1|3|4|1|0|1|0.5|6|7|1|more", true, L"[0.000000|1.000000|3|4|1|0|1|0.500000|6|7|1]"},
      {L"[ \t.5x|+75e-2|0|-3|1x| 1|10|5,7|4294967296|12.9|yes]", true,
       L"[0.500000|0.750000|1|0|1|0|1|5.000000|4294967295|12|0]"},
      {L"[nan|inf|none|+-1|0|0|0|1e-999|--1|µ|0]", true, L"[0.000000|0.000000|1|0|0|0|0|0.000000|0|0|0]"},
      {L"[-1e999|1e39]", false,
       L"[-340282346638528859811704183484516925440.000000|340282346638528859811704183484516925440.000000"
       L"|1|20|0|0|0|0.200000|5|0|0]"},
  };
  for (const auto& [text, complete, written] : cases) {
    CDzPulsDetektor detector;
    EXPECT_EQ(detector.SettingsStringLesen(text), complete) << CString(text).ToUtf8();
    EXPECT_EQ(detector.SettingsStringBilden().str(), written);
    CDzPulsDetektor again;
    EXPECT_TRUE(again.SettingsStringLesen(detector.SettingsStringBilden()));
    EXPECT_TRUE(again == detector) << CString(text).ToUtf8();
  }
}

}  // namespace
