#include <sstream>

#include "support/PulseText.h"
#include "support/Test.h"
#include "umlauf/encoder/DzPulsTisDetector.h"
#include "umlauf/platform/ui/UserInterface.h"

namespace {

using D = CDzPulsTisDetector;
using ETisMode = CYChannelDescriptionInterface::ETisMode;

struct Case {
  const char* name;
  int mode;
  unsigned rate, pulsesPerRev;
  void (*set)(D&);
  const char* words;     ///< "." no edge, | next block; see `Word`
  const char* expected;  ///< pulses of each block; e errors, if any
};

/// Mode 1: flags (hexadecimal):ticks; mode 4: edges:position; quadrature modes: counter:time field.
ULONG Word(int mode, const std::string& text) {
  if (text == ".") return 0;
  const ULONG first = static_cast<ULONG>(std::stoul(text, nullptr, mode == 1 ? 16 : 10));
  const ULONG second = static_cast<ULONG>(std::stoul(text.substr(text.find(':') + 1)));
  if (mode == 1) return (first | second << 8) << 16;
  return mode == 4 ? (first << 12 | second << 1) << 16 : first << 16 | second << 1 | 0xF001;
}

std::vector<ULONG> Words(int mode, const std::string& text) {
  std::vector<ULONG> words;
  std::istringstream in(text);
  for (std::string token; in >> token;) words.push_back(Word(mode, token));
  return words;
}

std::string Decode(const Case& c, bool lowWord, unsigned stride) {
  D detector(ETisMode::tisNone);
  detector.SetMinPulsSamples(0);
  c.set(detector);
  CDzPulsListe list;
  // The words before the second start show that nothing outlives a restart.
  for (int start = 0; start < 2; ++start) {
    detector.Restart(c.rate, c.pulsesPerRev, lowWord, static_cast<ETisMode>(c.mode));
    if (start == 0) detector.PulseSuchen(std::vector<ULONG>(70, 0x9AA09AA0u).data(), 70, 1, list);
    list.Reset();
  }
  std::string text, block;
  unsigned errors = 0;
  for (std::istringstream in(c.words); std::getline(in, block, '|');) {
    const std::vector<ULONG> halves = Words(c.mode, block);
    std::vector<ULONG> words(halves.size() * stride, 0xFFFFFFFFu);
    for (std::size_t i = 0; i < halves.size(); ++i)
      words[i * stride] = lowWord ? halves[i] >> 16 | 0xFFFF0000u : halves[i];
    const unsigned blockErrors = detector.PulseSuchen(words.data(), halves.size(), stride, list);
    errors += blockErrors;
    text.append(text.empty() ? "" : " | ").append(Text(list));
    if (blockErrors != 0) text.append(" ").append(std::to_string(blockErrors)).append("e");
  }
  EXPECT_ALL(detector.NumFehlerbits() == errors, list.SampleRate() == static_cast<float>(c.rate));
  return text;
}

void Nothing(D&) {}
void Divider3(D& d) { d.SetPulsteiler(3); }
void Minimum2(D& d) { d.SetMinPulsSamples(2); }
void AllowZero(D& d) { d.SetAllowZeroLenPulses(true); }

// clang-format off
const Case kHalfWordCases[] = {
    // Mode 1: 256 ticks a sample at 50 kHz, 64 at 200 kHz. The first pulse starts with the first block.
    {"edges at 1.5 and 4.25", 1, 50000, 2, Nothing, ". A0:128 . . A0:64 .", "1+3 3+5.5 2o5.5"},
    {"the first sample of a block ends no pulse", 1, 50000, 1, Nothing,
     ". A0:128 | A0:0 . A0:64", "1+1.5 1o1.5 | 2+1.375 1o1.375"},
    {"zero length allowed", 1, 50000, 1, AllowZero, ". A0:128 | A0:64", "1+1.5 1o1.5 | 0+0.75 1o0.75"},
    {"both bits make an edge, the error bit counts", 1, 50000, 1, Nothing,
     "80:9 20:9 5F:9 E0:128 FF:0", "3+3.5 1+0.5 1o0.5 2e"},
    {"edges at 3.0, 3.5 and 5.0", 1, 200000, 1, Nothing, ". A0:128 . A0:32 . A0:0", "3+3 2+1 1o1"},
    {"the same, zero length allowed", 1, 200000, 1, AllowZero,
     ". A0:128 . A0:32 . A0:0", "3+3 0+0.5 2+1.5 1o1.5"},
    {"times behind their samples: 4.984, back to 2, past the end", 1, 200000, 1, Nothing,
     ". A0:255 A0:0 . . A0:192 | . . . A0:0", "4+4.98438 4+1.50781 | 3+1 1o1"},
    {"every third edge, counted over blocks", 1, 50000, 6, Divider3,
     ". A0:0 . A0:0 | . A0:128 . A0:0 A0:0 A0:0", "4o3.40282e+38 | 1+11 4+7 1o7"},
    {"minimum of this block's samples", 1, 50000, 1, [](D& d) { d.SetMinPulsTime(3.1f / 50000); },
     ". . A0:0 . A0:0 . . A0:0 | . . A0:0 A0:0", "4+2 3+3 1o3 | 3+2 1o2"},
    // Mode 4: the first edge starts the first pulse. 2048 parts a sample at 50 kHz.
    {"edges at 0.5, 2.25 and 4.5", 4, 50000, 2, Nothing,
     "1:1024 . 1:512 . 2:1024 . | . . 15:1024", "3+3.5 2+2.25 1o2.25 | 3+0.533333 1e"},
    {"1024 parts at 100 kHz; the divider multiplies", 4, 100000, 1, Divider3, "1:256 . 1:512", "3+6.75"},
    {"512 parts above", 4, 100001, 1, Nothing, "1:0 . 1:128", "3+2.25"},
    {"an edge where no sample is left ends its pulse without an entry", 4, 50000, 1, Nothing,
     "1:0 1:1024 1:0 1:1024 | 1:0 . 1:0", "2+1.5 2+1.5 | 2+2 1o2"},
    {"minimum of this block's samples", 4, 50000, 1, Minimum2,
     "1:0 1:0 1:0 | . 1:0 1:0", "2+1 1o1 | 2+1.5 1o1.5"},
    {"a pulse over the border", 4, 50000, 1, Minimum2, "1:0 1:0 | . . 1:0", "2o3.40282e+38 | 2+2 1o2"},
    {"a time past the end", 4, 200000, 1, Nothing, "1:0 1:2047 1:0 1:0", "5+4.99805"},
};

// Four counts a revolution; the first change starts the first pulse.
const Case kQuadratureCases[] = {
    {"edges at 1.5, 3.25 and, backward, 5.0 and 7.0", 0, 50000, 0, Nothing,
     "100:9 101:1024 101:0 103:512 103:7 102:0 102:0 | 101:0", "4+3.5 1+-7 2o-7 | 0+-8 1o-8"},
    {"there and back is no edge; the divider multiplies", 0, 50000, 0, Divider3,
     "0:0 1:0 2:1024 3:0 2:0 1:0", "3+18 2+-30 1o-30"},
    {"the counter wraps around", 0, 50000, 0, Nothing, "65534:0 65535:0 1:0 65533:0", "2+2 1+-1 1o-1"},
    {"less than a sample apart", 0, 50000, 0, Nothing, "0:0 1:0 2:1024 3:512 | 4:512 4:0", "3+6 1o6 | 1+3.5 1o3.5"},
    {"minimum of this block's samples", 0, 50000, 0, Minimum2,
     "0:0 1:0 2:0 3:0 4:0 5:0 | 6:0 7:0", "2+4 3+4 1o4 | 2o4"},
};
// clang-format on

TEST(TisDetector, FindsTheAnnotatedEdges) {
  for (const Case& c : kHalfWordCases) {
    EXPECT_EQ(Decode(c, false, 1), c.expected) << c.name;
    EXPECT_EQ(Decode(c, true, 3), c.expected) << c.name << ", low word";
  }
  for (Case c : kQuadratureCases) {
    for (const int mode : {2, 3, 5, 6}) {
      const bool fourfold = mode == 2 || mode == 5;
      c.mode = mode;
      c.pulsesPerRev = fourfold ? 1 : 4;
      EXPECT_EQ(Decode(c, false, fourfold ? 1 : 2), c.expected) << c.name << ", mode " << mode;
    }
  }
}

TEST(TisDetector, LongStreamsJoinWithoutASeam) {
  constexpr std::size_t kWords = 20000, kPeriod = 37;
  // A phase of half a sample comes late; the counter comes from the place.
  const Cases<int, unsigned, unsigned, unsigned, const char*> streams = {
      {1, 50000, 4, 1, "A0:128"}, {1, 200000, 4, 3, "A0:32"},  {4, 96000, 4, 1, "1:512"},
      {2, 50000, 1, 1, "0:1024"}, {3, 100000, 4, 1, "0:1024"}, {5, 44100, 1, 1, "0:1024"},
      {6, 200000, 4, 1, "0:256"}};
  for (const auto& [mode, rate, pulsesPerRev, divider, edge] : streams) {
    std::vector<ULONG> words;
    for (std::size_t i = 0; i < kWords; ++i) {
      const ULONG counter =
          mode == 1 || mode == 4 ? 0 : static_cast<ULONG>(65300 + (i + kPeriod - 5) / kPeriod) << 16;
      words.push_back(counter + (i % kPeriod == 5 ? Word(mode, edge) : 0));
    }
    for (unsigned seed = 0; seed < 6; ++seed) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << ", rate " << rate << ", seed " << seed);
      // First in one block, with a minimum that merges two edges; then without, in random blocks.
      const unsigned merged = seed == 0 && divider == 1 ? 2 : 1;
      std::mt19937 split(seed);
      D detector(ETisMode::tisNone);
      detector.SetAllowZeroLenPulses(true);
      detector.SetPulsteiler(divider);
      detector.Restart(rate, pulsesPerRev, false, static_cast<ETisMode>(mode));
      detector.SetMinPulsSamples(seed == 0 ? 40 : 0);
      CDzPulsListe list;
      std::uint64_t samples = 0, pulses = 0;
      for (std::size_t done = 0, n = 0; done < kWords; done += n) {
        n = seed == 0 ? kWords
                      : std::min<std::size_t>(kWords - done, split() % (split() % 2 == 0 ? 9 : 3000) + 1);
        detector.PulseSuchen(words.data() + done, n, 1, list);
        for (const PulsEntry& entry : list) {
          samples += entry.NrSamples();
          if (entry.IsOpen()) continue;
          if (++pulses > 1) {  // the first one starts with the stream or its first edge
            ASSERT_FLOAT_EQ(entry.Value(), 4.0f * kPeriod) << done;
            ASSERT_EQ(samples, kPeriod * divider * merged) << done;
          }
          samples = 0;
        }
      }
      EXPECT_EQ(pulses, (kWords / kPeriod + (mode == 1 ? 1 : 0)) / divider / merged);
    }
  }
}

class Messages : public CUserInterface {
 public:
  Messages() { Set(this); }
  ~Messages() override { Set(nullptr); }
  void ShowMessage(const CString& text, Icon icon) override {
    shown.push_back((icon == Icon::error ? "" : "no error: ") + text.ToUtf8());
  }
  std::vector<std::string> Take() { return std::exchange(shown, {}); }

 private:
  std::vector<std::string> shown;
};

TEST(TisDetector, TellsOnceWhyItCannotDecode) {
  using Texts = std::vector<std::string>;
  Messages messages;
  const std::vector<ULONG> words = {0, 0xA0u << 16, 0, 0xA0u << 16};
  CDzPulsListe list;
  list.SetSignalId(17);
  D detector(ETisMode::tisNone);
  const auto decode = [&] {
    list.AddEntry(1, 1.0f);
    list.SetAverage(1.0f);
    EXPECT_ALL(detector.PulseSuchen(words.data(), words.size(), 1, list) == 0u, list.empty(),
               list.Average() == 0.0f);
    return messages.Take();
  };
  EXPECT_EQ(decode(), Texts{"Tis Datastream Decoder: data format not set for signal id 17."});
  EXPECT_EQ(decode(), Texts{});
  detector.SetMode(static_cast<ETisMode>(7));
  EXPECT_EQ(decode(), Texts{});  // one message for all reasons
  detector.Restart(50000, 1, false, ETisMode::tisNone);
  EXPECT_EQ(decode(),
            Texts{"Tis Datastream Decoder: data format ETisMode::7 for signal id 17 not implemented."});
  detector.Restart(44100, 1, false, ETisMode::tisStandard);
  EXPECT_EQ(decode(), Texts{"CDzPulsTisDetector::PulseSuchenStandardTis(): unsupported sampling rate 44100 "
                            "for signal id 17."});
}

TEST(TisDetector, ClockGoesWithTheSampleRate) {
  const std::pair<unsigned, double> clocks[] = {
      {12000, 6.144e6}, {24000, 6.144e6},  {12500, 6.4e6},   {25000, 6.4e6},     {48000, 12.288e6},
      {50000, 12.8e6},  {96000, 12.288e6}, {100000, 12.8e6}, {192000, 12.288e6}, {200000, 12.8e6}};
  const std::vector<ULONG> words = Words(1, ". . A0:50");
  for (const auto& [rate, clock] : clocks) {
    D detector(ETisMode::tisStandard);
    detector.Restart(rate, 1, false, ETisMode::tisNone);
    detector.SetMinPulsSamples(0);
    CDzPulsListe list;
    detector.PulseSuchen(words.data(), words.size(), 1, list);
    EXPECT_NEAR(static_cast<double>(list[0].Value()), 2 + 50 * rate / clock, 1e-4) << rate;
  }
}

TEST(TisDetector, MinimumLengthInSamplesAndSeconds) {
  D detector(ETisMode::tisStandard);
  EXPECT_EQ(detector.MinPulsSamples(), 50u);
  detector.Restart(12500, 4, false, ETisMode::tisNone);
  EXPECT_ALL(detector.Mode() == ETisMode::tisStandard, detector.MinPulsSamples() == 12u);
  detector.SetMinPulsSamples(2);
  EXPECT_FLOAT_EQ(detector.MinPulsTime(), 2 / 12500.0f);
  for (const float seconds : {1e30f, -1.0f, NAN}) {  // saturates
    detector.SetMinPulsTime(seconds);
    EXPECT_EQ(detector.MinPulsSamples(), seconds > 0 ? ~0u : 0u);
  }
}

TEST(TisDetector, DisplayKeepsEveryEdge) {
  const Cases<int, float, const char*, const char*, float> cases = {
      {1, 3.0f, "1:0 A0:1 2:0 3:0 4:0 5:0 A0:3 A0:2", "A0:1 5:0", 2.0f / 3},
      {1, 2.5f, "1:0 2:0 3:0 A0:1 4:0 5:0 6:0", "3:0 A0:1", 0.8f},
      {4, 2.0f, "1:3 0:1 0:2 0:3", "1:3 0:3", 0.0f},
      {5, 2.0f, "7:0 7:1 8:1 8:2 8:3 8:4", "7:1 8:1 8:4", 0.0f},
      {7, 2.0f, "7:0 8:0 9:0 10:0", "8:0 10:0", 0.0f},
      {1, 0.5f, "1:0 A0:0 2:0", "1:0 A0:0 2:0", 0.0f},
      {1, 100.0f, "1:0 A0:0", "", 0.02f},
      {1, NAN, "1:0 A0:0", "", 0.0f},
      {1, 0.0f, "1:0 A0:0", "", 0.0f},
  };
  for (const auto& [mode, ratio, words, expectedOut, expectedPhase] : cases) {
    for (const unsigned block : {100u, 1u}) {
      D detector(static_cast<ETisMode>(mode));
      const std::vector<ULONG> in = Words(mode, words);
      std::vector<ULONG> out;
      float phase = 0.0f;
      for (std::size_t done = 0; done < in.size(); done += block) {
        const auto n = static_cast<unsigned>(std::min<std::size_t>(block, in.size() - done));
        ULONG part[9];
        out.insert(out.end(), part, part + detector.Downsampling(in.data() + done, n, part, 9, ratio, phase));
      }
      EXPECT_EQ(out, Words(mode, expectedOut)) << words << ", blocks of " << block;
      EXPECT_NEAR(phase, expectedPhase, 1e-6);
    }
  }
  const ULONG in[4] = {};
  ULONG out[2] = {0, 77};
  float phase = -1.0f, start = 0.0f;
  EXPECT_EQ(D(ETisMode::tisStandard).Downsampling(in, 4, out, 1, 2.0f, phase), 0u);
  EXPECT_EQ(D(ETisMode::tisStandard).Downsampling(in, 4, out, 1, 2.0f, start), 1u);
  EXPECT_EQ(out[1], 77u);  // no room, no output
}

}  // namespace
