#include "tools/PulseFinder.h"

#include <algorithm>
#include <cmath>

#include "tools/output/Progress.h"

namespace umlauf::tool {

RecordingStatistics MeasureRecording(BlockSource& source, std::size_t blockSize) {
  RecordingStatistics all;
  // Sums of differences from the first sample: a small swing around a large offset keeps its digits.
  float reference = 0;
  double sum = 0, sumSquares = 0;
  Progress progress("range", source.frames());
  source.Rewind();
  for (SampleBlock block = source.Read(blockSize); block.count > 0; block = source.Read(blockSize)) {
    for (std::size_t i = 0; i < block.count; ++i) {
      const float x = block.samples[i * block.stride];
      if (!std::isfinite(x)) continue;
      if (all.samples++ == 0) all.min = all.max = reference = x;
      all.min = std::min(all.min, x);
      all.max = std::max(all.max, x);
      const double difference = static_cast<double>(x) - static_cast<double>(reference);
      sum += difference;
      sumSquares += difference * difference;
    }
    progress.Advance(block.count);
  }
  source.Rewind();
  if (all.samples > 0) {
    const double n = static_cast<double>(all.samples), offset = sum / n;
    all.mean = static_cast<double>(reference) + offset;
    all.deviation = std::sqrt(std::max(sumSquares / n - offset * offset, 0.0));
  }
  return all;
}

PulseAssembler::PulseAssembler(const PulseForm& form)
    : form_(form), lastEdge_(form.kind == PulseForm::Kind::samples ? -1 : 0) {}

void PulseAssembler::Take(const CDzPulsListe& list, const PulseSink& sink) {
  for (std::size_t i = 0; i < list.size(); ++i) {
    const PulsEntry& entry = list[i];
    if (entry.IsOpen()) {
      carried_ += entry.NrSamples();
    } else {
      sink(Close(entry));
    }
  }
}

Pulse PulseAssembler::Close(const PulsEntry& entry) {
  Pulse pulse;
  pulse.samples = carried_ + entry.NrSamples();
  pulse.rising = !entry.IsLoFlank();
  pulse.first = !any_ && form_.kind != PulseForm::Kind::edgeToEdge;
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

void PulseAssembler::PlaceSampled(Pulse& pulse) const {
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
  pulse.held = !(std::abs(length - whole) <= 1 + slack);
  pulse.pitches = form_.edgesPerPulse * merged;

  // The edge lies between the last sample of the pulse and the one before it; rounding does not add up.
  const double lastSample = static_cast<double>(position_) - 1;
  const double edge = pulse.held ? lastSample - 0.5 : lastEdge_ + length;
  pulse.end = std::clamp(edge, lastSample - 1, lastSample);
}

void PulseAssembler::PlaceDigital(Pulse& pulse) const {
  // Fast encoders have several edges in a sample. How many of them a pulse is made of follows from its value
  // and the sample that it ends in.
  const double earliest =
      static_cast<double>(position_) - (form_.kind == PulseForm::Kind::edgeToEdge ? 1 : 0);
  const double perEdges = std::abs(pulse.revolutionTime) * form_.edgesPerPulse / form_.edgesPerRev;
  if (!(perEdges > 0)) {
    pulse.end = std::max(lastEdge_, earliest);
    return;
  }
  const double begin = any_ || pulse.first ? lastEdge_ : std::max(0.0, earliest + 0.5 - perEdges);
  const double edges = std::max(1.0, std::round((earliest + 0.5 - begin) / perEdges));
  pulse.begin = begin;
  pulse.end = std::clamp(begin + edges * perEdges, earliest, earliest + 1);
  const double pitches = perEdges < 1 ? (pulse.end - begin) / perEdges : edges;
  pulse.pitches = std::copysign(pitches * form_.edgesPerPulse, pulse.revolutionTime);
}

std::uint64_t AssemblePulses(const PulseForm& form, std::uint64_t frames, const BlockStep& step,
                             const PulseSink& sink) {
  CDzPulsListe list;
  PulseAssembler assembler(form);
  Progress progress("pulses", frames);
  std::uint64_t samples = 0;
  while (const std::uint64_t n = step(list)) {
    assembler.Take(list, sink);
    samples += n;
    progress.Advance(n);
  }
  return samples;
}

std::uint64_t FindPulses(BlockSource& source, std::size_t blockSize, CDzPulsDetektor& detector,
                         const PulseSink& sink) {
  PulseForm form;
  form.edgesPerPulse = std::max(1u, detector.PulsTeiler());
  form.edgesPerRev = static_cast<double>(detector.QuellenPulseProUmdrReal());
  form.merges = detector.PulsMinLen() > 1;
  source.Rewind();
  detector.Neustart();
  return AssemblePulses(
      form, source.frames(),
      [&](CDzPulsListe& list) -> std::uint64_t {
        const SampleBlock block = source.Read(blockSize);
        if (block.count > 0) detector.PulseSuchen(block.samples, block.count, list, block.stride);
        return block.count;
      },
      sink);
}

}  // namespace umlauf::tool
