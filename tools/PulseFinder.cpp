#include "tools/PulseFinder.h"

#include <algorithm>
#include <cmath>

#include "tools/Progress.h"
#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::tool {

RecordingStatistics MeasureRecording(BlockSource& source, std::size_t blockSize) {
  RecordingStatistics all;
  double sum = 0, sumSquares = 0;
  Progress progress("range", source.frames());
  source.Rewind();
  for (SampleBlock block = source.Read(blockSize); block.count > 0; block = source.Read(blockSize)) {
    float min = 0, max = 0;
    QVL::VectorMinMax(block.samples, block.count, block.stride, min, max);
    all.min = all.samples == 0 ? min : std::min(all.min, min);
    all.max = all.samples == 0 ? max : std::max(all.max, max);
    sum += QVL::VectorSum(block.samples, block.count, block.stride);
    sumSquares += QVL::VectorSumSquares(block.samples, block.count, block.stride);
    all.samples += block.count;
    progress.Advance(block.count);
  }
  source.Rewind();
  if (all.samples > 0) {
    all.mean = static_cast<float>(sum / static_cast<double>(all.samples));
    all.meanSquare = static_cast<float>(sumSquares / static_cast<double>(all.samples));
  }
  return all;
}

PulseAssembler::PulseAssembler(const CDzPulsDetektor& detector)
    : edgesPerPulse_(std::max(1u, detector.PulsTeiler())),
      pulsesPerRevolution_(static_cast<double>(detector.QuellenPulseProUmdrReal())),
      merges_(detector.PulsMinLen() > 1) {}

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
  pulse.first = !any_;
  pulse.begin = lastEdge_;
  pulse.revolutionTime = static_cast<double>(entry.Value());
  position_ += pulse.samples;

  // The value is the exact length times pulses per revolution, over the edges that went into it. They are
  // one by the divider, or several of them where short pulses were merged.
  const auto whole = static_cast<double>(pulse.samples);
  const double slack = 1e-6 * whole;
  const double perEdges = pulse.revolutionTime * edgesPerPulse_ / pulsesPerRevolution_;
  double merged = 1;
  if (merges_ && perEdges > 0 && std::abs(perEdges - whole) > 1 + slack) {
    merged = std::max(1.0, std::round(whole / perEdges));
  }
  const double length = perEdges * merged;
  pulse.held = !(std::abs(length - whole) <= 1 + slack);
  pulse.pitches = edgesPerPulse_ * merged;

  // The edge lies between the last sample of the pulse and the one before it; rounding does not add up.
  const double lastSample = static_cast<double>(position_) - 1;
  const double edge = pulse.held ? lastSample - 0.5 : lastEdge_ + length - (pulse.first ? 1 : 0);
  pulse.end = std::clamp(edge, lastSample - 1, lastSample);

  carried_ = 0;
  lastEdge_ = pulse.end;
  any_ = true;
  return pulse;
}

std::uint64_t FindPulses(BlockSource& source, std::size_t blockSize, CDzPulsDetektor& detector,
                         const PulseSink& sink) {
  CDzPulsListe list;
  std::uint64_t samples = 0;
  Progress progress("pulses", source.frames());
  source.Rewind();
  detector.Neustart();
  PulseAssembler assembler(detector);
  for (SampleBlock block = source.Read(blockSize); block.count > 0; block = source.Read(blockSize)) {
    detector.PulseSuchen(block.samples, block.count, list, block.stride);
    assembler.Take(list, sink);
    samples += block.count;
    progress.Advance(block.count);
  }
  return samples;
}

}  // namespace umlauf::tool
