#include "umlauf/tacho/DzPulsDetektor.h"

#include <algorithm>
#include <array>
#include <limits>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/internal/PulseKernels.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/tacho/internal/Edges.h"

namespace {

using umlauf::speed::Edges;
using umlauf::speed::kChunk;
using umlauf::speed::ThresholdBits;

// Samples this far back have a billionth of the last one's share in the running averages.
constexpr std::size_t kForgotten = 4096;

constexpr float kFlatStep = 0.0001f;  // a smaller step has no crossing to interpolate
constexpr float kDecay = 0.995f;
constexpr float kWeight = 0.005f;
constexpr float kTtlPrevious = 0.15f;
constexpr float kTtlCurrent = 0.85f;
constexpr float kPublishNew = 0.25f;
constexpr float kPublishOld = 0.75f;

/// Share of each sample of a chunk in the running average at its end: the last one counts 0.005, each one
/// before 0.995 times as much.
constexpr auto kDecayingWeights = [] {
  std::array<float, kChunk> weights{};
  double share = static_cast<double>(kWeight);
  for (std::size_t i = kChunk; i-- > 0; share *= static_cast<double>(kDecay))
    weights[i] = static_cast<float>(share);
  return weights;
}();

float Decayed(float average, std::size_t samples) {
  return static_cast<float>(static_cast<double>(average) *
                            std::pow(static_cast<double>(kDecay), static_cast<double>(samples)));
}

// Counters are far below 2^63, and signed numbers convert much faster.
float ToFloat(std::uint64_t samples) { return static_cast<float>(static_cast<std::int64_t>(samples)); }

/// Low pass for square signals. It starts again behind a sample that is not a finite number.
void FilterTtl(float* out, const float* in, std::size_t stride, std::size_t n, float previous) {
  for (std::size_t i = 0; i < n; ++i) {
    const float x = in[i * stride];
    previous = std::isfinite(previous) ? previous * kTtlPrevious + x * kTtlCurrent : x;
    out[i] = previous;
  }
}

}  // namespace

CDzPulsDetektor::CDzPulsDetektor(const CDzPulsDetektor& other)
    : settings_(other.settings_), keepsStatistics_(other.keepsStatistics_) {
  Neustart();
}

CDzPulsDetektor& CDzPulsDetektor::operator=(const CDzPulsDetektor& other) {
  settings_ = other.settings_;
  keepsStatistics_ = other.keepsStatistics_;
  Neustart();
  return *this;
}

void CDzPulsDetektor::Neustart() {
  run_ = Run();
  // Intended: half the distance of the thresholds, not the middle between them.
  run_.previous = (settings_.upper - settings_.lower) * 0.5f;
  run_.runInRemaining = settings_.runIn;
  run_.deadTimeRemaining = settings_.deadTime;
  NeustartLevels();
}

void CDzPulsDetektor::PulseSuchen(const float* samples, std::uint64_t count, CDzPulsListe& list,
                                  unsigned stride) {
  if (samples == nullptr || stride == 0) count = 0;
  list.SetEmpty();
  if (count != 0) StartBlock(samples[0]);

  alignas(128) std::array<float, kChunk> buffer;
  std::uint64_t samplesSincePulse = 0;
  for (std::uint64_t done = 0; done < count;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, count - done));
    const float* x = samples + done * stride;
    std::size_t apart = stride;
    if (settings_.ttl) {
      FilterTtl(buffer.data(), x, stride, n, run_.previous);
      x = buffer.data();
      apart = 1;
    }
    ThresholdBits bits;
    x = Survey({x, n, apart, buffer.data(), done + n < count}, count - done - n, bits);
    SearchChunk(x, n, bits, done, samplesSincePulse, list);
    run_.previous = x[n - 1];
    done += n;
  }
  if (count != 0 && keepsStatistics_) PublishStatistics();

  list.CompletePulsList(samplesSincePulse);
  list.SetPulseProUmdr(settings_.sourcePulsesReal * settings_.dividerReciprocal);
  run_.carry += ToFloat(samplesSincePulse);
}

void CDzPulsDetektor::StartBlock(float first) {
  if (run_.firstBlock) {
    run_.firstBlock = false;
    run_.previous = first;
    run_.high = first > settings_.upper;
  }
  block_ = BlockStatistics();
  block_.minimum = std::isfinite(first) ? first : std::numeric_limits<float>::infinity();
  block_.maximum = std::isfinite(first) ? first : -std::numeric_limits<float>::infinity();
  block_.averageAbove = published_.averageAbove;
  block_.averageBelow = published_.averageBelow;
}

inline bool CDzPulsDetektor::AcceptValue(const Settings& settings, Run& run, float value) {
  if (settings.spikeFilter) {
    bool believedAgain = false;
    if (run.rejectionsRemaining != 0 && --run.rejectionsRemaining == 0) {
      run.runInRemaining = std::uint64_t{settings.runIn} + 1;
      believedAgain = true;
    }
    const double wide = static_cast<double>(value);
    const double change = std::fabs(static_cast<double>(run.lastValue) - wide) / wide;
    const bool plausible = change < settings.spikeThreshold || run.runInRemaining != 0;
    if (!believedAgain && !plausible) {
      if (run.rejectionsRemaining == 0) run.rejectionsRemaining = settings.runIn;
      return false;
    }
  }
  run.rejectionsRemaining = 0;
  if (run.runInRemaining != 0) --run.runInRemaining;
  return true;
}

inline bool CDzPulsDetektor::PulsEintragen(const Settings& settings, Run& run, CDzPulsListe& list,
                                           std::uint64_t samplesSincePulse, float fraction, bool rising) {
  ++run.edgesInPulse;
  if (ToFloat(samplesSincePulse) + run.carry < static_cast<float>(settings.minLength)) return false;

  const float length = ToFloat(samplesSincePulse - 1) + run.carry + fraction;
  float value = length * settings.dividerReciprocal;
  if (run.edgesInPulse > 1) value /= static_cast<float>(run.edgesInPulse);
  value *= settings.sourcePulsesReal;
  if (AcceptValue(settings, run, value)) run.lastValue = value;
  list.AddEntry(samplesSincePulse, run.lastValue).SetHiFlank(rising);

  run.carry = 1.0f - fraction;
  run.edgesInPulse = 0;
  return true;
}

/// Most recordings: every edge ends a pulse that counts. The values are formed side by side, as
/// `PulsEintragen` forms each. False when one has to be looked at, and then nothing has changed.
bool CDzPulsDetektor::TakeEveryEdge(const Edges& edges, std::size_t n, std::uint64_t start,
                                    std::uint64_t& samplesSincePulse, CDzPulsListe& list) {
  if (edges.count == 0 || run_.edgesInPulse != 0) return false;
  const auto shortest = static_cast<float>(settings_.minLength);
  const std::uint64_t first = samplesSincePulse + edges.position[0] + 1;
  std::array<float, kChunk + umlauf::vekta::kPulseRoom> values;
  const float pulses = settings_.sourcePulsesReal;
  values[0] = (ToFloat(first - 1) + run_.carry + edges.fraction[0]) * pulses;
  if (ToFloat(first) + run_.carry < shortest) return false;
  std::array<std::int64_t, 1 + kChunk + umlauf::vekta::kPulseRoom> ends;
  ends[0] = -static_cast<std::int64_t>(samplesSincePulse);
  if (!umlauf::vekta::PulseLengths(values.data(), ends.data() + 1, edges.position.data(),
                                   edges.fraction.data(), edges.count, pulses, shortest)) {
    return false;
  }
  if (!list.AddPulses(ends.data(), values.data(), edges.count, start, edges.firstRising, edges.alternating))
    return false;
  const std::size_t last = edges.count - 1;
  run_.runInRemaining -= std::min<std::uint64_t>(run_.runInRemaining, edges.count);
  run_.rejectionsRemaining = 0;
  run_.dividerRemaining = 1;
  run_.lastValue = values[last];
  run_.carry = 1.0f - edges.fraction[last];
  samplesSincePulse = n - 1 - edges.position[last];
  return true;
}

/// kSimple: divider, dead time and spike filter are known to be out of play, which leaves them out of the
/// loop.
template <bool kSimple>
inline std::uint64_t CDzPulsDetektor::TakeEdges(const Edges& edges, std::size_t n,
                                                std::uint64_t samplesSincePulse, CDzPulsListe& list) {
  // Copies, which stay in registers: what is written to the list could otherwise change the originals.
  Settings settings = settings_;
  Run run = run_;
  if constexpr (kSimple) {
    settings.spikeFilter = false;
    settings.dividerReciprocal = 1.0f;
  }
  const std::uint32_t divider = std::max(settings.divider, 1u);
  if (run.dividerRemaining == 0) run.dividerRemaining = divider;
  // Positions in the chunk, negative before it.
  std::int64_t lastPulse = -1 - static_cast<std::int64_t>(samplesSincePulse);
  std::int64_t deadUntil = static_cast<std::int64_t>(run.deadTimeRemaining) - 1;
  bool rising = edges.firstRising;
  for (std::size_t k = 0; k < edges.count; ++k, rising ^= edges.alternating) {
    const std::int64_t at = edges.position[k];
    if constexpr (!kSimple) {
      if (at < deadUntil) continue;
      deadUntil = at + settings.deadTime;
      if (--run.dividerRemaining != 0) continue;
      run.dividerRemaining = divider;
    }
    const auto samples = static_cast<std::uint64_t>(at - lastPulse);
    if (PulsEintragen(settings, run, list, samples, edges.fraction[k], rising)) lastPulse = at;
  }
  const auto end = static_cast<std::int64_t>(n);
  run.deadTimeRemaining = static_cast<std::uint64_t>(std::max<std::int64_t>(deadUntil + 1 - end, 0));
  run_ = run;
  return static_cast<std::uint64_t>(end - 1 - lastPulse);
}

/// Passes over a chunk once for statistics and thresholds; `behind` samples follow it in the block. Returns
/// its samples side by side.
const float* CDzPulsDetektor::Survey(const umlauf::vekta::SampleBlock& block, std::uint64_t behind,
                                     ThresholdBits& bits) {
  const float upper = settings_.upper, lower = settings_.lower, mean = published_.mean;
  const float* const x = block.stride == 1 ? block.x : block.copy;
  QVL::Moments moments;
  if (keepsStatistics_ && block.n % 64 == 0) {
    const bool anyEqualsMean = umlauf::vekta::SurveySamples(block, {upper, lower, mean}, bits.above.data(),
                                                            bits.below.data(), moments);
    AddChunk(x, block.n, behind, moments, anyEqualsMean);
    return x;
  }
  if (block.stride != 1) QVL::Interleave(block.copy, 1, block.x, block.stride, block.n);
  QVL::ThresholdMasks(x, block.n, upper, lower, bits.above.data(), bits.below.data());
  if (keepsStatistics_)
    AddChunk(x, block.n, behind, QVL::VectorMoments(x, block.n), QVL::CountEqual(x, block.n, mean) != 0);
  return x;
}

void CDzPulsDetektor::SearchChunk(const float* x, std::size_t n, const ThresholdBits& bits,
                                  std::uint64_t start, std::uint64_t& samplesSincePulse, CDzPulsListe& list) {
  const bool both = settings_.both, falling = both || settings_.falling, rising = both || !falling;
  Edges edges;
  edges.alternating = both;
  edges.firstRising = both ? !run_.high : rising;
  const umlauf::vekta::EdgeRule rule{settings_.upper, settings_.lower, run_.previous,
                                     kFlatStep,       rising,          falling};
  edges.count = umlauf::vekta::FindEdges(x, n, bits.above.data(), bits.below.data(), rule, run_.high,
                                         edges.position.data(), edges.fraction.data());
  const bool simple = !settings_.spikeFilter && settings_.deadTime == 0 && run_.deadTimeRemaining == 0 &&
                      settings_.divider < 2 && run_.dividerRemaining < 2;
  if (simple && TakeEveryEdge(edges, n, start, samplesSincePulse, list)) return;
  samplesSincePulse = simple ? TakeEdges<true>(edges, n, samplesSincePulse, list)
                             : TakeEdges<false>(edges, n, samplesSincePulse, list);
}

void CDzPulsDetektor::SampleAufmitteln(float x) {
  if (!std::isfinite(x)) return;
  const double wide = static_cast<double>(x);
  ++block_.count;
  block_.minimum = std::min(block_.minimum, x);
  block_.maximum = std::max(block_.maximum, x);
  block_.sum += wide;
  block_.sumSquares += wide * wide;
  // Intended: "above" takes every sample that differs from the mean, "below" only those that equal it.
  float& average = x != published_.mean ? block_.averageAbove : block_.averageBelow;
  average = average * kDecay + x * kWeight;
}

void CDzPulsDetektor::AddChunk(const float* x, std::size_t n, std::uint64_t behind,
                               const QVL::Moments& moments, bool anyEqualsMean) {
  // Samples that are not finite, or that equal the mean, are rare and taken one by one.
  if (!std::isfinite(moments.sumSquares) || anyEqualsMean) {
    for (std::size_t i = 0; i < n; ++i) SampleAufmitteln(x[i]);
    return;
  }
  block_.count += n;
  block_.minimum = std::min(block_.minimum, moments.min);
  block_.maximum = std::max(block_.maximum, moments.max);
  block_.sum += static_cast<double>(moments.sum);
  block_.sumSquares += static_cast<double>(moments.sumSquares);
  if (behind < kForgotten) {
    block_.averageAbove =
        Decayed(block_.averageAbove, n) + QVL::DotProduct(x, kDecayingWeights.data() + (kChunk - n), n);
  }
}

void CDzPulsDetektor::PublishStatistics() {
  if (block_.count == 0) return;  // not one finite sample
  const auto smooth = [](float& old, float fresh) { old = kPublishNew * fresh + kPublishOld * old; };
  const double n = static_cast<double>(block_.count);
  smooth(published_.minimum, block_.minimum);
  smooth(published_.maximum, block_.maximum);
  smooth(published_.mean, static_cast<float>(block_.sum / n));
  smooth(published_.meanSquare, static_cast<float>(block_.sumSquares / n));
  published_.averageAbove = block_.averageAbove;
  published_.averageBelow = block_.averageBelow;
}
