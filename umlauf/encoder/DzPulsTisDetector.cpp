#include "umlauf/encoder/DzPulsTisDetector.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "umlauf/encoder/EncoderWord.h"
#include "umlauf/encoder/internal/PulseBuffer.h"
#include "umlauf/encoder/internal/WordScan.h"
#include "umlauf/platform/framework/CString.h"
#include "umlauf/platform/ui/UserInterface.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/pulses/DzPulsListe.h"

namespace {

using umlauf::encoder::kScanned;
using umlauf::encoder::PulseBuffer;
using umlauf::encoder::WordMarks;

/// Sub-samples in samples, rounded up; sub-samples per sample are a power of two.
std::int64_t WholeSamplesUp(std::int64_t time, unsigned subsamples) {
  return (time + static_cast<std::int64_t>(subsamples) - 1) >> std::countr_zero(subsamples);
}

/// Calls mark(words, n, marks) for successive words of a block, then take(i, word) in order for each marked
/// one, and moves the pulses that this gave into the list. takeRest(i, word, n), with word[k] the k-th of n
/// words and i(k) its place, may take all behind the first one at once, or none and return false.
template <class Mark, class Take, class TakeRest>
void ForEachMarked(const ULONG* words, std::uint64_t count, unsigned stride, PulseBuffer& pulses,
                   CDzPulsListe& list, Mark mark, Take take, TakeRest takeRest) {
  WordMarks marks;
  for (std::uint64_t done = 0; done < count;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(kScanned, count - done));
    const ULONG* const some = words + done * stride;
    mark(some, n, marks);
    const auto place = [&](std::size_t k) { return done + marks.place[k]; };
    const umlauf::encoder::MarkedWords word(some, stride, marks);
    for (std::size_t k = 0; k < marks.count; ++k) {
      take(place(k), word[k]);
      if (k == 0 && takeRest(place, word, marks.count)) break;
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
  decoder_.clear();
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
      [&](auto place, auto word, std::size_t n) {
        if (divider_ != 1 || countdown != 1 || edgesInPulse != 0 || carry != 0.0) return false;
        if (numeric::trunc_sat<std::int64_t>(lastEdge) != pulseStart) return false;
        double last = lastEdge;
        std::int64_t start = pulseStart;
        unsigned errorBits = 0, merged = 0;
        for (std::size_t k = 1; k < n; ++k) {
          const ULONG half = (word[k] >> shift) & EncoderWord::halfMask;
          errorBits += (half & EncoderWord::standardError) != 0 ? 1 : 0;
          const double edge =
              static_cast<double>(static_cast<int>(half >> EncoderWord::standardTimeShift)) * samplesPerTick +
              static_cast<double>(static_cast<std::int64_t>(place(k)));
          const auto edgeSample = static_cast<std::int64_t>(edge);
          merged |= edgeSample - start < minimum ? 1 : 0;
          pulses.Put(k - 1, edgeSample - start, (edge - last) * revPerEdge);
          last = edge;
          start = edgeSample;
        }
        if (merged != 0) return false;
        pulses.Keep(n - 1);
        lastEdge = last;
        pulseStart = start;
        errors += errorBits;
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
      [&](auto place, auto word, std::size_t n) {
        const auto endOf = [=](std::uint64_t i, std::uint32_t position) {
          return static_cast<std::int64_t>(i) + WholeSamplesUp(position, subsamples);
        };
        if (edgesInPulse != 0 || carry != 0.0 || entered != endOf(lastEdge, half.lastPosition)) return false;
        std::uint64_t last = lastEdge;
        std::int64_t end = entered;
        std::uint32_t lastPosition = half.lastPosition;
        unsigned errorWords = 0, merged = 0;
        for (std::size_t k = 1; k < n; ++k) {
          const std::uint64_t i = place(k);
          const ULONG bits = word[k] >> shift;
          const ULONG edges = (bits >> EncoderWord::edgeCountShift) & EncoderWord::edgeCountMask;
          const std::uint32_t position = (bits >> EncoderWord::timeShift) & EncoderWord::timeMask;
          errorWords += edges == EncoderWord::edgeCountError ? 1 : 0;
          const auto step = static_cast<int>(position) - static_cast<int>(lastPosition);
          const double length = static_cast<double>(step) * resolution +
                                static_cast<double>(static_cast<std::int64_t>(i - last));
          const std::int64_t before = end;
          end = endOf(i, position);
          merged |= static_cast<std::int64_t>(i) - before < minimum || end == before ? 1 : 0;
          pulses.Put(k - 1, end - before, revPerEdge * length / static_cast<double>(static_cast<int>(edges)));
          last = i;
          lastPosition = position;
        }
        if (merged != 0) return false;
        pulses.Keep(n - 1);
        lastEdge = last;
        half.lastPosition = lastPosition;
        entered = end;
        errors += errorWords;
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

/// What runs on through the chunks of one block of a quadrature stream. Times in sub-samples.
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
  decoder_.subsamples(subsamples);
  QuadratureBlock block;
  block.subsamples = subsamples;
  block.revPerEdge = (fourfold ? 4.0 : 1.0) * static_cast<double>(pulsesPerRev_) *
                     static_cast<double>(divider_) / static_cast<double>(subsamples);
  block.minimum = (static_cast<std::int64_t>(minSamples_) + 1) * subsamples;
  block.lastPulse = -static_cast<std::int64_t>(subsamples);
  block.carry = static_cast<double>(carry_);
  PulseBuffer pulses;
  for (std::uint64_t done = 0; done < count;) {
    const std::uint64_t n = std::min<std::uint64_t>(kScanned, count - done);
    decoder_.decode(words + done * stride, static_cast<unsigned>(n), stride, highRes);
    TakeEvents(block, done, pulses);
    pulses.MoveTo(list);
    done += n;
  }
  list.CompletePulsList(Rest(count, block.entered));
  list.CalcAverPulsF(static_cast<float>(sampleRate_));
  carry_ = static_cast<float>(block.carry);
  if (previous_.seen) previous_.time -= static_cast<std::int64_t>(count * subsamples);
  return 0;
}

/// Takes all events behind the first one, each of which ends a pulse, as mostly all do. False when one does
/// not, and then nothing has changed.
bool CDzPulsTisDetector::TakeEveryEvent(QuadratureBlock& block, std::int64_t firstTime, PulseBuffer& pulses) {
  const std::vector<CQuadratureDecoder::Event>& events = decoder_.events();
  std::int64_t last = previous_.time, entered = block.entered;
  if (edgesInPulse_ != 0 || block.carry != 0.0 || block.lastPulse != last) return false;
  if (entered != WholeSamplesUp(last, block.subsamples)) return false;
  std::int32_t position = previous_.position;
  unsigned merged = 0;
  for (std::size_t k = 1; k < events.size(); ++k) {
    const std::int64_t time = firstTime + static_cast<std::int64_t>(events[k].time);
    const auto edges = static_cast<std::int32_t>(static_cast<std::uint32_t>(events[k].position) -
                                                 static_cast<std::uint32_t>(position));
    const std::int64_t end = WholeSamplesUp(time, block.subsamples);
    merged |= time - last < block.minimum || edges == 0 ? 1 : 0;
    pulses.Put(k - 1, end - entered,
               static_cast<double>(time - last) * block.revPerEdge / static_cast<double>(edges));
    last = time;
    entered = end;
    position = events[k].position;
  }
  if (merged != 0) return false;
  pulses.Keep(events.size() - 1);
  previous_ = {last, position, true};
  block.lastPulse = last;
  block.entered = entered;
  return true;
}

void CDzPulsTisDetector::TakeEvents(QuadratureBlock& block, std::uint64_t firstSample, PulseBuffer& pulses) {
  const auto firstTime = static_cast<std::int64_t>(firstSample * block.subsamples);
  const std::vector<CQuadratureDecoder::Event>& events = decoder_.events();
  for (std::size_t k = 0; k < events.size(); ++k) {
    const PreviousEvent before = previous_;
    previous_ = {firstTime + static_cast<std::int64_t>(events[k].time), events[k].position, true};
    TakeEvent(block, before, pulses);
    if (k == 0 && TakeEveryEvent(block, firstTime, pulses)) return;
  }
}

/// Takes the event that is the previous one from now on.
void CDzPulsTisDetector::TakeEvent(QuadratureBlock& block, const PreviousEvent& before, PulseBuffer& pulses) {
  if (!before.seen) return;
  // The position wraps around, its change does not.
  edgesInPulse_ += static_cast<std::int32_t>(static_cast<std::uint32_t>(previous_.position) -
                                             static_cast<std::uint32_t>(before.position));
  block.carry += static_cast<double>(previous_.time - before.time);
  if (edgesInPulse_ == 0 || previous_.time - block.lastPulse < block.minimum) return;
  const std::int64_t samples = WholeSamplesUp(previous_.time, block.subsamples) - block.entered;
  pulses.Add(samples, block.carry * block.revPerEdge / static_cast<double>(edgesInPulse_));
  block.entered += samples;
  block.carry = 0.0;
  block.lastPulse = previous_.time;
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
