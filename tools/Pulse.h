#pragma once

#include <cstdint>
#include <functional>

namespace umlauf::tool {

/// A closed pulse: from one taken edge of the wheel to the next one.
struct Pulse {
  double begin = 0, end = 0;  ///< [samples] of the two edges, interpolated; 0 = the first sample
  double revolutionTime = 0;  ///< [samples] for one revolution at the speed of this pulse; < 0 backward
  double pitches = 1;  ///< edges of a full wheel that it stands for: more than 1 for merged edges and gaps,
                       ///< below 0 backward
  std::uint64_t samples = 0;  ///< whole samples since the previous pulse
  bool rising = true;         ///< ended on a rising edge
  bool first = false;         ///< begins with the recording, not with an edge: its speed is unknown
  bool held = false;          ///< the spike filter put the value of an earlier pulse in place of its own
  bool gapCorrected = false;
  bool startsGap = false;  ///< its first edge is the last one before a gap of the wheel

  double length() const { return end - begin; }
  double middle() const { return (begin + end) / 2; }
  bool hasSpeed() const { return !first && revolutionTime != 0; }
  /// Revolutions that the wheel made in it.
  double turns() const { return length() / revolutionTime; }
  double rpm(double sampleRate) const { return 60 * sampleRate / revolutionTime; }
};

/// Takes pulses one after the other, in order of time.
using PulseSink = std::function<void(const Pulse&)>;

}  // namespace umlauf::tool
