#include "tools/simulate/EncoderSimulator.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

#include "tools/Error.h"
#include "umlauf/encoder/EncoderWord.h"
#include "umlauf/encoder/QuadratureDecoder.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {
namespace {

using Mode = EncoderFormat::Mode;

/// Parts of a sample in which words of a mode tell when an edge came.
unsigned Resolution(Mode mode, double rate) {
  if (mode == Mode::tisQuadrature || mode == Mode::tisQuadratureFourfold) return EncoderWord::timeRange;
  const auto whole = numeric::trunc_sat<unsigned>(rate);
  if (mode != Mode::tisStandard) return CQuadratureDecoder::Subsamples(whole, true);
  const EncoderWord::Clock* const clock = EncoderWord::ClockFor(whole);
  if (clock != nullptr && clock->TicksPerSample() <= EncoderWord::standardTicks)
    return clock->TicksPerSample();
  std::string rates;
  for (const EncoderWord::Clock& each : EncoderWord::clocks) {
    if (each.TicksPerSample() > EncoderWord::standardTicks) continue;
    rates += fmt::format("{}{}", rates.empty() ? "" : ", ", each.sampleRate);
  }
  FailUsage("--rate {:g}: --encoder 1 has no clock for it; give one of {}", rate, rates);
}

}  // namespace

EncoderSimulator::EncoderSimulator(SpeedProfile profile, const WheelSettings& settings, EncoderFormat format,
                                   bool lowWord)
    : profile_(std::move(profile)),
      settings_(settings),
      present_(settings.Present()),
      format_(format),
      lowWord_(lowWord),
      random_(settings.seed),
      frames_(numeric::trunc_sat<std::uint64_t>(profile_.duration() * settings.rate)),
      resolution_(Resolution(format.mode, settings.rate)),
      next_(1 + random_.Jitter(settings.jitter)) {}

void EncoderSimulator::Next(std::span<ULONG> words) {
  for (ULONG& word : words) word = Word();
}

ULONG EncoderSimulator::Word() {
  // Within a sample the angle is as good as straight.
  const double begin = angle_;
  const double end =
      profile_.Turns(std::min(static_cast<double>(++at_) / settings_.rate, profile_.duration())) *
      settings_.teeth * format_.countsPerPulse();
  angle_ = end;
  ULONG edges = 0;
  while (next_ <= end && end > begin) {
    const double part = std::clamp((next_ - begin) / (end - begin), 0.0, 1.0);
    ++count_;
    next_ = static_cast<double>(count_ + 1) + random_.Jitter(settings_.jitter);
    const bool present = format_.counts() || present_[count_ % settings_.teeth];
    if (!present) continue;
    ++edges;
    time_ = std::min(numeric::trunc_sat<unsigned>(part * resolution_), resolution_ - 1);
  }
  const ULONG time = time_ << EncoderWord::timeShift;
  if (format_.counts()) return static_cast<ULONG>(count_ << EncoderWord::counterShift) | time;
  if (edges == 0) return 0;
  const ULONG half =
      format_.mode == Mode::tisStandard
          ? time_ << EncoderWord::standardTimeShift | EncoderWord::standardEdge
          : std::min(edges, EncoderWord::edgeCountError - 1) << EncoderWord::edgeCountShift | time;
  return lowWord_ ? half : half << EncoderWord::halfShift;
}

}  // namespace umlauf::tool
