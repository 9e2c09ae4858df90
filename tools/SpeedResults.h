#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <vector>

#include "tools/Pulse.h"
#include "tools/output/Plot.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurve.h"

/// What is made of the pulses of a recording, one pulse after the other. Every class here takes each closed
/// pulse once, in order of time.
namespace umlauf::tool {

/// Speeds over stretches of time.
struct SpeedSummary {
  double min = std::numeric_limits<double>::infinity();  ///< [rpm]
  double max = -std::numeric_limits<double>::infinity();
  double first = 0, last = 0;
  double turns = 0;    ///< revolutions in all
  double samples = 0;  ///< in which they were made
  std::uint64_t count = 0;

  void Add(double addedTurns, double addedSamples, double sampleRate);
  /// Revolutions over time [rpm].
  double Mean(double sampleRate) const { return samples > 0 ? 60 * sampleRate * turns / samples : 0; }
};

class PulseCounts {
 public:
  explicit PulseCounts(double sampleRate) : sampleRate_(sampleRate) {}
  void Take(const Pulse& pulse);

  std::uint64_t pulses() const { return pulses_; }
  /// Gaps that were corrected, one that the end of the recording cuts included.
  std::uint64_t correctedGaps() const { return correctedGaps_; }
  std::uint64_t held() const { return held_; }
  const SpeedSummary& speed() const { return speed_; }

 private:
  double sampleRate_;
  std::uint64_t pulses_ = 0, correctedGaps_ = 0, held_ = 0;
  SpeedSummary speed_;
};

/// Speed over whole revolutions, one after the other without overlap. With a gap: from the last edge before
/// a gap to the last edge before the next one, when a whole wheel of pitches to within one lies between (a
/// glitch is allowed, a gap that was missed is not). Without: from the first edge on, every
/// pulses-per-revolution edges.
class Revolutions {
 public:
  Revolutions(bool gapToGap, double pulsesPerRevolution, double sampleRate)
      : gapToGap_(gapToGap), pulsesPerRevolution_(pulsesPerRevolution), sampleRate_(sampleRate) {}
  void Take(const Pulse& pulse);

  const SpeedSummary& speed() const { return speed_; }
  /// Speed at the middle of each revolution; x in samples.
  const PlotTrace& trace() const { return trace_; }

 private:
  void Close(double end, double turns);

  bool gapToGap_;
  double pulsesPerRevolution_;
  double sampleRate_;
  bool started_ = false;
  double begin_ = 0;
  double pitches_ = 0;
  SpeedSummary speed_;
  PlotTrace trace_;
};

/// Speed as an equidistant curve: sample k is the mean speed (revolutions over time) of one step, and lies
/// at the middle of that step. The first step begins with the first edge; a last step that is not full is
/// left out unless it is the only one.
class CurveBuilder {
 public:
  /// Step and start time in seconds.
  CurveBuilder(double step, double sampleRate, double startTime)
      : step_(step), sampleRate_(sampleRate), startTime_(startTime) {}
  void Take(const Pulse& pulse);
  /// The curve over time, in s and rpm, stored uncompressed. Throws ToolError when there is no memory.
  std::unique_ptr<CSigCurve> Finish(const wchar_t* name);

 private:
  double step_, sampleRate_, startTime_;
  double begin_ = -1;  ///< [s] first edge
  double cursor_ = 0;  ///< [s] end of what was taken
  double turns_ = 0;   ///< in the step in progress
  std::vector<float> rpm_;
};

/// Speed as point pairs over time, in s and rpm: the speed of each pulse at its middle.
class PairsBuilder {
 public:
  PairsBuilder(double sampleRate, double startTime) : sampleRate_(sampleRate), startTime_(startTime) {}
  void Take(const Pulse& pulse);
  /// Hands out the points; call once.
  std::unique_ptr<CSigPairs> Finish(const wchar_t* name);

 private:
  double sampleRate_, startTime_;
  std::unique_ptr<CSigPairs> points_ = std::make_unique<CSigPairs>();
};

/// Compares the speed of each pulse with a known one: a table of seconds and rpm, straight lines between.
class TruthComparison {
 public:
  TruthComparison(const std::filesystem::path& path, double sampleRate, double startTime);
  void Take(const Pulse& pulse);

  std::uint64_t count() const { return count_; }
  double maxRpm() const { return maxRpm_; }
  double maxPercent() const { return maxPercent_; }
  double meanRpm() const {
    return count_ > 0 ? sumRpm_ / static_cast<double>(count_) : 0;
  }  ///< of magnitudes
  double meanPercent() const { return count_ > 0 ? sumPercent_ / static_cast<double>(count_) : 0; }
  const std::vector<PlotPoint>& points() const { return points_; }
  /// With sign, in percent over seconds.
  const PlotTrace& deviations() const { return deviations_; }

 private:
  std::vector<PlotPoint> points_;
  PlotTrace deviations_;
  double sampleRate_, startTime_;
  std::size_t at_ = 0;
  std::uint64_t count_ = 0;
  double maxRpm_ = 0, maxPercent_ = 0, sumRpm_ = 0, sumPercent_ = 0;
};

}  // namespace umlauf::tool
