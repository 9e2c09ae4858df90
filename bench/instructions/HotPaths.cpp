// The hot paths whose instructions compare.py counts: hot_paths TARGET runs each twice, first unseen (caches,
// tables, memory and addresses of functions are made), then as `HotPath`, where callgrind collects, and
// prints their names in this order. Exit code 77: this processor does not have the instruction set.

#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <numbers>
#include <vector>

#include "support/Dispatch.h"
#include "umlauf/can/CanMessageFinder.h"
#include "umlauf/encoder/DzPulsTisDetector.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/rate/DownsamplingFilter.h"
#include "umlauf/rate/DownsamplingStream.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/tacho/DzPulsDetektor.h"
#include "umlauf/units/MeasuringUnit.h"

using Path = std::function<void()>;

extern "C" [[gnu::noinline]] void HotPath(const Path& path) {
  path();
  asm volatile("" ::: "memory");  // a call, not a jump: callgrind has to see the end
}

namespace {

constexpr std::size_t kSamples = 65536;

/// A sine of `period` samples, exact in how often it crosses a threshold.
std::vector<float> Sine(std::size_t n, double period) {
  std::vector<float> x(n);
  for (std::size_t i = 0; i < n; ++i)
    x[i] = static_cast<float>(std::sin(2.0 * std::numbers::pi * (static_cast<double>(i) + 0.25) / period));
  return x;
}

Path PulseSearch() {
  return [x = Sine(kSamples, 100.37), detector = CDzPulsDetektor(), list = CDzPulsListe()]() mutable {
    detector.SchrankenSetzen(0.3f, -0.3f);
    detector.PulsMinLenSetzen(0);
    detector.PulseSuchen(x.data(), static_cast<unsigned>(x.size()), list, 1);
  };
}

Path Filter() {
  return [x = Sine(kSamples, 100.37), out = std::vector<float>(kSamples),
          filter = CDownsamplingFilter()]() mutable {
    float phase = 0.0f;
    filter.Downsampling(out.data(), 1, x.data() + 4096, 32768, 10.0f, phase, 1.0f);
  };
}

Path Stream() {
  const auto stream = std::make_shared<CDownsamplingStream>(2.5, CDownsamplingStream::Reduction::Filter, 1);
  return [x = Sine(kSamples, 100.37), out = std::vector<float>(kSamples), stream]() mutable {
    stream->Process(out.data(), x.data(), x.size());
  };
}

/// An edge every 10 words.
Path EncoderWords() {
  std::vector<ULONG> words(kSamples);
  for (std::size_t i = 5; i < words.size(); i += 10)
    words[i] = (0xA0u | static_cast<ULONG>(i * 7 % 256) << 8) << 16;
  return [words, detector = CDzPulsTisDetector(CYChannelDescriptionInterface::ETisMode::tisStandard),
          list = CDzPulsListe()]() mutable {
    detector.SetMinPulsSamples(0);
    detector.PulseSuchen(words.data(), static_cast<unsigned>(words.size()), 1, list);
  };
}

/// A message every 100 words.
Path CanMessages() {
  std::vector<ULONG> words(kSamples);
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<ULONG>(i);
  for (std::size_t i = 0; i + 4 <= words.size(); i += 100) words[i] = 0xAA080155, words[i + 1] = 0x100;
  return [words] {
    CCanMessageFinder finder;
    finder.StartSearchBlock(words.data(), static_cast<unsigned>(words.size()), 0, -1, 1);
    while (finder.FindNextMessage()) continue;
  };
}

Path QuantisedCurve() {
  CSigCurve curve(kSamples);
  const std::vector<float> x = Sine(kSamples, 100.37);
  for (std::size_t i = 0; i < kSamples; ++i) curve.SetAt(i, x[i]);
  curve.SetFileCompression(true);
  return [curve]() mutable {
    CMemFile file;
    curve.WriteToFile(file, CSignal::CurrentFileVersion());
    file.Seek(0, CFile::begin);
    CSigCurve back;
    back.ReadFromFile(file, CSignal::CurrentFileVersion());
  };
}

/// Two grids that lie within each other.
Path CombinedPairs() {
  CSigPairs first(2000), second(2000);
  for (int i = 0; i < 2000; ++i) {
    first.NeuesPaar(static_cast<float>(i), static_cast<float>(i % 17));
    second.NeuesPaar(static_cast<float>(i) + 0.4f, static_cast<float>(i % 13));
  }
  return [first, second] { const CSigPairs sum = first + second; };
}

Path UnitTexts() {
  std::vector<CString> texts;
  for (const char* text : {"m", "rpm", "kHz", "mV", "m/s^2", "m/s²", "rad/s", "(m/s)^2", "V²"})
    texts.push_back(CString::FromUtf8(text));
  return [texts] {
    for (int i = 0; i < 100; ++i) {
      for (const CString& text : texts) {
        CMeasuringUnit unit;
        unit.set(text);
      }
    }
  };
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !LimitDispatch(argv[1])) return 77;
  const struct {
    const char* name;
    Path path;
  } paths[] = {
      {"pulse_search", PulseSearch()},     {"downsampling", Filter()},
      {"downsampling_stream", Stream()},   {"encoder_words", EncoderWords()},
      {"can_messages", CanMessages()},     {"quantised_curve", QuantisedCurve()},
      {"combined_pairs", CombinedPairs()}, {"unit_texts", UnitTexts()},
  };
  for (const auto& [name, path] : paths) {
    path();
    HotPath(path);
    std::puts(name);
  }
}
