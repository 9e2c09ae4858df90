#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/speed/DzPulsListArray.h"
#include "umlauf/speed/DzPulsListe.h"
#include "umlauf/speed/FueGroeAnzeigeInfo.h"
#include "umlauf/speed/FueGroeHopListe.h"

namespace {

using testing::ElementsAre;

constexpr float kGreatest = std::numeric_limits<float>::max();

CDzPulsListe Pulses(const std::vector<std::pair<std::uint64_t, float>>& pulses, std::uint64_t rest,
                    float rate = 1000.0f) {
  CDzPulsListe list;
  for (const auto& [samples, value] : pulses) list.AddEntry(samples, value);
  list.CompletePulsList(rest);
  list.SetSampleRate(rate);
  return list;
}

std::vector<float> Values(const CDzPulsListe& list) {
  std::vector<float> values;
  for (const PulsEntry& entry : list) values.push_back(entry.Value());
  return values;
}

std::vector<std::uint64_t> Samples(const CDzPulsListe& list) {
  std::vector<std::uint64_t> samples;
  std::uint64_t start = 0;
  for (const PulsEntry& entry : list) {
    EXPECT_EQ(entry.StartSample(), start);
    start += entry.NrSamples();
    samples.push_back(entry.NrSamples());
  }
  return samples;
}

/// Catches the log.
class Log {
 public:
  Log()
      : before_(PrWin::SetSink([this](int category, int, const CString& text) {
          lines.push_back(std::to_wstring(category) + L' ' + text.str());
        })) {}
  ~Log() { PrWin::SetSink(before_); }
  std::vector<std::wstring> lines;

 private:
  PrWin::Sink before_;
};

TEST(PulseList, Completion) {
  CDzPulsListe list = Pulses({{10, 12.5f}, {20, 25.0f}}, 7);
  EXPECT_THAT(Samples(list), ElementsAre(10u, 20u, 7u));
  EXPECT_THAT(Values(list), ElementsAre(12.5f, 25.0f, 25.0f));
  EXPECT_TRUE(list[2].IsOpen() && list[2].IsHiFlank() && !list[1].IsOpen());
  EXPECT_EQ(list.NrRealPulses(), 2u);
  EXPECT_FALSE(list.LastPulsUsable());

  for (int block = 0; block < 256; ++block) {  // without a pulse; the last value still holds
    list.SetEmpty();
    list.CompletePulsList(5);
  }
  EXPECT_THAT(Values(list), ElementsAre(25.0f));
  EXPECT_EQ(list.NrRealPulses(), 0u);
  list.SetEmpty();
  list.CompletePulsList(5);
  EXPECT_THAT(Values(list), ElementsAre(0.0f));

  list.ReverseFactor(-3.0f);
  list.Reset();
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.NrRealPulses(), 0u);
  EXPECT_FALSE(list.LastPulsUsable());
  EXPECT_EQ(list.ReverseFactor(), 1.0f);
  list.CompletePulsList(0);
  EXPECT_TRUE(list.LastPulsUsable());
}

TEST(PulseList, Averages) {
  CDzPulsListe list;
  EXPECT_EQ(list.CalcAverPulsF(1000.0f), 0.0f);
  list.InitLastValue(50.0f);  // no pulse in this block: the last value counts
  EXPECT_EQ(list.CalcAverPulsF(1000.0f), 20.0f);
  EXPECT_EQ(list.AverSpeed(), 1200.0f);
  EXPECT_EQ(list.PulsSpeed(7), 20.0f);
  EXPECT_EQ(list.PulsSpeed(list.end()), 20.0f);

  list = Pulses({{25, 100.0f}}, 0);
  list.SetPulseProUmdr(4.0f);
  EXPECT_EQ(list.CalcAverPulsF(1000.0f), 10.0f);
  EXPECT_EQ(list.EmptyBlockLimit(), 100u);  // 1000 / (6 / 60) / 4 / 25, a little less, + 1
  list = Pulses({{100, 60001.0f}}, 0);      // below one revolution per minute
  EXPECT_EQ(list.CalcAverPulsF(1000.0f), 0.0f);
  EXPECT_EQ(list.AverPulsT(), kGreatest);
  EXPECT_EQ(list[0].Value(), kGreatest);
  list.SetPulseProUmdr(0.0f);
  list.CalcAverPulsF(1000.0f);
  EXPECT_EQ(list.EmptyBlockLimit(), std::numeric_limits<std::uint32_t>::max());

  list = Pulses({{10, 10.0f}, {20, 20.0f}}, 30);  // the open entry counts
  EXPECT_FLOAT_EQ(list.CalcAverPulsF(1000.0f), 60.0f);
  EXPECT_EQ(list.TotalSamples(), 60u);
  EXPECT_EQ(list.PulsSpeed(0), 100.0f);
  EXPECT_EQ(list.PulsSpeed(list.begin() + 1), 50.0f);
  EXPECT_EQ(list.PulsSpeed(3), 0.0f);
  EXPECT_EQ(Pulses({{1, 0.0f}, {1, 0.0f}}, 0).CalcAverPulsF(1000.0f), 0.0f);
}

TEST(PulseList, GapCorrection) {
  const struct {
    const char* name;
    bool on;
    float relLength;
    std::vector<float> values;  // closed pulses; an open entry follows
    std::vector<float> corrected;
    float factor;
  } cases[] = {
      {"off", false, 3.0f, {10, 10, 30, 10}, {10, 10, 30, 10, 10}, 0.0f},
      {"no factor to apply", true, 1.0f, {10, 10, 30, 10}, {10, 10, 30, 10, 10}, 1.0f},
      {"too few pulses", true, 3.0f, {10, 30, 10}, {10, 30, 10, 10}, 1.0f / 3.0f},
      {"given", true, 3.0f, {10, 30, 11, 12, 12.5f}, {10, 10, 11, 12, 12.5f / 3, 12.5f / 3}, 1.0f / 3.0f},
      {"found", true, 0.0f, {10, 10, 10, 29, 10}, {10, 10, 10, 29.0f / 3, 10, 10}, 1.0f / 3.0f},
      {"found, half a tooth", true, -1.0f, {10, 10, 10, 26}, {10, 10, 10, 10.4f, 10.4f}, 0.4f},
      {"no measure", true, 0.0f, {0, 10, 10, 30}, {0, 10, 10, 30, 30}, 0.0f},
      {"endless", true, 0.0f, {1, 1, 1, kGreatest}, {1, 1, 1, kGreatest, kGreatest}, 0.0f},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Log log;
    std::vector<std::pair<std::uint64_t, float>> pulses;
    for (const float value : c.values) pulses.emplace_back(10, value);
    CDzPulsListe list = Pulses(pulses, 5);
    list.SetSignalId(17);
    list.ActivatePulsGapCorrection(c.on, c.relLength);
    list.CalcAverPulsF(1000.0f);
    ASSERT_THAT(Values(list), testing::Pointwise(testing::FloatEq(), c.corrected));
    for (std::size_t i = 0; i < c.values.size(); ++i) {
      EXPECT_EQ(list[i].IsGapCorrected(), c.values[i] != c.corrected[i]) << i;
    }
    EXPECT_FLOAT_EQ(list.PulseGapCorrection(), c.factor);
    if (std::string(c.name) == "found") {
      EXPECT_THAT(log.lines,
                  ElementsAre(L"1 Speed detection for signal [17] calculated puls gap rel. lenght  3.00\n"));
    } else if (c.relLength > 0.0f) {
      EXPECT_TRUE(log.lines.empty());
    }
  }
}

TEST(PulseList, FlatRecord) {
  CDzPulsListe list = Pulses({{10, 12.5f}}, 7, 1000.0f);
  list.SetSignalId(-2);
  list.SetAverage(80.0f);
  list.ReverseFactor(-1.0f);
  list[0].SetHiFlank(false);
  list[0].SetGapCorrected(true);
  std::vector<unsigned char> bytes(list.length(), 0xEE);
  ASSERT_EQ(list.write(bytes.data()), static_cast<std::int64_t>(bytes.size()));
  const std::vector<unsigned char>
      golden =
          {
              0xFE, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x7A, 0x44, 0x00, 0x00, 0xA0, 0x42,
              0x00, 0x00, 0x48, 0x41, 2,    0,    0,    0,    0,    0,    0,    0,  // count
              10,   0,    0,    0,    0,    0,    0,    0,    0x00, 0x00, 0x48, 0x41,
              0,    0,    0,    0,  // closed
              0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    1,    0,
              0,    0,    0,    0,  //
              7,    0,    0,    0,    0,    0,    0,    0,    0x00, 0x00, 0x48, 0x41,
              0,    0,    0,    0,  // open
              10,   0,    0,    0,    0,    0,    0,    0,    1,    1,    0,    0,
              0,    0,    0,    0,  //
              1,    0,    0,    0,    0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x00,
              0x00, 0x00, 0x80, 0xBF,  // trailer
          };
  EXPECT_EQ(bytes, golden);

  CDzPulsListe copy;
  ASSERT_EQ(copy.read(bytes.data()), static_cast<std::int64_t>(bytes.size()));
  EXPECT_EQ(copy.AssociatedListId(), 1);  // -1 comes back so
  copy.SetAssociatedList(-1);
  std::vector<unsigned char> again(copy.length());
  copy.write(again.data());
  EXPECT_EQ(again, golden);

  for (std::size_t n = 0; n < bytes.size(); ++n) {
    const std::vector<unsigned char> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n));
    CDzPulsListe unchanged = Pulses({{3, 4.0f}}, 0);
    ASSERT_LT(unchanged.read(cut.data(), n), 0) << n;
    ASSERT_THAT(Values(unchanged), ElementsAre(4.0f)) << n;
  }
  bytes[23] = 0x10;  // more entries than any memory holds
  EXPECT_LT(copy.read(bytes.data()), 0);
  EXPECT_LT(copy.read(bytes.data(), bytes.size()), 0);
  EXPECT_EQ(copy.size(), 2u);
  EXPECT_FALSE(copy.resize(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_EQ(CFueGroeListe<PulsEntry>(copy).length(), 24u + 2 * 32);

  copy.Reset();  // the last pulse counts as open, written as 1
  copy.write(again.data());
  EXPECT_EQ(again[24], 1);
}

TEST(PulseList, LooksUpSamples) {
  CDzPulsListe list = Pulses({{10, 100.0f}, {20, -50.0f}, {20, 200.0f}}, 10);  // 600, -1200, 300, 300 rpm
  list.ReverseFactor(-1.0f);
  const struct {
    std::uint64_t sample;
    std::int64_t index, found;
    float speed, time;
  } cases[] = {{0, 0, 0, -600, 100},   {9, 0, 0, -600, 100},          {10, 1, 1, 1200, -50},
               {29, 1, 1, 1200, -50},  {30, 2, 2, -300, 200},         {59, 3, 3, -300, 200},
               {60, 3, -1, -300, 200}, {UINT64_MAX, 3, -1, -300, 200}};
  for (const auto& c : cases) {
    EXPECT_EQ(list.Sample2Idx(c.sample), c.index) << c.sample;
    EXPECT_EQ(list.FindPulsForSample(c.sample), c.found) << c.sample;
    EXPECT_EQ(list.LocalSpeed(c.sample), c.speed) << c.sample;
    EXPECT_EQ(list.LocalRevTime(c.sample), c.time) << c.sample;
  }
  EXPECT_EQ(list.LocalMaxSpeed(0, UINT64_MAX), 1200.0f);
  EXPECT_EQ(list.LocalMaxSpeed(0, 10), -600.0f);
  EXPECT_EQ(list.LocalMaxSpeed(9, 11), 1200.0f);
  EXPECT_EQ(list.LocalMaxSpeed(60, 70), 0.0f);
  EXPECT_EQ(list.LocalMaxSpeed(20, 10), 0.0f);
  const std::pair<double, double> positions[] = {{-1, 0},    {0, 0},  {0.5, 5}, {1, 10},
                                                 {1.25, 15}, {4, 60}, {9, 60}};
  for (const auto& [puls, sample] : positions) EXPECT_EQ(list.FindSampleForPuls(puls), sample) << puls;
  EXPECT_EQ(list.FindSampleForPuls(std::nan("")), -1.0);

  CDzPulsListe empty;
  empty.InitLastValue(100.0f);
  empty.CalcAverPulsF(1000.0f);
  EXPECT_EQ(empty.Sample2Idx(0), -1);
  EXPECT_EQ(empty.LocalSpeed(3), 600.0f);
  EXPECT_EQ(empty.LocalMaxSpeed(0, 10), 0.0f);
  EXPECT_EQ(empty.FindSampleForPuls(1.0), -1.0);
}

TEST(PulseList, CutsAndMoves) {
  const CDzPulsListe list = Pulses({{10, 1.0f}, {0, 2.0f}, {20, 3.0f}, {30, 4.0f}}, 5);
  const struct {
    std::uint64_t from, to;
    std::vector<std::uint64_t> samples;
    std::vector<float> values;
    bool open;
  } cuts[] = {
      {0, UINT64_MAX, {10, 0, 20, 30, 5}, {1, 2, 3, 4, 4}, true},
      {0, 60, {10, 0, 20, 30}, {1, 2, 3, 4}, false},
      {10, 59, {0, 20, 29}, {2, 3, 4}, true},
      {29, 31, {1, 1}, {3, 4}, true},
      {65, 99, {}, {}, false},
      {9, 9, {}, {}, false},
  };
  for (const auto& c : cuts) {
    CDzPulsListe cut = Pulses({{1, 9.0f}}, 0);
    ASSERT_TRUE(cut.CopyPulsList(list, c.from, c.to));
    EXPECT_EQ(Samples(cut), c.samples);
    EXPECT_EQ(Values(cut), c.values);
    EXPECT_EQ(cut.LastPulsUsable(), !c.open);
    EXPECT_EQ(cut.SampleRate(), 1000.0f);
    CDzPulsListe same = list;
    ASSERT_TRUE(same.CopyPulsList(same, c.from, c.to));
    EXPECT_EQ(Samples(same), c.samples);
  }
  const std::pair<std::int64_t, std::vector<std::uint64_t>> shifts[] = {
      {3, {13, 0, 20, 30, 5}}, {0, {10, 0, 20, 30, 5}}, {-12, {18, 30, 5}}, {INT64_MIN, {}}};
  for (const auto& [samples, expected] : shifts) {
    CDzPulsListe moved = list;
    moved.ShiftPulses(samples);
    EXPECT_EQ(Samples(moved), expected) << samples;
  }
}

TEST(PulseList, ReducesToRevolutionMarks) {
  // A wheel of 8 teeth less 2, from within a revolution to within another; the second revolution is faster.
  CDzPulsListe list =
      Pulses({{8, 64}, {8, 64}, {24, 192}, {4, 32}, {4, 32}, {4, 32}, {4, 32}, {4, 32}, {12, 96}}, 3);
  list.SetPulseProUmdr(8.0f);
  list.ActivatePulsGapCorrection(true, 3.0f);
  EXPECT_EQ(CDzPulsListe(list).ReduceToPostGap(), 0u);  // no gap is marked yet
  // The slow teeth, twice as long as the fast ones, would pass for gaps, too.
  for (const std::size_t gap : {2u, 8u}) {
    list[gap].SetValue(list[gap].Value() / 3.0f);
    list[gap].SetGapCorrected(true);
  }
  EXPECT_EQ(list.ReduceToPostGap(), 2u);
  EXPECT_THAT(Samples(list), ElementsAre(40u, 32u, 3u));
  EXPECT_THAT(Values(list), ElementsAre(64.0f, 32.0f, 96.0f));
  EXPECT_TRUE(list[2].IsOpen() && !list[1].IsOpen());
  EXPECT_EQ(list.PulseProUmdrehung(), 1.0f);
  EXPECT_EQ(CDzPulsListe().ReduceToPostGap(), 0u);
}

TEST(PulseList, AdjustsTheOpenPulse) {
  CDzPulsListe list = Pulses({{10, 10.0f}}, 5);
  EXPECT_FALSE(list.AdjustLastPulse(Pulses({}, 20)));
  EXPECT_TRUE(list.AdjustLastPulse(Pulses({{7, 12.0f}}, 3)));
  EXPECT_THAT(Values(list), ElementsAre(10.0f, 12.0f));
  EXPECT_FALSE(Pulses({{10, 10.0f}}, 0).AdjustLastPulse(list));
}

TEST(PulseList, Exports) {
  CDzPulsListe list = Pulses({{2, 100.0f}, {3, 50.0f}}, 2);  // 600, 1200, 1200 rpm
  list.SetSignalId(4);
  std::vector<float> out(9, -1.0f);
  list.AnalogExport(out.data(), out.size());
  EXPECT_THAT(out, ElementsAre(600, 600, 1200, 1200, 1200, 1200, 1200, 1200, 1200));
  list.AnalogPulsExport(out.data(), out.size());
  EXPECT_THAT(out, ElementsAre(0, 1, 0, 0, 1, 0, 0, 0, 0));
  list.AnalogPulsExport(out.data(), 4);  // the second pulse ends behind
  EXPECT_THAT(out, ElementsAre(0, 1, 0, 0, 1, 0, 0, 0, 0));

  CSigCurve curve;
  ASSERT_TRUE(list.GenerateVisCurve(curve, 14));
  EXPECT_THAT(std::vector<float>(curve.FData(), curve.FData() + 14),
              ElementsAre(600, 600, 600, 600, 1200, 1200, 1200, 1200, 1200, 1200, 1200, 1200, 1200, 1200));
  EXPECT_FLOAT_EQ(curve.XMax(), 0.007f);
  EXPECT_EQ(curve.XUnit().baseunit(), L"s");
  EXPECT_EQ(curve.YUnit().baseunit(), L"rpm");
  ASSERT_TRUE(list.GenerateVisCurve(curve, 2));  // 3.5 samples each
  EXPECT_FLOAT_EQ(curve.FData()[0], (2 * 600.0f + 1.5f * 1200.0f) / 3.5f);
  EXPECT_FLOAT_EQ(curve.FData()[1], 1200.0f);
  EXPECT_FALSE(list.GenerateVisCurve(curve, 0));
  EXPECT_FALSE(list.GenerateVisCurve(curve, UINT64_MAX));
  EXPECT_FALSE(CDzPulsListe().GenerateVisCurve(curve, 10));
  EXPECT_EQ(curve.DLen(), 2u);

  CFueGroeHopListe hops;
  hops.AddEntry(99, 1.0f);
  list.CopyFueGroeHopList(hops);
  ASSERT_EQ(hops.size(), 3u);
  EXPECT_EQ(hops.WertBei(1), 600.0f);
  EXPECT_EQ(hops.WertBei(2), 1200.0f);
  EXPECT_EQ(hops.SignalId(), 4);
  EXPECT_FLOAT_EQ(hops.Average(), (2 * 600.0f + 5 * 1200.0f) / 7);

  list.CalcAverPulsF(1000.0f);
  list.ReverseFactor(-1.0f);
  const FueGroeAnzeigeInfo info(list);
  EXPECT_FLOAT_EQ(info.average, -900.0f);
  EXPECT_EQ(info.slowest, -600.0f);
  EXPECT_EQ(info.fastest, -1200.0f);
  EXPECT_EQ(info.pulses, 2u);
  EXPECT_TRUE(info.moving);
}

TEST(PulseList, DebugOutput) {
  Log log;
  CDzPulsListe list;
  list.DebugOutput(nullptr, 5);
  list = Pulses({{10, 100.0f}, {20, 50.0f}, {30, 25.0f}}, 4);
  list[1].SetHiFlank(false);
  list[2].SetGapCorrected(true);
  list.DebugOutput(L"Titel", 1);
  list.DebugOutput(nullptr, 2);
  EXPECT_THAT(log.lines, ElementsAre(L"16 (keine Pulse)\n", L"16 Titel\n",
                                     L"16   0 [  10]:  100.00 = 600.0 UpM, nrSmp:   10   \u2191  \n",
                                     L"16   0 [  10]:  100.00 = 600.0 UpM, nrSmp:   10   \u2191  \n",
                                     L"16   1 [  30]:   50.00 = 1200.0 UpM, nrSmp:   20   \u2193  \n",
                                     L"16   3 [  64]:   25.00 = 2400.0 UpM, nrSmp:    4   \u2191 f\n"));
}

TEST(HopList, AppendsAveragesAndEnds) {
  CFueGroeHopListe hops;
  EXPECT_EQ(hops.WertBei(0), 0.0f);
  hops.InitLastValue(7.0f);
  EXPECT_FALSE(hops.ListeAbschliessen(0));
  EXPECT_EQ(hops.Average(), 7.0f);
  hops.AddEntry(10, 1.0f);
  hops.AddEntry(30, 5.0f);
  hops += hops;  // a list appended to itself ends
  ASSERT_EQ(hops.size(), 4u);
  EXPECT_EQ(hops[3].StartSample(), 50u);
  EXPECT_EQ(hops.WertBei(39), 5.0f);
  EXPECT_EQ(hops.WertBei(40), 1.0f);
  EXPECT_EQ(hops.WertBei(500), 5.0f);
  EXPECT_FALSE(hops.ListeAbschliessen(80));
  EXPECT_TRUE(hops.ListeAbschliessen(100));
  EXPECT_EQ(hops.Average(), 4.0f);
  EXPECT_EQ(hops[4].NrSamples(), 20u);
  EXPECT_EQ(hops[4].Value(), 5.0f);

  CFueGroeHop hop;
  hop.Set(1.0f, 10);
  hop += hops[1];
  EXPECT_EQ(hop.Value(), 4.0f);
  EXPECT_EQ(hop.Produkt(), 160.0);
  std::vector<std::byte> bytes(hops.length());
  ASSERT_EQ(hops.write(bytes.data()), 24 + 5 * 24);
  CFueGroeHopListe copy;
  EXPECT_LT(copy.read(bytes.data(), bytes.size() - 1), 0);
  ASSERT_EQ(copy.read(bytes.data(), bytes.size()), 24 + 5 * 24);
  EXPECT_EQ(copy[3].StartSample(), 50u);
  EXPECT_EQ(copy.LastValue(), 5.0f);
}

TEST(PulseListArray, HoldsOneListAChannel) {
  CDzPulsListArray block, next;
  ASSERT_TRUE(block.GroesseAendern(2) && next.GroesseAendern(3));
  EXPECT_FALSE(block.GroesseAendern(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_EQ(block.Anzahl(), 2u);
  CDzPulsListe list = Pulses({{10, 10.0f}, {0, 11.0f}}, 5);
  list.SetSignalId(42);
  EXPECT_TRUE(block.ListeUebernehmen(1, list));
  EXPECT_TRUE(block.ListeUebernehmen(1, *block.Liste(1)));
  EXPECT_FALSE(block.ListeUebernehmen(2, list));
  EXPECT_EQ(block.Liste(2), nullptr);
  EXPECT_EQ(block.ListeZuAppSignal(42), block.Liste(1));
  EXPECT_EQ(block.ListeZuAppSignal(43), nullptr);
  next.ListeUebernehmen(1, Pulses({{3, 30.0f}}, 0));
  EXPECT_EQ(block.LetztePulseNachbessern(next), 1u);
  EXPECT_THAT(Values(*block.Liste(1)), ElementsAre(10.0f, 11.0f, 30.0f));
  block.AllesAufAnfang();
  EXPECT_EQ(block.Anzahl(), 2u);
  EXPECT_TRUE(block.Liste(1)->empty());
}

}  // namespace
