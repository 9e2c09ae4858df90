#include "signal/SignalTestSupport.h"
#include "support/PulseText.h"
#include "support/Test.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/pulses/DzPulsListArray.h"
#include "umlauf/pulses/FueGroeAnzeigeInfo.h"

namespace {

constexpr float kGreatest = std::numeric_limits<float>::max();

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
  EXPECT_ALL(Text(list) == "10+12.5 20+25 7o25", list.NrRealPulses() == 2u);
  for (int block = 1; block <= 257; ++block) {  // without a pulse
    list.SetEmpty();
    list.CompletePulsList(5);
    EXPECT_EQ(Text(list), block <= 256 ? "5o25" : "5o0");
  }
  EXPECT_EQ(list.NrRealPulses(), 0u);

  list.ReverseFactor(-3.0f);
  list.ActivatePulsGapCorrection(true, 3.0f);
  list.Reset();
  EXPECT_ALL(list.PulseGapCorrection() == 0.0f, list.NrRealPulses() == 0u, !list.LastPulsUsable(),
             list.ReverseFactor() == 1.0f);
  list.CompletePulsList(0);
  EXPECT_TRUE(list.LastPulsUsable());
}

TEST(PulseList, PulsesAppendedAtOnce) {
  const std::int64_t ends[] = {-3, 2, 2, 9, 12, 20};
  const float values[] = {1.5f, 2.0f, -3.0f, 0.25f, 5.0f};
  for (const bool alone : {true, false}) {
    for (const bool alternating : {false, true}) {
      CDzPulsListe list, plain;
      const std::uint64_t before = alone ? 0 : 7;  // samples of a pulse that is in the list
      for (CDzPulsListe* each : {&list, &plain}) {
        if (before != 0) each->AddEntry(before, 9.0f);
      }
      EXPECT_TRUE(list.AddPulses(ends, values, 5, before + 3, false, alternating));
      for (int k = 0; k < 5; ++k) {
        plain.AddEntry(static_cast<std::uint64_t>(ends[k + 1] - ends[k]), values[k])
            .SetHiFlank(alternating && k % 2 == 1);
      }
      EXPECT_EQ(list.LastValue(), 5.0f);
      for (CDzPulsListe* each : {&list, &plain}) each->CompletePulsList(4);
      ASSERT_EQ(list.size(), plain.size());
      EXPECT_EQ(std::memcmp(list.data(), plain.data(), plain.size() * sizeof(PulsEntry)), 0);
      list[0].SetNrSamples(100);  // what a caller changes and completes again is numbered afresh
      list.CompletePulsList(0);
      EXPECT_EQ(list[1].StartSample(), 100u);
    }
  }
}

TEST(PulseList, Averages) {
  CDzPulsListe list;
  EXPECT_EQ(list.CalcAverPulsF(1000.0f), 0.0f);
  list.InitLastValue(50.0f);  // no pulse in this block: the last value counts
  EXPECT_ALL(list.CalcAverPulsF(1000.0f) == 20.0f, list.AverSpeed() == 1200.0f, list.PulsSpeed(7) == 20.0f,
             list.PulsSpeed(list.end()) == 20.0f);

  list = Pulses({{25, 100.0f}}, 0);
  list.SetPulseProUmdr(4.0f);
  EXPECT_EQ(list.CalcAverPulsF(1000.0f), 10.0f);
  EXPECT_EQ(list.EmptyBlockLimit(), 100u);  // 1000 / (6 / 60) / 4 / 25, a little less, + 1
  list = Pulses({{100, 60001.0f}}, 0);      // below one revolution per minute
  list.SetPulseProUmdr(0.0f);
  EXPECT_ALL(list.CalcAverPulsF(1000.0f) == 0.0f, list.AverPulsT() == kGreatest, list[0].Value() == kGreatest,
             list.EmptyBlockLimit() == std::numeric_limits<std::uint32_t>::max());

  list = Pulses({{10, 10.0f}, {20, 20.0f}}, 30);  // the open entry counts
  EXPECT_FLOAT_EQ(list.CalcAverPulsF(1000.0f), 60.0f);
  EXPECT_ALL(list.TotalSamples() == 60u, list.PulsSpeed(0) == 100.0f,
             list.PulsSpeed(list.begin() + 1) == 50.0f, list.PulsSpeed(3) == 0,
             Pulses({{1, 0.0f}, {1, 0.0f}}, 0).CalcAverPulsF(1000.0f) == 0.0f);
}

TEST(PulseList, GapCorrection) {
  // Of the closed pulses.
  const Cases<const char*, bool, float, std::vector<float>, const char*, float> cases = {
      {"off", false, 3, {10, 10, 30, 10}, "9+10 9+10 9+30 9+10 5o10", 0},
      {"too few pulses", true, 4, {10, 30, 10}, "9+10 9+30 9+10 5o10", 0.25f},
      {"given", true, 4, {10, 40, 11, 12, 13}, "9+10 9g10 9+11 9+12 9g3.25 5o3.25", 0.25f},
      {"found", true, 0, {10, 10, 10, 39, 10}, "9+10 9+10 9+10 9g9.75 9+10 5o10", 0.25f},
      {"found, half a tooth", true, -1, {10, 10, 10, 26}, "9+10 9+10 9+10 9g10.4 5o10.4", 0.4f},
      {"no measure", true, 0, {0, 10, 10, 30}, "9+0 9+10 9+10 9+30 5o30", 0},
      {"endless", true, 0, {1, 1, 1, kGreatest}, "9+1 9+1 9+1 9+3.40282e+38 5o3.40282e+38", 0},
  };
  for (const auto& [name, on, relLength, values, corrected, factor] : cases) {
    SCOPED_TRACE(name);
    Log log;
    std::vector<std::pair<std::uint64_t, float>> pulses;
    for (const float value : values) pulses.emplace_back(9, value);
    CDzPulsListe list = Pulses(pulses, 5);
    list.SetSignalId(17);
    list.ActivatePulsGapCorrection(on, relLength);
    list.CalcAverPulsF(1000.0f);
    EXPECT_EQ(Text(list), corrected);
    EXPECT_FLOAT_EQ(list.PulseGapCorrection(), factor);
    const std::wstring found = L"1 Speed detection for signal [17] calculated puls gap rel. lenght  ";
    std::vector<std::wstring> lines;
    if (relLength <= 0 && factor != 0) lines = {found + (factor == 0.25f ? L"4.00\n" : L"2.50\n")};
    EXPECT_EQ(log.lines, lines);
  }
}

TEST(PulseList, FlatRecord) {
  CDzPulsListe list = Pulses({{10, 12.5f}}, 7);
  list.SetSignalId(-2);
  list.SetAverage(80.0f);
  list.ReverseFactor(-1.0f);
  list[0].SetHiFlank(false);
  list[0].SetGapCorrected(true);
  std::vector<std::byte> bytes(list.length(), std::byte{0xEE});
  ASSERT_EQ(list.write(bytes.data()), static_cast<std::int64_t>(bytes.size()));
  EXPECT_EQ(Hex(bytes),
            "feffffff00007a440000a042000048410200000000000000"                  // header
            "0a00000000000000000048410000000000000000000000000000010000000000"  // closed entry
            "070000000000000000004841000000000a000000000000000101000000000000"  // open entry
            "01000000ffffffff00000000000080bf");                                // trailer
  CDzPulsListe copy;
  ASSERT_EQ(copy.read(bytes.data()), static_cast<std::int64_t>(bytes.size()));
  EXPECT_EQ(copy.AssociatedListId(), 1);  // -1 comes back so
  copy.SetAssociatedList(-1);
  std::vector<std::byte> again(copy.length());
  copy.write(again.data());
  EXPECT_EQ(again, bytes);

  for (std::size_t n = 0; n < bytes.size(); ++n) {
    const std::vector<std::byte> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n));
    CDzPulsListe unchanged = Pulses({{3, 4.0f}}, 0);
    ASSERT_TRUE(unchanged.read(cut.data(), n) < 0 && Text(unchanged) == "3+4") << n;
  }
  bytes[23] = std::byte{0x10};  // more entries than any memory holds
  EXPECT_ALL(copy.read(bytes.data()) < 0, copy.size() == 2,
             CFueGroeListe<PulsEntry>(copy).length() == 24u + 2 * 32);
}

TEST(PulseList, LooksUpSamples) {
  CDzPulsListe list = Pulses({{10, 100.0f}, {20, -50.0f}, {20, 200.0f}}, 10);  // 600, -1200, 300, 300 rpm
  list.ReverseFactor(-1.0f);
  const Cases<std::uint64_t, std::int64_t, std::int64_t, float, float> cases = {
      {0, 0, 0, -600, 100},  {9, 0, 0, -600, 100},   {10, 1, 1, 1200, -50},         {29, 1, 1, 1200, -50},
      {59, 3, 3, -300, 200}, {60, 3, -1, -300, 200}, {UINT64_MAX, 3, -1, -300, 200}};
  for (const auto& [sample, index, found, speed, time] : cases) {
    EXPECT_EQ(list.Sample2Idx(sample), index) << sample;
    EXPECT_EQ(list.FindPulsForSample(sample), found) << sample;
    EXPECT_EQ(list.LocalSpeed(sample), speed) << sample;
    EXPECT_EQ(list.LocalRevTime(sample), time) << sample;
  }
  const std::tuple<std::uint64_t, std::uint64_t, float> spans[] = {
      {0, UINT64_MAX, 1200}, {0, 10, -600}, {9, 11, 1200}, {60, 70, 0}, {20, 10, 0}};
  for (const auto& [from, to, fastest] : spans) EXPECT_EQ(list.LocalMaxSpeed(from, to), fastest) << from;
  const std::pair<double, double> positions[] = {{-1, 0}, {0.5, 5}, {1, 10}, {1.25, 15}, {4, 60}, {9, 60}};
  for (const auto& [puls, sample] : positions) EXPECT_EQ(list.FindSampleForPuls(puls), sample) << puls;
  EXPECT_EQ(list.FindSampleForPuls(std::nan("")), -1.0);

  CDzPulsListe empty;
  empty.InitLastValue(100.0f);
  empty.CalcAverPulsF(1000.0f);
  EXPECT_ALL(empty.Sample2Idx(0) == -1, empty.LocalSpeed(3) == 600, empty.FindSampleForPuls(1) == -1);
}

TEST(PulseList, CutsAndMoves) {
  const CDzPulsListe list = Pulses({{10, 1.0f}, {0, 2.0f}, {20, 3.0f}, {30, 4.0f}}, 5);
  const std::tuple<std::uint64_t, std::uint64_t, std::string> cuts[] = {
      {0, UINT64_MAX, "10+1 0+2 20+3 30+4 5o4"},
      {0, 60, "10+1 0+2 20+3 30+4"},
      {10, 59, "0+2 20+3 29o4"},
      {29, 31, "1+3 1o4"},
      {65, 99, ""},
      {9, 9, ""}};
  for (const auto& [from, to, pulses] : cuts) {
    CDzPulsListe cut = Pulses({{1, 9.0f}}, 0);
    CDzPulsListe same = list;
    ASSERT_TRUE(cut.CopyPulsList(list, from, to) && same.CopyPulsList(same, from, to));
    EXPECT_ALL(Text(cut) == pulses, Text(same) == pulses,
               cut.LastPulsUsable() == (pulses.find('o') == std::string::npos));
  }
  const std::pair<std::int64_t, const char*> shifts[] = {
      {3, "13+1 0+2 20+3 30+4 5o4"}, {0, "10+1 0+2 20+3 30+4 5o4"}, {-12, "18+3 30+4 5o4"}, {INT64_MIN, ""}};
  for (const auto& [samples, expected] : shifts) {
    CDzPulsListe moved = list;
    moved.ShiftPulses(samples);
    EXPECT_EQ(Text(moved), expected) << samples;
  }
}

TEST(PulseList, ReducesToRevolutionMarks) {
  // A wheel of 8 teeth less 2, from within a revolution to within another, which is faster.
  CDzPulsListe list =
      Pulses({{8, 64}, {8, 64}, {24, 64}, {4, 32}, {4, 32}, {4, 32}, {4, 32}, {4, 32}, {12, 32}}, 3);
  list.SetPulseProUmdr(8.0f);
  list.ActivatePulsGapCorrection(true, 3.0f);
  EXPECT_EQ(CDzPulsListe(list).ReduceToPostGap(), 0u);  // no gap is marked yet
  list[1].SetValue(44.0f);                              // so that the gap's threefold weight shows
  for (const std::size_t gap : {2u, 8u}) list[gap].SetGapCorrected(true);
  EXPECT_ALL(list.ReduceToPostGap() == 2u, Text(list) == "40+60 32+32 3o32", list.PulseProUmdrehung() == 1.0f,
             CDzPulsListe().ReduceToPostGap() == 0u);
}

TEST(PulseList, Exports) {
  CDzPulsListe list = Pulses({{2, 100.0f}, {3, 50.0f}}, 2);  // 600, 1200, 1200 rpm
  list.SetSignalId(4);
  std::vector<float> out(9, -1.0f);
  list.AnalogExport(out.data(), out.size());
  EXPECT_THAT(out, ElementsAre(600, 600, 1200, 1200, 1200, 1200, 1200, 1200, 1200));
  list.AnalogPulsExport(out.data(), out.size());
  EXPECT_THAT(out, ElementsAre(0, 1, 0, 0, 1, 0, 0, 0, 0));

  CSigCurve curve;
  ASSERT_TRUE(list.GenerateVisCurve(curve, 7));
  EXPECT_THAT(Values(curve), ElementsAre(600, 600, 1200, 1200, 1200, 1200, 1200));
  EXPECT_FLOAT_EQ(curve.XMax(), 0.007f);
  EXPECT_ALL(curve.XUnit().baseunit() == L"s", curve.YUnit().baseunit() == L"rpm");
  ASSERT_TRUE(list.GenerateVisCurve(curve, 2));  // 3.5 samples each
  EXPECT_THAT(Values(curve), ElementsAre(testing::FloatEq((2 * 600 + 1.5f * 1200) / 3.5f), 1200));
  EXPECT_ALL(!list.GenerateVisCurve(curve, 0), !list.GenerateVisCurve(curve, UINT64_MAX),
             !CDzPulsListe().GenerateVisCurve(curve, 10), curve.DLen() == 2u);

  CFueGroeHopListe hops;
  hops.AddEntry(99, 1.0f);
  list.CopyFueGroeHopList(hops);
  EXPECT_ALL(Text(hops) == "2:600 3:1200 2:1200", hops.SignalId() == 4);
  EXPECT_FLOAT_EQ(hops.Average(), (2 * 600.0f + 5 * 1200.0f) / 7);

  list.CalcAverPulsF(1000.0f);
  list.ReverseFactor(-1.0f);
  const FueGroeAnzeigeInfo info(list);
  EXPECT_FLOAT_EQ(info.average, -900.0f);
  EXPECT_ALL(info.slowest == -600.0f, info.fastest == -1200.0f, info.pulses == 2, info.moving);
}

TEST(PulseList, DebugOutput) {
  Log log;
  CDzPulsListe list;
  list.DebugOutput(nullptr, 5);
  list = Pulses({{10, 100.0f}, {20, 50.0f}, {30, 25.0f}}, 4);
  list[1].SetHiFlank(false);
  list[2].SetGapCorrected(true);
  list.DebugOutput(L"Titel", 2);
  EXPECT_THAT(log.lines, ElementsAre(L"16 (keine Pulse)\n", L"16 Titel\n",
                                     L"16   0 [  10]:  100.00 = 600.0 UpM, nrSmp:   10   \u2191  \n",
                                     L"16   1 [  30]:   50.00 = 1200.0 UpM, nrSmp:   20   \u2193  \n",
                                     L"16   3 [  64]:   25.00 = 2400.0 UpM, nrSmp:    4   \u2191 f\n"));
}

TEST(HopList, AppendsAveragesAndEnds) {
  CFueGroeHopListe hops;
  EXPECT_EQ(hops.WertBei(0), 0.0f);
  hops.InitLastValue(7.0f);
  EXPECT_ALL(!hops.ListeAbschliessen(0), hops.Average() == 7.0f);
  hops.AddEntry(10, 1.0f);
  hops.AddEntry(30, 5.0f);
  hops += hops;  // a list appended to itself ends
  EXPECT_ALL(Text(hops) == "10:1 30:5 10:1 30:5", hops.WertBei(39) == 5.0f, hops.WertBei(40) == 1.0f,
             hops.WertBei(500) == 5.0f, !hops.ListeAbschliessen(80), hops.ListeAbschliessen(100),
             hops.Average() == 4.0f, Text(hops) == "10:1 30:5 10:1 30:5 20:5");

  CFueGroeHop hop;
  hop.Set(1.0f, 10);
  hop += hops[1];
  EXPECT_ALL(hop.Value() == 4.0f, hop.Produkt() == 160.0, hops.length() == 24u + 5 * 24);
}

TEST(PulseListArray, HoldsOneListAChannel) {
  CDzPulsListArray block, next;
  ASSERT_TRUE(block.GroesseAendern(2) && next.GroesseAendern(3));
  EXPECT_FALSE(block.GroesseAendern(std::numeric_limits<std::uint64_t>::max()));
  CDzPulsListe list = Pulses({{10, 10.0f}, {0, 11.0f}}, 5);
  list.SetSignalId(42);
  EXPECT_ALL(block.ListeUebernehmen(1, list), block.ListeUebernehmen(1, *block.Liste(1)),
             !block.ListeUebernehmen(2, list), block.Liste(2) == nullptr,
             block.ListeZuAppSignal(43) == nullptr, block.ListeZuAppSignal(42) == block.Liste(1));
  EXPECT_EQ(block.LetztePulseNachbessern(next), 0u);  // the next block has no pulse yet
  next.ListeUebernehmen(1, Pulses({{3, 30.0f}}, 0));
  EXPECT_ALL(block.LetztePulseNachbessern(next) == 1u, Text(*block.Liste(1)) == "10+10 0+11 5o30");
  block.AllesAufAnfang();
  EXPECT_ALL(block.Anzahl() == 2, block.Liste(1)->empty());
}

}  // namespace
