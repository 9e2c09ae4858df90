// Looking pulses up, cutting and moving them, and putting their speed into other forms.

#include <algorithm>
#include <cmath>
#include <limits>

#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/pulses/FueGroeHopListe.h"
#include "umlauf/signal/SigCurve.h"

namespace {

/// Calls f(entry, first, end) with each entry's stretch of samples, limited to `limit`, which also ends the
/// walk.
template <class F>
void ForEachStretch(const umlauf::UnfilledVector<PulsEntry>& entries, std::uint64_t limit, F f) {
  std::uint64_t first = 0;
  for (const PulsEntry& entry : entries) {
    if (first == limit) return;
    const std::uint64_t end = first + std::min(entry.NrSamples(), limit - first);
    f(entry, first, end);
    first = end;
  }
}

}  // namespace

float CDzPulsListe::LocalRevTime(std::uint64_t sample) const {
  const std::int64_t i = Sample2Idx(sample);
  return i < 0 ? state_.averPulsT : entries_[static_cast<std::size_t>(i)].Value();
}

float CDzPulsListe::LocalSpeed(std::uint64_t sample) const { return Rpm(LocalRevTime(sample)); }

float CDzPulsListe::LocalMaxSpeed(std::uint64_t from, std::uint64_t to) const {
  float fastest = 0.0f;
  ForEachStretch(entries_, to, [&](const PulsEntry& entry, std::uint64_t, std::uint64_t end) {
    const float speed = Rpm(entry.Value());
    if (end > from && std::fabs(speed) > std::fabs(fastest)) fastest = speed;
  });
  return fastest;
}

std::int64_t CDzPulsListe::FindPulsForSample(std::uint64_t sample) const {
  const std::int64_t i = Sample2Idx(sample);
  return i >= 0 && entries_[static_cast<std::size_t>(i)].Covers(sample) ? i : -1;
}

double CDzPulsListe::FindSampleForPuls(double puls) const {
  if (entries_.empty() || std::isnan(puls)) return -1.0;
  double position = 0.0;
  for (const PulsEntry& entry : entries_) {
    position += static_cast<double>(entry.NrSamples()) * std::clamp(puls, 0.0, 1.0);
    puls -= 1.0;
    if (!(puls > 0.0)) break;
  }
  return position;
}

void CDzPulsListe::NoteLastPulse() {
  state_.lastPulseOpen = !entries_.empty() && entries_.back().IsOpen() ? 1 : 0;
}

void CDzPulsListe::ShiftPulses(std::int64_t samples) {
  if (entries_.empty() || samples == 0) return;
  if (samples > 0) {
    PulsEntry& first = entries_.front();
    first.SetNrSamples(first.NrSamples() + static_cast<std::uint64_t>(samples));
    NumberStarts();
  } else {
    CopyPulsList(*this, 0 - static_cast<std::uint64_t>(samples), std::numeric_limits<std::uint64_t>::max());
  }
}

bool CDzPulsListe::CopyPulsList(const CDzPulsListe& other, std::uint64_t from, std::uint64_t to) {
  if (this != &other) {
    if (!resize(other.entries_.size())) return false;
    CFueGroeListeBasis::operator=(other);
    state_ = other.state_;
  }
  std::size_t count = 0;  // never ahead of the entry being read, so the lists may be one
  ForEachStretch(other.entries_, to, [&](PulsEntry entry, std::uint64_t first, std::uint64_t end) {
    const bool touches = end > from || (end == first && first == from);
    if (!touches) return;
    const bool cut = entry.NrSamples() > end - first;
    first = std::max(first, from);
    entry.SetStartSample(first - from);
    entry.SetNrSamples(end - first);
    if (cut) entry.SetOpen(true);
    entries_[count++] = entry;
  });
  entries_.resize(count);
  NoteLastPulse();
  return true;
}

std::uint64_t CDzPulsListe::ReduceToPostGap() {
  // A gap pulse stands for several teeth: its value times that number is the time that passed.
  const float teeth = state_.gapFactor > 0.0f ? 1.0f / state_.gapFactor : 1.0f;
  std::size_t count = 0;
  std::uint64_t samples = 0;
  double times = 0.0;
  double weights = 0.0;
  const auto close = [&](PulsEntry entry, bool open) {
    entry.SetNrSamples(samples);
    entry.SetValue(static_cast<float>(times / weights));
    entry.SetGapCorrected(false);
    entry.SetOpen(open);
    entries_[count++] = entry;
    samples = 0;
    times = weights = 0.0;
  };
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const PulsEntry entry = entries_[i];
    const double weight = entry.IsGapCorrected() ? static_cast<double>(teeth) : 1.0;
    samples += entry.NrSamples();
    times += weight * static_cast<double>(entry.Value());
    weights += weight;
    const bool mark = entry.IsGapCorrected() && !entry.IsOpen();
    if (mark || i + 1 == entries_.size()) close(entry, !mark);
  }
  entries_.resize(count);
  NoteLastPulse();
  state_.pulseProUmdr = 1.0f;
  NumberStarts();
  return NrRealPulses();
}

void CDzPulsListe::CopyFueGroeHopList(CFueGroeHopListe& hops) const {
  hops.Reset();
  hops.SetSignalId(SignalId());
  hops.SetSampleRate(SampleRate());
  for (const PulsEntry& entry : entries_) hops.AddEntry(entry.NrSamples(), Rpm(entry.Value()));
  hops.ListeAbschliessen(0);
}

void CDzPulsListe::AnalogExport(float* out, std::uint64_t n) const {
  float speed = Rpm(state_.averPulsT);
  std::uint64_t filled = 0;
  ForEachStretch(entries_, n, [&](const PulsEntry& entry, std::uint64_t first, std::uint64_t end) {
    speed = Rpm(entry.Value());
    QVL::FillFloat(out + first, static_cast<std::size_t>(end - first), speed);
    filled = end;
  });
  QVL::FillFloat(out + filled, static_cast<std::size_t>(n - filled), speed);
}

void CDzPulsListe::AnalogPulsExport(float* out, std::uint64_t n) const {
  QVL::FillFloat(out, static_cast<std::size_t>(n), 0.0f);
  ForEachStretch(entries_, n, [&](const PulsEntry& entry, std::uint64_t first, std::uint64_t end) {
    const bool whole = end - first == entry.NrSamples();
    if (whole && end != first && !entry.IsOpen()) out[end - 1] = 1.0f;
  });
}

bool CDzPulsListe::GenerateVisCurve(CSigCurve& curve, std::uint64_t points) const {
  double total = 0.0;
  for (const PulsEntry& entry : entries_) total += static_cast<double>(entry.NrSamples());
  if (!(total > 0.0) || !(SampleRate() > 0.0f) || points == 0 || !curve.Resize(points)) return false;

  const double share = total / static_cast<double>(points);
  auto entry = entries_.begin();
  double entryEnd = static_cast<double>(entry->NrSamples());
  double position = 0.0;
  for (std::uint64_t i = 0; i < points; ++i) {
    const double start = position;
    const double end = share * static_cast<double>(i + 1);
    double sum = 0.0;
    while (entryEnd < end && entry + 1 != entries_.end()) {
      sum += (entryEnd - position) * static_cast<double>(Rpm(entry->Value()));
      position = entryEnd;
      ++entry;
      entryEnd += static_cast<double>(entry->NrSamples());
    }
    sum += (end - position) * static_cast<double>(Rpm(entry->Value()));
    position = end;
    curve.SetAt(static_cast<std::size_t>(i), end > start ? static_cast<float>(sum / (end - start)) : 0.0f);
  }
  curve.SetXMinMax(0.0f, static_cast<float>(total / static_cast<double>(SampleRate())));
  curve.SetXUnit(CMeasuringUnit(CMeasuringUnit::second));
  curve.SetYUnit(CMeasuringUnit(IsRealSpeedList() ? CMeasuringUnit::rpm : CMeasuringUnit::none));
  return true;
}

void CDzPulsListe::DebugOutput(const wchar_t* title, unsigned n) const {
  if (title != nullptr) PrWin::Output(PrWin::debug, L"%s\n", title);
  if (entries_.empty()) PrWin::Output(PrWin::debug, L"(keine Pulse)\n");
  std::uint64_t end = 0;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const PulsEntry& entry = entries_[i];
    end += entry.NrSamples();
    if (i >= n && i + n <= entries_.size()) continue;
    PrWin::Output(PrWin::debug, L"%3d [%4d]: %7.2f = %4.1f UpM, nrSmp: %4d   %c%c%c\n", i, end, entry.Value(),
                  SampleRate() * 60.0f / entry.Value(), entry.NrSamples(),
                  entry.IsHiFlank() ? L'\u2191' : L'\u2193', entry.IsGapCorrected() ? L'\u221F' : L' ',
                  entry.IsOpen() ? L'f' : L' ');
  }
}
