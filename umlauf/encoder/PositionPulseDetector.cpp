#include "umlauf/encoder/PositionPulseDetector.h"

#include <algorithm>
#include <cmath>

#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/pulses/FueGroeHopListe.h"

namespace {

// Words that are decoded at a time, so that the events stay in the cache.
constexpr std::uint64_t kChunk = 4096;

/// The samples of a block at which the closed and open pulses of a list end, one after the other.
class PulseEnds {
 public:
  explicit PulseEnds(const CDzPulsListe* pulses) : pulses_(pulses) { Advance(); }
  /// Whether a pulse ends no later than `sample`.
  bool Until(std::uint64_t sample) const { return valid_ && end_ <= sample; }
  std::uint64_t End() const { return end_; }
  void Advance() {
    valid_ = pulses_ != nullptr && next_ < pulses_->size();
    if (valid_) end_ = numeric::add_sat(end_, (*pulses_)[next_++].NrSamples());
  }

 private:
  const CDzPulsListe* pulses_;
  std::uint64_t next_ = 0;
  std::uint64_t end_ = 0;
  bool valid_ = false;
};

}  // namespace

void CPositionPulseDetector::process(const ULONG* words, std::uint64_t count, unsigned stride, bool highRes,
                                     CFueGroeHopListe& hops, unsigned sampleRate, const CDzPulsListe* pulses,
                                     float divisor, float offset) {
  if (words == nullptr || stride == 0) count = 0;
  const unsigned subsamples = CQuadratureDecoder::Subsamples(sampleRate, highRes);
  const float scale = 1.0f / static_cast<float>(subsamples);
  decoder_.subsamples(subsamples);
  hops.resize(0);
  lastTime_ = 0;

  PulseEnds ends(pulses);
  for (std::uint64_t done = 0; done < count;) {
    const std::uint64_t n = std::min(kChunk, count - done);
    decoder_.decode(words + done * stride, static_cast<unsigned>(n), stride, highRes);
    // Times from here on count from the chunk's first word and stay far below 32 bits.
    const auto advanceTo = [&](std::uint64_t time) {
      for (; ends.Until(done + time / subsamples); ends.Advance()) {
        accumulate_event(static_cast<unsigned>((ends.End() - done) * subsamples));
        process_accumulate_event(scale, hops, divisor, offset);
      }
      accumulate_event(static_cast<unsigned>(time));
    };
    const std::uint64_t end = n * subsamples;
    for (const CQuadratureDecoder::Event& event : decoder_.events()) {
      // A time field that points behind its sample must not turn time back.
      advanceTo(std::clamp<std::uint64_t>(event.time, lastTime_, end));
      position_ = event.position;
    }
    advanceTo(end);
    lastTime_ = 0;
    done += n;
  }
  process_accumulate_event(scale, hops, divisor, offset);
}

unsigned CPositionPulseDetector::accumulate_event(unsigned time) {
  const std::uint32_t held = time - lastTime_;
  const std::int64_t area = static_cast<std::int64_t>(position_) * static_cast<std::int64_t>(held);
  accumulatedTime_ += held;
  // The product always fits; the sum of years wraps around.
  weightedSum_ =
      static_cast<std::int64_t>(static_cast<std::uint64_t>(weightedSum_) + static_cast<std::uint64_t>(area));
  lastTime_ = time;
  return held;
}

void CPositionPulseDetector::process_accumulate_event(float scale, CFueGroeHopListe& hops, float divisor,
                                                      float offset) {
  const double accumulated = static_cast<double>(accumulatedTime_);
  const double total = accumulated * static_cast<double>(scale) + static_cast<double>(carry_);
  const auto samples = numeric::trunc_sat<std::uint64_t>(std::floor(total));
  if (samples != 0) {
    const double mean = static_cast<double>(weightedSum_) / (accumulated * static_cast<double>(divisor));
    hops.AddEntry(samples, static_cast<float>(mean + static_cast<double>(offset)));
    weightedSum_ = 0;
    accumulatedTime_ = 0;
  }
  carry_ = static_cast<float>(total - static_cast<double>(samples));
}

void CPositionPulseDetector::reset() {
  position_ = 0;
  accumulatedTime_ = 0;
  weightedSum_ = 0;
  decoder_.clear();
}
