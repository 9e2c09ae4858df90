#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/unique_ptr.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>

#include "python/src/Arrays.h"
#include "python/src/Bindings.h"
#include "python/src/Errors.h"
#include "python/src/Results.h"
#include "umlauf/encoder/EncoderWord.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/rotation/EncoderPulseFinder.h"
#include "umlauf/rotation/GapCorrection.h"

using namespace nanobind::literals;

namespace umlauf::python {
namespace {

struct EncoderSettings {
  unsigned mode = 1;
  bool lowWord = false;
  unsigned divider = 1;
  std::uint64_t minPulse = 0;
  bool gap = false;
  std::optional<double> gapLength;
};

CEncoderPulseFinder NewFinder(const EncoderSettings& s, unsigned rate, unsigned pulsesPerRevolution) {
  if (s.mode < 1 || s.mode > 6) RefuseValue("the mode of an encoder stream is 1 to 6");
  CEncoderPulseFinder::Format format;
  format.mode = static_cast<CEncoderPulseFinder::Mode>(s.mode);
  const bool edges = s.mode == 1 || s.mode == 4;
  if (s.mode == 1 && EncoderWord::ClockFor(rate) == nullptr) {
    RefuseValue("streams of mode 1 have no clock for " + std::to_string(rate) +
                " samples/s; check rate and mode");
  }
  if (s.divider == 0 || (s.divider > 1 && s.mode != 1))
    RefuseValue("a divider is above 0, and for mode 1 only");
  if (s.lowWord && !edges) RefuseValue("low_word is for modes 1 and 4");
  if ((s.gap || s.gapLength) && (!edges || s.divider > 1)) {
    RefuseValue("a gap needs every tooth once: modes 1 and 4, without divider");
  }
  format.lowWord = s.lowWord;
  format.divider = s.divider;
  format.minSamples = s.minPulse;
  return CEncoderPulseFinder(format, rate, pulsesPerRevolution);
}

std::unique_ptr<Result> MeasureWords(const Words& words, double rate, unsigned pulsesPerRevolution,
                                     double startTime, const EncoderSettings& settings) {
  constexpr std::size_t blockWords = 65536;
  if (!(rate > 0 && rate <= 1e9) || rate != std::floor(rate) || pulsesPerRevolution == 0) {
    RefuseValue("rate and pulses per revolution of an encoder stream are whole numbers above 0");
  }
  CEncoderPulseFinder finder = NewFinder(settings, numeric::trunc_sat<unsigned>(rate), pulsesPerRevolution);
  const WordArray array = words.Get();
  nb::gil_scoped_release free;
  const Forward<ULONG> forward(array);
  auto result = std::make_unique<Result>();
  const auto pulses = std::make_shared<CPulseTrain>(rate, startTime);
  result->pulsesPerRevolution = finder.EdgesPerRevolution();
  result->wheel.pitches = finder.EdgesPerRevolution();
  const bool hasGap = settings.gap || settings.gapLength;
  CGapCorrection gap(settings.gapLength, finder.EdgesPerRevolution());
  CPulseTrain block(rate, startTime);
  for (std::size_t at = 0; at < forward.size(); at += blockWords) {
    finder.Take(forward.data() + at * forward.stride(), std::min(blockWords, forward.size() - at),
                static_cast<unsigned>(forward.stride()), block);
    if (hasGap) gap.Take(block, *pulses);
    if (!hasGap) pulses->Append(block);
  }
  if (hasGap) {
    NeedMemory(gap.Finish(*pulses));
    result->wheel = gap.Wheel();
  }
  result->samples = forward.size();
  result->Take(pulses, hasGap);
  if (result->counts.Speed().count == 0) {
    CString reason;
    reason.Format(L"no pulses found in the stream (edges: %u); check mode and low_word",
                  result->counts.Pulses());
    throw Error(reason);
  }
  return result;
}

}  // namespace

void BindEncoders(nb::module_& module) {
  module.def(
      "measure_encoder",
      [](const Words& words, double rate, unsigned pulses, double startTime, unsigned mode, bool lowWord,
         unsigned divider, std::uint64_t minPulse, bool gap, std::optional<double> gapLength) {
        return MeasureWords(words, rate, pulses, startTime,
                            {mode, lowWord, divider, minPulse, gap, gapLength});
      },
      "words"_a, nb::kw_only(), "rate"_a, "pulses_per_rev"_a, "start_time"_a, "mode"_a, "low_word"_a,
      "divider"_a, "min_pulse"_a, "gap"_a, "gap_length"_a.none());
}

}  // namespace umlauf::python
