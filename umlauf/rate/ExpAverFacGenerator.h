#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/Types.h"

/// Weights of a running exponential average that starts up correctly: over the first values it is a plain
/// mean, then it changes smoothly to an exponential decay with time constant tau [steps]. With old average A
/// and new value x the caller forms A' = factor * A + (1 - factor) * x. The correction factor rescales an
/// average that was formed without this start-up. A time scale of 10,000 or more means no decay (plain mean).
///
/// A plain value; the static functions are safe from every thread.
class UMLAUF_API CExpAverFacGenerator {
 public:
  static constexpr LONG kNoDecay = 10000;  ///< time scale [steps] from which on there is no decay

  /// At time t (negative becomes 0) with time scale tau (negative becomes `kNoDecay`), both in steps.
  CExpAverFacGenerator(LONG t, LONG tau) {
    SetTime(t);
    SetTimeScale(tau);
  }

  void SetTime(LONG t) { t_ = std::max<LONG>(t, 0); }
  void ResetTime() { t_ = 0; }
  LONG GetTime() const { return t_; }
  void SetTimeScale(LONG tau) { tau_ = tau < 0 ? kNoDecay : tau; }
  LONG GetTimeScale() const { return tau_; }

  /// One step on; the time stops at 45 time constants, where the factors have settled. Returns the new time,
  /// 45 * tau when it has stopped (the greatest LONG where that has more bits).
  LONG TimeStep();
  /// As `TimeStep`; returns the time after it.
  LONG operator++() {
    TimeStep();
    return t_;
  }
  /// As `TimeStep`; returns the time before it.
  LONG operator++(int) {
    const LONG before = t_;
    TimeStep();
    return before;
  }

  float CurrentFactor() const { return GetFactor(t_, tau_); }
  float CurrentCorrFactor() const { return GetCorrFactor(t_, tau_); }

  /// Weight of the old average at step t: 0 up to the first value, then (t - 1) / t or less, down to
  /// exp(-1 / tau).
  static float GetFactor(LONG t, double tau);
  /// With tau in whole steps, in any integer type.
  template <std::integral Steps>
  static float GetFactor(LONG t, Steps tau) {
    return GetFactor(t, static_cast<double>(tau));
  }
  /// Correction at step t; 1 up to the first value.
  static float GetCorrFactor(LONG t, LONG tau);

 private:
  std::int32_t t_ = 0, tau_ = 0;
};
