#pragma once

#include <memory>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/signal/SigCurve.h"

/// Speed as an equidistant curve: sample k is the mean speed (revolutions over time) of one step, and lies at
/// the middle of that step. The first step begins with the first edge; a last step that is not full is left
/// out unless it is the only one. One object is used by one thread at a time.
class UMLAUF_API CSpeedCurveBuilder {
 public:
  /// More samples are a mistake in the step: no curve is made then.
  static constexpr std::size_t longest = 200'000'000;

  /// `step` in seconds, above 0.
  explicit CSpeedCurveBuilder(double step);
  CSpeedCurveBuilder(CSpeedCurveBuilder&&) noexcept = default;
  CSpeedCurveBuilder& operator=(CSpeedCurveBuilder&&) noexcept = default;

  /// Takes the next pulses, gaps corrected.
  void Take(const CPulseTrain& pulses);
  /// The curve over time, in s and rpm, stored uncompressed. Null when the step is no good or there is no
  /// memory. Ends the curve: call it once.
  std::unique_ptr<CSigCurve> Finish(const wchar_t* name);

 private:
  void Close(double stepEnd);

  double step_;
  bool good_;
  double startTime_ = 0;
  double begin_ = -1;  ///< [s] first edge
  double cursor_ = 0;  ///< [s] end of what was taken
  double turns_ = 0;   ///< in the step in progress
  std::vector<float> rpm_;
};

/// Speed as point pairs over time, in s and rpm: the speed of each pulse at its middle. One object is used by
/// one thread at a time.
class UMLAUF_API CSpeedPairsBuilder {
 public:
  CSpeedPairsBuilder();

  /// Takes the next pulses, gaps corrected.
  void Take(const CPulseTrain& pulses);
  /// Hands out the points; call once. Null when there is no memory.
  std::unique_ptr<CSigPairs> Finish(const wchar_t* name);

 private:
  std::unique_ptr<CSigPairs> points_;
};
