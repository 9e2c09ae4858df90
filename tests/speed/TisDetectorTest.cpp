#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>
#include <utility>

#include "speed/TisStream.h"
#include "umlauf/platform/framework/UserInterface.h"
#include "umlauf/speed/DzPulsListe.h"

namespace {

using D = CDzPulsTisDetector;

struct Case {
  const char* name;
  int mode;
  unsigned rate, pulsesPerRev;
  void (*set)(D&);
  const char* words;     ///< "." no edge, | next block; see `Word`
  const char* expected;  ///< samples:value of each pulse, o open; e errors of the block, if any
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

std::string Text(const CDzPulsListe& list, unsigned errors) {
  std::string text;
  char buffer[64];
  for (const PulsEntry& entry : list) {
    std::snprintf(buffer, sizeof buffer, "%d:%.6g%s ", static_cast<int>(entry.NrSamples()),
                  static_cast<double>(entry.Value()), entry.IsOpen() ? "o" : "");
    text += buffer;
  }
  return errors == 0 ? text : text + std::to_string(errors) + "e ";
}

std::string Decode(const Case& c, bool lowWord, unsigned stride) {
  D detector(ETisMode::tisNone);
  detector.SetMinPulsSamples(0);
  c.set(detector);
  detector.Restart(c.rate, c.pulsesPerRev, lowWord, static_cast<ETisMode>(c.mode));
  CDzPulsListe list;
  // The words before the second start show that nothing outlives a restart.
  detector.PulseSuchen(std::vector<ULONG>(70, 0x9AA09AA0u).data(), 70, 1, list);
  list = CDzPulsListe();
  detector.Restart(c.rate, c.pulsesPerRev, lowWord, static_cast<ETisMode>(c.mode));
  std::string text, block;
  unsigned errors = 0;
  for (std::istringstream in(c.words); std::getline(in, block, '|');) {
    const std::vector<ULONG> halves = Words(c.mode, block);
    std::vector<ULONG> words(halves.size() * stride, 0xFFFFFFFFu);
    for (std::size_t i = 0; i < halves.size(); ++i)
      words[i * stride] = lowWord ? halves[i] >> 16 | 0xFFFF0000u : halves[i];
    const unsigned blockErrors = detector.PulseSuchen(words.data(), halves.size(), stride, list);
    errors += blockErrors;
    text += (text.empty() ? "" : "| ") + Text(list, blockErrors);
  }
  EXPECT_EQ(detector.NumFehlerbits(), errors);
  EXPECT_EQ(list.SampleRate(), static_cast<float>(c.rate));
  text.pop_back();
  return text;
}

void Nothing(D&) {}
void Divider3(D& d) { d.SetPulsteiler(3); }
void Minimum2(D& d) { d.SetMinPulsSamples(2); }
void AllowZero(D& d) { d.SetAllowZeroLenPulses(true); }

// clang-format off
const Case kHalfWordCases[] = {
    // Mode 1: 256 ticks a sample at 50 kHz, 64 at 200 kHz. The first pulse starts with the first block.
    {"edges at 1.5 and 4.25", 1, 50000, 2, Nothing, ". A0:128 . . A0:64 .", "1:3 3:5.5 2:5.5o"},
    {"the first sample of a block ends no pulse", 1, 50000, 1, Nothing,
     ". A0:128 | A0:0 . A0:64", "1:1.5 1:1.5o | 2:1.375 1:1.375o"},
    {"zero length allowed", 1, 50000, 1, AllowZero, ". A0:128 | A0:64", "1:1.5 1:1.5o | 0:0.75 1:0.75o"},
    {"both bits make an edge, the error bit counts", 1, 50000, 1, Nothing,
     "80:9 20:9 5F:9 E0:128 FF:0", "3:3.5 1:0.5 1:0.5o 2e"},
    {"edges at 3.0, 3.5 and 5.0", 1, 200000, 1, Nothing, ". A0:128 . A0:32 . A0:0", "3:3 2:1 1:1o"},
    {"the same, zero length allowed", 1, 200000, 1, AllowZero,
     ". A0:128 . A0:32 . A0:0", "3:3 0:0.5 2:1.5 1:1.5o"},
    {"times behind their samples: 4.984, back to 2, past the end", 1, 200000, 1, Nothing,
     ". A0:255 A0:0 . . A0:192 | . . . A0:0", "4:4.98438 4:1.50781 | 3:1 1:1o"},
    {"every third edge, counted over blocks", 1, 50000, 6, Divider3,
     ". A0:0 . A0:0 | . A0:128 . A0:0 A0:0 A0:0", "4:3.40282e+38o | 1:11 4:7 1:7o"},
    {"minimum of this block's samples", 1, 50000, 1, [](D& d) { d.SetMinPulsTime(3.1f / 50000); },
     ". . A0:0 . A0:0 . . A0:0 | . . A0:0 A0:0", "4:2 3:3 1:3o | 3:2 1:2o"},
    // Mode 4: the first edge starts the first pulse. 2048 parts a sample at 50 kHz.
    {"edges at 0.5, 2.25 and 4.5", 4, 50000, 2, Nothing,
     "1:1024 . 1:512 . 2:1024 . | . . 15:1024", "3:3.5 2:2.25 1:2.25o | 3:0.533333 1e"},
    {"1024 parts at 100 kHz; the divider multiplies", 4, 100000, 1, Divider3, "1:256 . 1:512", "3:6.75"},
    {"512 parts above", 4, 100001, 1, Nothing, "1:0 . 1:128", "3:2.25"},
    {"an edge where no sample is left ends its pulse without an entry", 4, 50000, 1, Nothing,
     "1:0 1:1024 1:0 1:1024 | 1:0 . 1:0", "2:1.5 2:1.5 | 2:2 1:2o"},
    {"minimum of this block's samples", 4, 50000, 1, Minimum2,
     "1:0 1:0 1:0 | . 1:0 1:0", "2:1 1:1o | 2:1.5 1:1.5o"},
    {"a time past the end", 4, 200000, 1, Nothing, "1:0 1:2047 1:0 1:0", "5:4.99805"},
};

// Four counts a revolution; the first change starts the first pulse.
const Case kQuadratureCases[] = {
    {"edges at 1.5, 3.25 and, backward, 5.0 and 7.0", 0, 50000, 0, Nothing,
     "100:9 101:1024 101:0 103:512 103:7 102:0 102:0 | 101:0", "4:3.5 1:-7 2:-7o | 0:-8 1:-8o"},
    {"there and back is no edge; the divider multiplies", 0, 50000, 0, Divider3,
     "0:0 1:0 2:1024 3:0 2:0 1:0", "3:18 2:-30 1:-30o"},
    {"the counter wraps around", 0, 50000, 0, Nothing, "65534:0 65535:0 1:0 65533:0", "2:2 1:-1 1:-1o"},
    {"less than a sample apart", 0, 50000, 0, Nothing, "0:0 1:0 2:1024 3:512 4:512", "3:6 2:3.5"},
    {"minimum of this block's samples", 0, 50000, 0, Minimum2,
     "0:0 1:0 2:0 3:0 4:0 5:0 | 6:0 7:0", "2:4 3:4 1:4o | 2:4o"},
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
    EXPECT_EQ(detector.PulseSuchen(words.data(), words.size(), 1, list), 0u);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.Average(), 0.0f);
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
  for (const unsigned rate : {12000, 12500, 24000, 25000, 48000, 50000, 96000, 100000, 192000, 200000}) {
    detector.Restart(rate, 1, false, ETisMode::tisNone);
    detector.SetMinPulsSamples(0);
    detector.PulseSuchen(words.data(), words.size(), 1, list);
    EXPECT_EQ(list.NrRealPulses(), 2u) << rate;
  }
  EXPECT_EQ(messages.Take(), Texts{});
}

TEST(TisDetector, MinimumLengthInSamplesAndSeconds) {
  D detector(ETisMode::tisStandard);
  EXPECT_EQ(detector.MinPulsSamples(), 50u);
  detector.Restart(12500, 4, false, ETisMode::tisNone);
  EXPECT_EQ(detector.Mode(), ETisMode::tisStandard);
  EXPECT_EQ(detector.MinPulsSamples(), 12u);
  detector.SetMinPulsSamples(2);
  EXPECT_FLOAT_EQ(detector.MinPulsTime(), 2 / 12500.0f);
  for (const float seconds : {1e30f, -1.0f, NAN}) {  // saturates
    detector.SetMinPulsTime(seconds);
    EXPECT_EQ(detector.MinPulsSamples(), seconds > 0 ? ~0u : 0u);
  }
}

TEST(TisDetector, DisplayKeepsEveryEdge) {
  const struct {
    int mode;
    float ratio;
    const char *in, *out;
    float phase;
  } cases[] = {
      {1, 3.0f, "1:0 A0:1 2:0 3:0 4:0 5:0 A0:3 A0:2", "A0:1 5:0", 2.0f / 3},
      {1, 2.5f, "1:0 2:0 3:0 A0:1 4:0 5:0 6:0", "3:0 A0:1", 0.8f},
      {4, 2.0f, "1:3 0:1 0:2 0:3", "1:3 0:3", 0.0f},
      {5, 2.0f, "7:0 7:1 8:1 8:2 8:3 8:4", "7:1 8:1 8:4", 0.0f},
      {7, 2.0f, "7:0 8:0 9:0 10:0", "8:0 10:0", 0.0f},
      {1, 0.5f, "1:0 A0:0 2:0", "1:0 A0:0 2:0", 0.0f},
      {1, 100.0f, "1:0 A0:0", "", 0.02f},
  };
  for (const auto& c : cases) {
    for (const unsigned block : {100u, 1u}) {
      D detector(static_cast<ETisMode>(c.mode));
      const std::vector<ULONG> in = Words(c.mode, c.in);
      std::vector<ULONG> out(9);
      unsigned outputs = 0;
      float phase = 0.0f;
      for (std::size_t done = 0; done < in.size(); done += block) {
        const auto n = static_cast<unsigned>(std::min<std::size_t>(block, in.size() - done));
        outputs +=
            detector.Downsampling(in.data() + done, n, out.data() + outputs, 9 - outputs, c.ratio, phase);
      }
      out.resize(outputs);
      EXPECT_EQ(out, Words(c.mode, c.out)) << c.in << ", blocks of " << block;
      EXPECT_NEAR(phase, c.phase, 1e-6);
    }
  }
  D detector(ETisMode::tisStandard);
  ULONG in[4] = {1, 2, 3, 4}, out[2] = {0, 77};
  float phases[] = {0.5f, 0.5f, -1.0f, NAN, 0.0f};
  const float ratios[] = {NAN, 0.0f, 2.0f, 2.0f, 2.0f};
  for (int k = 0; k < 5; ++k)
    EXPECT_EQ(detector.Downsampling(in, 4, out, 1, ratios[k], phases[k]), k == 4 ? 1u : 0u);
  EXPECT_EQ(out[1], 77u);  // no room, no output
}

}  // namespace
