#include "tools/simulate/EncoderSimulator.h"

#include <algorithm>
#include <utility>

#include "tools/Error.h"
#include "umlauf/encoder/QuadratureDecoder.h"
#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::tool {
namespace {

using Mode = EncoderFormat::Mode;

/// Parts of a sample in which words of a mode tell when an edge came.
unsigned Resolution(Mode mode, double rate) {
  constexpr unsigned counterTime = 2048;
  if (mode == Mode::tisQuadrature || mode == Mode::tisQuadratureFourfold) return counterTime;
  const auto whole = numeric::trunc_sat<unsigned>(rate);
  if (mode != Mode::tisStandard) return CQuadratureDecoder::Subsamples(whole, true);
  // Ticks of the input's clock.
  for (const auto& [each, ticks] : {std::pair{24000u, 256u},
                                    {25000u, 256u},
                                    {48000u, 256u},
                                    {50000u, 256u},
                                    {96000u, 128u},
                                    {100000u, 128u},
                                    {192000u, 64u},
                                    {200000u, 64u}}) {
    if (each == whole) return ticks;
  }
  FailUsage(
      "--rate {:g}: --encoder 1 has no clock for it; give 24000, 25000, 48000, 50000, 96000, 100000, "
      "192000 or 200000",
      rate);
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
  if (format_.counts()) return static_cast<ULONG>(count_ << 16) | time_ << 1;
  if (edges == 0) return 0;
  const ULONG half =
      format_.mode == Mode::tisStandard ? time_ << 8 | 0xA0 : std::min<ULONG>(edges, 14) << 12 | time_ << 1;
  return lowWord_ ? half : half << 16;
}

}  // namespace umlauf::tool
