#include "umlauf/encoder/DzPulsTisDetector.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

#include "umlauf/encoder/EncoderWord.h"
#include "umlauf/encoder/QuadratureDecoder.h"
#include "umlauf/encoder/internal/DenseEdges.h"
#include "umlauf/encoder/internal/PulseBuffer.h"
#include "umlauf/encoder/internal/WordScan.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/ui/UserInterface.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/pulses/DzPulsListe.h"

namespace {

using umlauf::encoder::DenseWords;
using umlauf::encoder::kScanned;
using umlauf::encoder::PulseBuffer;
using umlauf::encoder::WordMarks;

/// Sub-samples in samples, rounded up; sub-samples per sample are a power of two.
std::int64_t WholeSamplesUp(std::int64_t time, unsigned subsamples) {
  return (time + static_cast<std::int64_t>(subsamples) - 1) >> std::countr_zero(subsamples);
}

/// Calls mark(words, n, marks) for successive words of a block, then take(i, word) in order for each marked
/// one, and moves the pulses that this gave into the list. takeRest(words) may take all behind the first one
/// at once, or none and return false.
template <class Mark, class Take, class TakeRest>
void ForEachMarked(const ULONG* words, std::uint64_t count, unsigned stride, PulseBuffer& pulses,
                   CDzPulsListe& list, Mark mark, Take take, TakeRest takeRest) {
  WordMarks marks;
  std::array<ULONG, kScanned> marked;
  for (std::uint64_t done = 0; done < count;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(kScanned, count - done));
    const ULONG* const some = words + done * stride;
    mark(some, n, marks);
    umlauf::encoder::CopyMarked(some, stride, marks, marked.data());
    const DenseWords all{marked.data(), marks.place.data(), marks.count, static_cast<std::int64_t>(done)};
    for (std::size_t k = 0; k < marks.count; ++k) {
      take(done + marks.place[k], marked[k]);
      if (k == 0 && takeRest(all)) break;
    }
    pulses.MoveTo(list);
    done += n;
  }
}

/// What remains of a block behind its last pulse. An edge whose time lies past its sample may have used more
/// than there is.
std::uint64_t Rest(std::uint64_t count, std::int64_t used) {
  const auto taken = static_cast<std::uint64_t>(std::max<std::int64_t>(used, 0));
  return count > taken ? count - taken : 0;
}

}  // namespace

void CDzPulsTisDetector::Restart(unsigned sampleRate, unsigned pulsesPerRev, bool lowWord, ETisMode mode) {
  sampleRate_ = sampleRate;
  pulsesPerRev_ = pulsesPerRev;
  lowWord_ = lowWord;
  if (mode != ETisMode::tisNone) mode_ = mode;
  carry_ = 0.0f;
  edgesInPulse_ = 0;
  dividerRemaining_ = 0;
  errorBits_ = 0;
  counter_ = Counter();
  previous_ = PreviousEvent();
  halves_[0] = halves_[1] = HalfWord();
  display_ = Display();
  messageShown_ = false;
  SetMinPulsTime(minTime_);
}

void CDzPulsTisDetector::SetMinPulsTime(float seconds) {
  minTime_ = seconds;
  minSamples_ = numeric::trunc_sat<std::uint32_t>(static_cast<float>(sampleRate_) * seconds);
}

void CDzPulsTisDetector::SetMinPulsSamples(unsigned n) {
  minSamples_ = n;
  minTime_ = static_cast<float>(n) / static_cast<float>(sampleRate_);
}

void CDzPulsTisDetector::ShowOnce(const CString& message) {
  if (!messageShown_) ErrorMessageBox(message);
  messageShown_ = true;
}

unsigned CDzPulsTisDetector::PulseSuchen(const ULONG* samples, std::uint64_t count, unsigned stride,
                                         CDzPulsListe& list) {
  if (samples == nullptr || stride == 0) count = 0;
  list.SetEmpty();
  CString message;
  switch (mode_) {
    case ETisMode::tisNone:
      message.Format(L"Tis Datastream Decoder: data format not set for signal id %d.", list.SignalId());
      break;
    case ETisMode::tisStandard:
      return PulseSuchenStandardTis(samples, count, stride, list);
    case ETisMode::tisQuadratureFourfold:
      return PulseSuchenQuadratureEnc(samples, count, stride, true, false, list);
    case ETisMode::tisQuadrature:
      return PulseSuchenQuadratureEnc(samples, count, stride, false, false, list);
    case ETisMode::tisHighRes:
      return PulseSuchenHiResTis(samples, count, stride, list);
    case ETisMode::tisQuadratureFourfoldHighRes:
      return PulseSuchenQuadratureEnc(samples, count, stride, true, true, list);
    case ETisMode::tisQuadratureHighRes:
      return PulseSuchenQuadratureEnc(samples, count, stride, false, true, list);
    default:
      message.Format(L"Tis Datastream Decoder: data format ETisMode::%d for signal id %d not implemented.",
                     static_cast<int>(mode_), list.SignalId());
  }
  ShowOnce(message);
  return 0;
}

unsigned CDzPulsTisDetector::PulseSuchenStandardTis(const ULONG* words, std::uint64_t count, unsigned stride,
                                                    CDzPulsListe& list) {
  const EncoderWord::Clock* const clock = EncoderWord::ClockFor(sampleRate_);
  if (clock == nullptr) {
    CString message;
    message.Format(
        L"CDzPulsTisDetector::PulseSuchenStandardTis(): unsupported sampling rate %u for signal id %d.",
        sampleRate_, list.SignalId());
    ShowOnce(message);
    return 0;
  }
  list.SetPulseProUmdr(static_cast<float>(pulsesPerRev_));

  const unsigned shift = Shift();
  const double samplesPerTick = clock->tickLength * static_cast<double>(sampleRate_);
  const double revPerEdge = static_cast<double>(pulsesPerRev_) / static_cast<double>(divider_);
  // Signed: where times lie past their samples, an edge can lie before the one before it.
  const std::int64_t minimum = std::max<std::int64_t>(minSamples_, allowZeroLength_ ? 0 : 1);
  std::uint32_t countdown = dividerRemaining_ != 0 ? dividerRemaining_ : divider_;
  std::int64_t edgesInPulse = edgesInPulse_;
  double carry = static_cast<double>(carry_);
  double lastEdge = 0.0;
  std::int64_t pulseStart = 0;  // sample in which the pulse in progress began, in this block
  unsigned errors = 0;
  PulseBuffer pulses;
  ForEachMarked(
      words, count, stride, pulses, list,
      [=](const ULONG* some, std::size_t n, WordMarks& marks) {
        const ULONG edge = EncoderWord::standardEdge << shift;
        marks.count = QVL::FindAllMasked(some, n, stride, edge, edge, marks.place.data());
      },
      [&](std::uint64_t i, ULONG word) {
        const ULONG half = (word >> shift) & EncoderWord::halfMask;
        errors += (half & EncoderWord::standardError) != 0 ? 1 : 0;
        const double edge = static_cast<double>(half >> EncoderWord::standardTimeShift) * samplesPerTick +
                            static_cast<double>(i);
        carry += edge - lastEdge;
        lastEdge = edge;
        if (--countdown != 0) return;
        countdown = divider_;
        ++edgesInPulse;
        const auto edgeSample = numeric::trunc_sat<std::int64_t>(edge);
        const std::int64_t wholeSamples = edgeSample - pulseStart;
        if (wholeSamples < minimum) return;
        const double value = carry * revPerEdge / static_cast<double>(edgesInPulse);
        pulses.Add(wholeSamples, value);
        pulseStart = edgeSample;
        edgesInPulse = 0;
        carry = 0.0;
      },
      // Mostly every edge ends a pulse, as the one before did.
      [&](const DenseWords& all) {
        if (divider_ != 1 || countdown != 1 || edgesInPulse != 0 || carry != 0.0) return false;
        if (numeric::trunc_sat<std::int64_t>(lastEdge) != pulseStart) return false;
        umlauf::encoder::StandardState state{lastEdge, pulseStart, errors};
        if (!TakeAllStandard(all, {shift, samplesPerTick, revPerEdge, minimum}, state, pulses)) return false;
        lastEdge = state.lastEdge;
        pulseStart = state.pulseStart;
        errors = state.errors;
        return true;
      });

  list.CompletePulsList(Rest(count, pulseStart));
  list.CalcAverPulsF(static_cast<float>(sampleRate_));
  carry_ = static_cast<float>(carry + (static_cast<double>(count) - lastEdge));
  edgesInPulse_ = edgesInPulse;
  dividerRemaining_ = countdown;
  errorBits_ += errors;
  return errors;
}

unsigned CDzPulsTisDetector::PulseSuchenHiResTis(const ULONG* words, std::uint64_t count, unsigned stride,
                                                 CDzPulsListe& list) {
  const unsigned shift = Shift();
  const unsigned subsamples = CQuadratureDecoder::Subsamples(sampleRate_, true);
  const double resolution = 1.0 / static_cast<double>(subsamples);
  const double revPerEdge = static_cast<double>(pulsesPerRev_) * static_cast<double>(divider_);
  const auto minimum = static_cast<std::int64_t>(minSamples_);
  HalfWord& stored = halves_[lowWord_ ? 1 : 0];
  HalfWord half = stored;
  std::int64_t edgesInPulse = edgesInPulse_;
  double carry = static_cast<double>(carry_);
  // Sample from which the samples since the last edge count; in the blocks before it wraps around.
  std::uint64_t lastEdge = 0 - half.samplesSinceEdge - 1;
  std::int64_t entered = 0;
  unsigned errors = 0;
  PulseBuffer pulses;
  ForEachMarked(
      words, count, stride, pulses, list,
      [=](const ULONG* some, std::size_t n, WordMarks& marks) {
        const ULONG anyEdge = EncoderWord::edgeCountMask << EncoderWord::edgeCountShift << shift;
        marks.count = QVL::FindAllUnlike(some, n, stride, anyEdge, 0, marks.place.data());
      },
      [&](std::uint64_t i, ULONG word) {
        const ULONG edges = (word >> shift >> EncoderWord::edgeCountShift) & EncoderWord::edgeCountMask;
        const std::uint32_t position = (word >> shift >> EncoderWord::timeShift) & EncoderWord::timeMask;
        const std::uint64_t samples = i - lastEdge;
        const double step = static_cast<double>(position) - static_cast<double>(half.lastPosition);
        errors += edges == EncoderWord::edgeCountError ? 1 : 0;
        lastEdge = i;
        half.lastPosition = position;
        if (!half.armed) {
          half.armed = true;
          return;
        }
        edgesInPulse += edges;
        carry += step * resolution + static_cast<double>(samples);
        const std::int64_t free = static_cast<std::int64_t>(i) - entered;
        if (free < minimum) return;
        const std::int64_t end = free + WholeSamplesUp(position, subsamples);
        if (end != 0) {
          const double value = revPerEdge * carry / static_cast<double>(edgesInPulse);
          pulses.Add(end, value);
          entered += end;
        }
        carry = 0.0;
        edgesInPulse = 0;
      },
      // Mostly every edge ends a pulse, as the one before did.
      [&](const DenseWords& all) {
        const std::int64_t end =
            static_cast<std::int64_t>(lastEdge) + WholeSamplesUp(half.lastPosition, subsamples);
        if (edgesInPulse != 0 || carry != 0.0 || entered != end) return false;
        umlauf::encoder::HighResState state{lastEdge, half.lastPosition, entered, errors};
        if (!TakeAllHighRes(all, {shift, subsamples, revPerEdge, minimum}, state, pulses)) return false;
        lastEdge = state.lastEdge;
        half.lastPosition = state.lastPosition;
        entered = state.entered;
        errors = state.errors;
        return true;
      });

  list.CompletePulsList(Rest(count, entered));
  list.CalcAverPulsF(static_cast<float>(sampleRate_));
  half.samplesSinceEdge = count - lastEdge - 1;
  stored = half;
  carry_ = static_cast<float>(carry);
  edgesInPulse_ = edgesInPulse;
  errorBits_ += errors;
  return errors;
}

/// What runs on through one block of a quadrature stream. Times in sub-samples.
struct CDzPulsTisDetector::QuadratureBlock {
  unsigned subsamples;  // per sample
  double revPerEdge;    // [samples per sub-sample and edge]
  std::int64_t minimum;
  std::int64_t lastPulse;
  double carry;
  std::int64_t entered = 0;  // samples
};

unsigned CDzPulsTisDetector::PulseSuchenQuadratureEnc(const ULONG* words, std::uint64_t count,
                                                      unsigned stride, bool fourfold, bool highRes,
                                                      CDzPulsListe& list) {
  const unsigned subsamples = CQuadratureDecoder::Subsamples(sampleRate_, highRes);
  const unsigned factor = highRes ? EncoderWord::timeRange : subsamples;
  QuadratureBlock block;
  block.subsamples = subsamples;
  block.revPerEdge = (fourfold ? 4.0 : 1.0) * static_cast<double>(pulsesPerRev_) *
                     static_cast<double>(divider_) / static_cast<double>(subsamples);
  block.minimum = (static_cast<std::int64_t>(minSamples_) + 1) * subsamples;
  block.lastPulse = -static_cast<std::int64_t>(subsamples);
  block.carry = static_cast<double>(carry_);
  if (count != 0 && !counter_.started) counter_ = {true, words[0]};
  PulseBuffer pulses;
  ForEachMarked(
      words, count, stride, pulses, list,
      [&](const ULONG* some, std::size_t n, WordMarks& marks) {
        umlauf::encoder::MarkChanges(some, n, stride, counter_.last, EncoderWord::counterMask, marks);
      },
      [&](std::uint64_t i, ULONG word) {
        const std::uint64_t within = (word >> EncoderWord::timeShift) & EncoderWord::timeMask;
        const std::uint64_t time = i * subsamples + within * factor / EncoderWord::timeRange;
        TakeEvent(block, static_cast<std::int64_t>(time), word, pulses);
      },
      [&](const DenseWords& all) {  // mostly every event ends a pulse, as the one before did
        const std::int64_t last = previous_.time;
        if (edgesInPulse_ != 0 || block.carry != 0.0 || block.lastPulse != last) return false;
        if (block.entered != WholeSamplesUp(last, subsamples)) return false;
        umlauf::encoder::QuadratureState state{last, block.entered};
        if (!TakeAllQuadrature(all, {subsamples, highRes, block.revPerEdge, block.minimum}, state, pulses))
          return false;
        counter_.last = all.word[all.count - 1];
        previous_.time = block.lastPulse = state.lastTime;
        block.entered = state.entered;
        return true;
      });
  list.CompletePulsList(Rest(count, block.entered));
  list.CalcAverPulsF(static_cast<float>(sampleRate_));
  carry_ = static_cast<float>(block.carry);
  if (previous_.seen) previous_.time -= static_cast<std::int64_t>(count * subsamples);
  return 0;
}

/// Takes a word whose counter differs from the one before.
void CDzPulsTisDetector::TakeEvent(QuadratureBlock& block, std::int64_t time, ULONG word,
                                   PulseBuffer& pulses) {
  const PreviousEvent before = previous_;
  previous_ = {time, true};
  // The counter wraps around, its change does not.
  const auto counts = static_cast<std::int16_t>((word >> EncoderWord::counterShift) -
                                                (counter_.last >> EncoderWord::counterShift));
  counter_.last = word;
  if (!before.seen) return;
  edgesInPulse_ += counts;
  block.carry += static_cast<double>(time - before.time);
  if (edgesInPulse_ == 0 || time - block.lastPulse < block.minimum) return;
  const std::int64_t samples = WholeSamplesUp(time, block.subsamples) - block.entered;
  pulses.Add(samples, block.carry * block.revPerEdge / static_cast<double>(edgesInPulse_));
  block.entered += samples;
  block.carry = 0.0;
  block.lastPulse = time;
  edgesInPulse_ = 0;
}

bool CDzPulsTisDetector::IsEdge(ULONG word) const {
  switch (mode_) {
    case ETisMode::tisStandard:
      return EncoderWord::StandardEdge(word, Shift()) != 0;
    case ETisMode::tisHighRes:
      return (word & (EncoderWord::edgeCountMask << EncoderWord::edgeCountShift << Shift())) != 0;
    case ETisMode::tisQuadratureFourfold:
    case ETisMode::tisQuadrature:
    case ETisMode::tisQuadratureFourfoldHighRes:
    case ETisMode::tisQuadratureHighRes:
      return display_.started && ((word ^ display_.last) & EncoderWord::counterMask) != 0;
    default:
      return false;
  }
}

inline void CDzPulsTisDetector::KeepForDisplay(ULONG word) {
  const bool edge = IsEdge(word);
  if (edge || !display_.keptIsEdge) display_.kept = word;
  display_.keptIsEdge = display_.keptIsEdge || edge;
  display_.last = word;
  display_.started = true;
}

unsigned CDzPulsTisDetector::Downsampling(const ULONG* in, unsigned n, ULONG* out, unsigned outN, float ratio,
                                          float& phase) {
  if (in == nullptr || out == nullptr) return 0;
  if (!(ratio > 0.0f) || !std::isfinite(ratio) || !(phase >= 0.0f && phase <= 1.0f)) return 0;
  const double oldPhase = ratio > 1.0f ? static_cast<double>(phase) : 0.0;
  const double step = std::max(static_cast<double>(ratio), 1.0);
  const double total = static_cast<double>(n) / step + oldPhase;
  const auto outputs = numeric::trunc_sat<std::uint64_t>(total);
  std::uint64_t next = 0;
  for (std::uint64_t j = 0; j < outputs; ++j) {
    const double due = std::ceil((static_cast<double>(j + 1) - oldPhase) * step);
    const std::uint64_t end = std::min<std::uint64_t>(numeric::trunc_sat<std::uint64_t>(due), n);
    for (; next < end; ++next) KeepForDisplay(in[next]);
    if (j < outN) out[j] = display_.kept;
    display_.keptIsEdge = false;
  }
  for (; next < n; ++next) KeepForDisplay(in[next]);
  phase = static_cast<float>(total - static_cast<double>(outputs));
  return static_cast<unsigned>(std::min<std::uint64_t>(outputs, outN));
}
