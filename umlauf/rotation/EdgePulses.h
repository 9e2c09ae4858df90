#pragma once

#include <cstdint>
#include <span>

#include "umlauf/Export.h"
#include "umlauf/recording/EdgeSource.h"
#include "umlauf/rotation/PulseTrain.h"

/// Makes pulses of the times of edges, one after the other: each edge that counts ends a pulse which began at
/// the one before, so the first one ends none. Positions are microseconds from the first edge on, whatever
/// the times are. One object serves one recording and one thread at a time; it allocates nothing itself.
class UMLAUF_API CEdgePulses {
 public:
  struct Settings {
    bool rising = true, falling = false;  ///< edges that count
    unsigned divider = 1;                 ///< only every n-th of them ends a pulse; at least 1
    double pulsesPerRevolution = 1;       ///< above 0; edges that count
  };

  explicit CEdgePulses(const Settings& settings) : settings_(settings) {}

  /// Of the trains that it fills [1/s]; their start time is that of the first edge.
  static constexpr double sampleRate = 1e6;

  /// Takes the next edges and appends the pulses that they end; edges whose times do not rise are left out.
  void Take(std::span<const RecordedEdge> edges, CPulseTrain& pulses);

  /// Edges that counted.
  std::uint64_t Edges() const { return edges_; }
  /// [s] Time of the first edge, and of the last one that counted.
  double First() const { return first_; }
  double Last() const { return last_; }

 private:
  Settings settings_;
  std::uint64_t edges_ = 0;
  unsigned inPulse_ = 0;
  bool any_ = false;
  double first_ = 0, last_ = 0, begin_ = 0;
};
