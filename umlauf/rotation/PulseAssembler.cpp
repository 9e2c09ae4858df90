#include "umlauf/rotation/PulseAssembler.h"

#include <algorithm>
#include <cmath>

#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/tacho/DzPulsDetektor.h"

PulseForm PulseForm::Of(const CDzPulsDetektor& detector) {
  PulseForm form;
  form.edgesPerPulse = std::max(1u, detector.PulsTeiler());
  form.edgesPerRev = static_cast<double>(detector.QuellenPulseProUmdrReal());
  form.merges = detector.PulsMinLen() > 1;
  return form;
}

PulseForm PulseForm::Of(CDzPulsTisDetector::ETisMode mode, double pulsesPerRev, unsigned divider) {
  using Mode = CDzPulsTisDetector::ETisMode;
  const bool fourfold = mode == Mode::tisQuadratureFourfold || mode == Mode::tisQuadratureFourfoldHighRes;
  PulseForm form;
  form.kind = mode == Mode::tisStandard ? Kind::edgeWords : Kind::edgeToEdge;
  form.edgesPerPulse = std::max(1u, divider);
  form.edgesPerRev = pulsesPerRev * (fourfold ? 4 : 1);
  return form;
}

CPulseAssembler::CPulseAssembler(const PulseForm& form)
    : form_(form), lastEdge_(form.kind == PulseForm::Kind::samples ? -1 : 0) {}

void CPulseAssembler::Take(const CDzPulsListe& list, CPulseTrain& pulses) {
  if (!list.Complete()) pulses.MarkIncomplete();
  std::span<const PulsEntry> entries(list.data(), list.size());
  if (form_.kind == PulseForm::Kind::samples) entries = TakeSampled(entries, pulses);
  for (const PulsEntry& entry : entries) {
    if (entry.IsOpen()) {
      carried_ += entry.NrSamples();
    } else {
      pulses.Append(Close(entry));
    }
  }
}

/// Most pulses of a sampled signal, from the second one on: as `Close`, all columns at once. Returns those
/// that are left.
std::span<const PulsEntry> CPulseAssembler::TakeSampled(std::span<const PulsEntry> entries,
                                                        CPulseTrain& pulses) {
  std::size_t count = entries.size();
  while (count > 0 && entries[count - 1].IsOpen()) --count;
  if (!any_ || count == 0) return entries;
  const CPulseTrain::Columns columns = pulses.Extend(count, std::max(lastEdge_, 0.0));
  const double edgesPerPulse = form_.edgesPerPulse, edgesPerRev = form_.edgesPerRev;
  const bool merges = form_.merges;
  double lastEdge = lastEdge_;
  std::uint64_t position = position_, carried = carried_;
  for (std::size_t i = 0; i < count; ++i) {
    const PulsEntry& entry = entries[i];
    const std::uint64_t samples = carried + entry.NrSamples();
    carried = 0;
    position += samples;
    const auto whole = static_cast<double>(static_cast<std::int64_t>(samples));
    const auto value = static_cast<double>(entry.Value());
    double length = value * edgesPerPulse / edgesPerRev, merged = 1;
    if (merges && length > 0 && std::abs(length - whole) > 1 + 1e-6 * whole) {  // rare
      merged = std::max(1.0, std::round(whole / length));
      length *= merged;
    }
    const bool held = !(std::abs(length - whole) <= 1 + 1e-6 * whole);
    const double lastSample = static_cast<double>(static_cast<std::int64_t>(position)) - 1;
    const double edge = held ? lastSample - 0.5 : lastEdge + length;
    lastEdge = std::clamp(edge, lastSample - 1, lastSample);
    columns.ends[i] = lastEdge;
    columns.revolutionTimes[i] = value;
    columns.pitches[i] = edgesPerPulse * merged;
    columns.samples[i] = samples;
    columns.flags[i] = static_cast<std::uint8_t>((entry.IsLoFlank() ? 0 : CPulseTrain::rising) |
                                                 (held ? CPulseTrain::held : 0));
  }
  lastEdge_ = lastEdge;
  position_ = position;
  carried_ = carried;
  return entries.subspan(pulses.Complete() ? count : entries.size());
}

CPulseTrain::Pulse CPulseAssembler::Close(const PulsEntry& entry) {
  CPulseTrain::Pulse pulse;
  pulse.samples = carried_ + entry.NrSamples();
  pulse.Set(CPulseTrain::rising, !entry.IsLoFlank());
  pulse.Set(CPulseTrain::first, !any_ && form_.kind != PulseForm::Kind::edgeToEdge);
  pulse.begin = lastEdge_;
  pulse.revolutionTime = static_cast<double>(entry.Value());
  position_ += pulse.samples;
  if (form_.kind == PulseForm::Kind::samples) {
    PlaceSampled(pulse);
  } else {
    PlaceDigital(pulse);
  }
  carried_ = 0;
  lastEdge_ = pulse.end;
  pulse.begin = std::max(pulse.begin, 0.0);
  any_ = true;
  return pulse;
}

void CPulseAssembler::PlaceSampled(CPulseTrain::Pulse& pulse) const {
  // The value is the exact length times pulses per revolution, over the edges that went into it. They are
  // one by the divider, or several of them where short pulses were merged.
  const auto whole = static_cast<double>(pulse.samples);
  const double slack = 1e-6 * whole;
  const double perEdges = pulse.revolutionTime * form_.edgesPerPulse / form_.edgesPerRev;
  double merged = 1;
  if (form_.merges && perEdges > 0 && std::abs(perEdges - whole) > 1 + slack) {
    merged = std::max(1.0, std::round(whole / perEdges));
  }
  const double length = perEdges * merged;
  const bool held = !(std::abs(length - whole) <= 1 + slack);
  pulse.Set(CPulseTrain::held, held);
  pulse.pitches = form_.edgesPerPulse * merged;

  // The edge lies between the last sample of the pulse and the one before it; rounding does not add up.
  const double lastSample = static_cast<double>(position_) - 1;
  const double edge = held ? lastSample - 0.5 : lastEdge_ + length;
  pulse.end = std::clamp(edge, lastSample - 1, lastSample);
}

void CPulseAssembler::PlaceDigital(CPulseTrain::Pulse& pulse) const {
  // Fast encoders have several edges in a sample. How many of them a pulse is made of follows from its value
  // and the sample that it ends in.
  const double earliest =
      static_cast<double>(position_) - (form_.kind == PulseForm::Kind::edgeToEdge ? 1 : 0);
  const double perEdges = std::abs(pulse.revolutionTime) * form_.edgesPerPulse / form_.edgesPerRev;
  if (!(perEdges > 0)) {
    pulse.end = std::max(lastEdge_, earliest);
    return;
  }
  const double begin =
      any_ || pulse.Is(CPulseTrain::first) ? lastEdge_ : std::max(0.0, earliest + 0.5 - perEdges);
  const double edges = std::max(1.0, std::round((earliest + 0.5 - begin) / perEdges));
  pulse.begin = begin;
  pulse.end = std::clamp(begin + edges * perEdges, earliest, earliest + 1);
  const double pitches = perEdges < 1 ? (pulse.end - begin) / perEdges : edges;
  pulse.pitches = std::copysign(pitches * form_.edgesPerPulse, pulse.revolutionTime);
}
