#include "umlauf/pulses/DzPulsListe.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/platform/vekta/internal/PulseKernels.h"
#include "umlauf/platform/vekta/numeric.h"

namespace {

constexpr float kGreatest = std::numeric_limits<float>::max();
constexpr float kOneRpm = 0.01667f;  // [rev/s]
constexpr float kRevPerSecondPerRpm = 0.016667f;
constexpr float kGapRatio = 1.2f;  // a pulse this much longer than the shortest spans a gap

struct STrailer {
  std::uint32_t lastPulseOpen;
  std::int32_t associatedList;
  float averPulsT;
  float reverseFactor;
};
static_assert(sizeof(STrailer) == 16);

/// The last eight bytes of an entry that a rising or a falling edge ended.
std::uint64_t EdgeWord(bool rising) {
  PulsEntry entry;
  entry.SetHiFlank(rising);
  return std::bit_cast<std::array<std::uint64_t, 4>>(entry)[3];
}

}  // namespace

void CDzPulsListe::Reset() {
  CFueGroeListe::Reset();
  state_.numbered = 0;
  state_.averPulsT = 0.0f;
  state_.totalSamples = 0;
  state_.emptyBlocks = 0;
  state_.gapFactor = 0.0f;
  state_.lastPulseOpen = 2;
  state_.reverseFactor = 1.0f;
}

void CDzPulsListe::SetEmpty() {
  Clear();
  state_.numbered = 0;
  SetAverage(0.0f);
}

bool CDzPulsListe::AddPulses(const std::int64_t* ends, const float* values, std::size_t n,
                             std::uint64_t start, bool rising, bool alternating) {
  const std::uint64_t flags[2] = {EdgeWord(rising), EdgeWord(rising != alternating)};
  const std::size_t from = entries_.size();
  if (!umlauf::HadMemory([&] { entries_.resize(from + n); })) return false;
  umlauf::vekta::StorePulseRecords(entries_.data() + from, ends, values, n, start, flags);
  if (state_.numbered == from) state_.numbered += n;
  if (n != 0) InitLastValue(values[n - 1]);
  return true;
}

void CDzPulsListe::CompletePulsList(std::uint64_t rest) {
  if (!entries_.empty()) {
    state_.emptyBlocks = 0;
  } else {
    if (state_.emptyBlocks != std::numeric_limits<std::uint32_t>::max()) ++state_.emptyBlocks;
    if (state_.emptyBlocks > state_.emptyBlockLimit) InitLastValue(0.0f);
  }
  state_.lastPulseOpen = 0;
  if (rest != 0) {
    const std::size_t closed = entries_.size();
    AddEntry(rest, LastValue()).SetOpen(true);
    if (entries_.size() > closed) state_.lastPulseOpen = 1;
  }
  NumberStarts(std::min(state_.numbered, entries_.size()));
  state_.numbered = 0;  // what is changed and completed later is numbered afresh
}

void CDzPulsListe::NumberStarts(std::size_t from) {
  std::uint64_t start = from == 0 ? 0 : entries_[from - 1].StartSample() + entries_[from - 1].NrSamples();
  for (; from < entries_.size(); ++from) {
    entries_[from].SetStartSample(start);
    start += entries_[from].NrSamples();
  }
}

float CDzPulsListe::CalcAverPulsF(float sampleRate) {
  SetSampleRate(sampleRate);
  SetAverage(0.0f);
  state_.averPulsT = LastValue();
  state_.totalSamples = 0;
  if (entries_.empty()) {
    SetAverage(RevPerSecond(state_.averPulsT));
  } else {
    SetAverage(entries_.size() == 1 ? AverageOfOne() : AverageOfMany());
  }
  return Average();
}

float CDzPulsListe::AverageOfOne() {
  PulsEntry& entry = entries_.front();
  state_.totalSamples = entry.NrSamples();
  state_.averPulsT = entry.Value();
  float speed = RevPerSecond(entry.Value());
  if (std::fabs(speed) < kOneRpm) {
    speed = 0.0f;
    entry.SetValue(kGreatest);
    state_.averPulsT = kGreatest;
  }
  // As many blocks as the slowest speed of interest needs for one pulse.
  const float blocks = SampleRate() / (state_.minRpm * kRevPerSecondPerRpm) / state_.pulseProUmdr /
                       static_cast<float>(entry.NrSamples());
  const auto whole = numeric::trunc_sat<std::uint32_t>(blocks);
  state_.emptyBlockLimit = std::max(whole, whole + 1);
  return speed;
}

float CDzPulsListe::AverageOfMany() {
  PulsGapCorrection();
  // Four sums by turns: an addition does not wait for the one before.
  std::array<double, 4> sums{};
  std::uint64_t samples = 0;
  const auto add = [&](const PulsEntry& entry, double& sum) {
    sum += static_cast<double>(entry.Value());
    samples += entry.NrSamples();
  };
  std::size_t i = 0;
  for (; i + sums.size() <= entries_.size(); i += sums.size()) {
    for (std::size_t k = 0; k < sums.size(); ++k) add(entries_[i + k], sums[k]);
  }
  for (; i < entries_.size(); ++i) add(entries_[i], sums[0]);
  state_.totalSamples = samples;
  const double sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
  state_.averPulsT = static_cast<float>(sum / static_cast<double>(entries_.size()));
  return RevPerSecond(state_.averPulsT);
}

bool CDzPulsListe::PulsGapCorrection() {
  if (!state_.gapOn || state_.gapFactor == 1.0f) return false;
  const auto n = static_cast<std::ptrdiff_t>(NrRealPulses());
  if (n <= 3) return false;
  const auto last = entries_.begin() + n;
  const auto byValue = [](const PulsEntry& a, const PulsEntry& b) { return a.Value() < b.Value(); };
  const float shortest = std::min_element(entries_.begin(), last, byValue)->Value();
  if (!(shortest > 0.0f)) return false;  // no measure for the others
  bool changed = false;
  for (auto entry = entries_.begin(); entry != last; ++entry) {
    if (!(entry->Value() > kGapRatio * shortest)) continue;
    if (state_.gapFactor == 0.0f && !FindGapFactor(entry->Value() / shortest)) continue;
    entry->SetValue(entry->Value() * state_.gapFactor);
    entry->SetGapCorrected(true);
    changed = true;
  }
  const PulsEntry& examined = *(last - 1);
  if (state_.lastPulseOpen != 0 && last != entries_.end() && examined.IsGapCorrected()) {
    last->SetValue(examined.Value());
  }
  return changed;
}

bool CDzPulsListe::FindGapFactor(float ratio) {
  const float factor = 2.0f / std::roundf(2.0f * ratio);
  if (!(factor > 0.0f)) return false;  // the pulse is endless
  state_.gapFactor = factor;
  PrWin::Output(PrWin::note, L"Speed detection for signal [%d] calculated puls gap rel. lenght %5.2f\n",
                SignalId(), 1.0f / factor);
  return true;
}

void CDzPulsListe::ActivatePulsGapCorrection(bool on, float relLength) {
  state_.gapOn = on;
  state_.gapFactor = relLength > 0.0f ? 1.0f / relLength : 0.0f;
}

bool CDzPulsListe::AdjustLastPulse(const CDzPulsListe& next) {
  if (entries_.empty() || !entries_.back().IsOpen()) return false;
  if (next.entries_.empty() || next.entries_.front().IsOpen()) return false;
  entries_.back().SetValue(next.entries_.front().Value());
  return true;
}

float CDzPulsListe::RevPerSecond(float revTime) const {
  return revTime == 0.0f ? 0.0f : SampleRate() / revTime;
}

float CDzPulsListe::Rpm(float revTime) const {
  return state_.speedFactor * state_.reverseFactor * RevPerSecond(revTime);
}

float CDzPulsListe::PulsSpeed(unsigned index) const {
  if (entries_.empty()) return RevPerSecond(state_.averPulsT);
  return index < entries_.size() ? RevPerSecond(entries_[index].Value()) : 0.0f;
}

float CDzPulsListe::PulsSpeed(const_iterator entry) const {
  if (entries_.empty()) return RevPerSecond(state_.averPulsT);
  return entry != entries_.end() ? RevPerSecond(entry->Value()) : 0.0f;
}

std::uint64_t CDzPulsListe::NrRealPulses() const {
  return entries_.empty() || LastPulsUsable() ? entries_.size() : entries_.size() - 1;
}

std::uint64_t CDzPulsListe::length() const { return CFueGroeListe::length() + sizeof(STrailer); }

std::int64_t CDzPulsListe::write(void* dst) const {
  const std::int64_t written = CFueGroeListe::write(dst);
  if (written < 0) return written;
  const STrailer trailer{state_.lastPulseOpen != 0 ? 1u : 0u, state_.associatedList, state_.averPulsT,
                         state_.reverseFactor};
  std::memcpy(static_cast<std::byte*>(dst) + written, &trailer, sizeof trailer);
  return written + static_cast<std::int64_t>(sizeof trailer);
}

std::int64_t CDzPulsListe::read(const void* src, std::uint64_t available) {
  if (available < sizeof(STrailer)) return -1;
  const std::int64_t consumed = CFueGroeListe::read(src, available - sizeof(STrailer));
  if (consumed < 0) return consumed;
  STrailer trailer;
  std::memcpy(&trailer, static_cast<const std::byte*>(src) + consumed, sizeof trailer);
  state_.lastPulseOpen = trailer.lastPulseOpen != 0 ? 1 : 0;
  state_.associatedList = trailer.associatedList != 0 ? 1 : 0;
  state_.averPulsT = trailer.averPulsT;
  state_.reverseFactor = trailer.reverseFactor;
  return consumed + static_cast<std::int64_t>(sizeof trailer);
}
