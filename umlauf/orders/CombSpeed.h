#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurve.h"

/// What is known of a shaft without a tacho.
struct CombSpeedSettings {
  std::vector<double> orders = {};      ///< the comb: those that the vibration has, above 0
  double startLow = 0, startHigh = 0;   ///< [rpm] speed at the start; both 0: anywhere from lowest to highest
  double lowest = 300, highest = 6000;  ///< [rpm]
  double steepest = 1000;               ///< [rpm/s] greatest change of the speed
  double resolution = 2;                ///< [Hz] of the spectra, about
  double overlap = 0.75;                ///< share of a segment in common with the next one, 0 to 0.95
};

/// The speed of a shaft from its vibration: a comb of orders, followed through the spectra over time.
///
/// A line of the spectrum counts by its level above the median of its neighbourhood. At each time each speed
/// of a grid has the mean over the lines of its comb; dynamic programming finds the course of the speed with
/// the greatest sum that nowhere changes faster than allowed (R. Bellman, "Dynamic Programming", 1957; of
/// combs: Q. Leclère, H. André, J. Antoni, "A multi-order probabilistic approach for instantaneous angular
/// speed tracking", Mech. Syst. Signal Process. 81 (2016)). It sees the whole recording: a line that is lost
/// for a moment does not lead it astray.
///
/// Memory grows with the recording: 4 bytes for each speed of the grid and segment. One object is used by one
/// thread at a time.
class UMLAUF_API CCombSpeed {
 public:
  /// For samples at `rate` [samples/s].
  CCombSpeed(const CombSpeedSettings& settings, double rate);
  ~CCombSpeed();
  CCombSpeed(CCombSpeed&& other) noexcept;
  CCombSpeed& operator=(CCombSpeed&& other) noexcept;

  /// False for settings that cannot be used (orders that reach half the sample rate at the highest speed,
  /// too) and without memory; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Takes the next n samples.
  void Take(const float* samples, std::size_t n);
  /// The speed over time [s from the first sample, rpm], at the middles of the segments, as
  /// ShaftTrains::FromSpeed takes it. False, and both are empty, for recordings shorter than a segment and
  /// without memory.
  ///
  /// `confidence`, over the same times: the part of the comb's lines that stand out of their neighbourhood by
  /// 6 dB, 0 to 1. Noise alone gives about 0.1 to 0.3; below 0.5 the track is to be doubted.
  bool Find(CSigCurve& rpm, CSigCurve& confidence) const;

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};
