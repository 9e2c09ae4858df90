#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/rotation/Wheel.h"

/// Successive pulses that are longer than their neighbours: a gap of the wheel, or a standstill, a run-up, a
/// tooth that was missed.
struct LongPulses {
  std::int64_t edge = 0;  ///< edges of the recording before them
  unsigned pulses =
      1;              ///< several where the sensor lengthens the tooth behind the gap at the cost of the gap
  double length = 0;  ///< [pitches] of all of them together, measured

  /// [pitches] Length of a gap of one pulse that lacks as many teeth.
  double Relative() const { return length - pulses + 1; }
};

/// Finds the gaps of a toothed wheel among all long pulses of a recording.
///
/// The same gap comes back after a revolution, and edges can be counted exactly, how ever unsteady the shaft
/// turns. So the number of edges of a revolution is the one that lies between most pairs of long pulses of
/// like length, and makes a whole wheel together with the teeth that they lack: this tells a wheel with two
/// gaps on opposite sides from one with half as many teeth. Lengths are means over the recording, rounded to
/// whole pitches so that the wheel is complete. Where a revolution has a glitch, the gaps on either side of
/// it have others to go by.
///
/// Nothing throws. One object is used by one thread at a time.
class UMLAUF_API CWheelFinder {
 public:
  static constexpr std::int64_t mostGlitch = 2;  ///< edges too many or too few in a revolution

  /// `pitches` of the wheel without gaps; nothing: the teeth from gap to gap are counted.
  explicit CWheelFinder(std::optional<double> pitches) : pitches_(pitches) {}
  CWheelFinder(CWheelFinder&&) noexcept = default;
  CWheelFinder& operator=(CWheelFinder&&) noexcept = default;

  /// Finds the wheel from the long pulses of a recording, in their order. False when none come back after a
  /// revolution; a single one that can be a gap is believed.
  bool Find(std::span<const LongPulses> found);

  /// With the longest gap first; without gaps when there are none, and of 1 pitch when nothing is known.
  const PulseWheel& Wheel() const { return wheel_; }
  /// Edges of a revolution; 0 when no gaps were found.
  std::int64_t Edges() const { return edges_; }
  /// The gap of the wheel that `found[i]` is, from its neighbours within a revolution; negative when it is
  /// none of them.
  int GapAt(std::span<const LongPulses> found, std::size_t i) const;
  /// Whether a like one of `found` lies a revolution before `found[i]`, within a glitch.
  bool ComesBack(std::span<const LongPulses> found, std::size_t i) const;

 private:
  bool CanBeGap(const LongPulses& each) const;
  bool HasGapAt(std::span<const LongPulses> found, std::size_t i, std::int64_t distance,
                std::int64_t slack) const;
  /// Edges that a glitch may add to a revolution or take from it.
  std::int64_t Slack() const { return edges_ < 10 ? 0 : edges_ < 20 ? 1 : mostGlitch; }
  void Forget();
  std::int64_t MostCommonDistance(std::span<const LongPulses> found) const;
  bool TakePattern(std::span<const LongPulses> found);
  bool BelieveTheOnly(std::span<const LongPulses> found);
  void Measure(std::span<const LongPulses> found);
  void LongestFirst();

  std::optional<double> pitches_;
  PulseWheel wheel_;
  std::vector<std::int64_t> places_;  ///< [edges] of its gaps
  std::int64_t edges_ = 0;
  bool repeats_ = false;  ///< more than one gap was there to go by
};
