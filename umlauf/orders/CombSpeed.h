#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/rotation/RotationWarning.h"
#include "umlauf/signal/SigCurve.h"

/// What is known of a shaft without a tacho.
struct CombSpeedSettings {
  std::vector<double> orders = {};      ///< the comb: up to 16 that the vibration has, above 0
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
/// What all courses that may still win have in common is decided, and kept with 16 bytes for each segment:
/// 0.5 MB for an hour in spectra of 2 Hz. Of what is not, segments with 8 bytes for each speed of the grid
/// are kept, a few seconds as a rule and 64 MB at most; then the best course so far decides over the older
/// half. The grid has a quarter of a bin of the highest order. One object is used by one thread at a time.
class UMLAUF_API CCombSpeed {
 public:
  static constexpr std::size_t mostOrders = 16;

  /// Whether a course is to be believed.
  struct UMLAUF_API Trust {
    /// [s] Where fewer than half the lines stand out, over half a second and more.
    std::vector<RotationWarning::Place> lost;
    double lostShare = 0;  ///< of all segments, 0 to 1
    /// [orders] In which part of the segments each of them stands out. One that hardly ever does may not be
    /// there, and the speed another one.
    std::vector<double> present;
    /// The best other course, nowhere within 5 % of this one: its score over that of this one, and the speed
    /// [rpm] at its begin. Noise alone has 0.4 or so; from 0.8 on there is more than one shaft that it can
    /// be.
    double rival = 0, rivalStart = 0;

    /// False where the lines do not stand out for most of the time: there is no speed then.
    bool Believable() const { return lostShare <= 0.5; }
    /// What is doubtful, for the orders of the settings. Codes `track-lost`, `order-missing`,
    /// `speed-ambiguous`; empty without memory, too.
    std::vector<RotationWarning> Warnings(const std::vector<double>& orders) const;
  };

  /// For samples at `rate` [samples/s].
  CCombSpeed(const CombSpeedSettings& settings, double rate);
  ~CCombSpeed();
  CCombSpeed(CCombSpeed&& other) noexcept;
  CCombSpeed& operator=(CCombSpeed&& other) noexcept;

  /// False for settings that cannot be used (orders that reach half the sample rate at the highest speed,
  /// too) and without memory; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Takes the next n samples, which lie `stride` apart.
  void Take(const float* samples, std::size_t n, std::size_t stride = 1);
  /// The speed over time [s from the first sample, rpm], at the middles of the segments, as
  /// ShaftTrains::FromSpeed takes it. False, and both are empty, for recordings shorter than a segment, for a
  /// start outside the lowest and the highest speed, and without memory.
  ///
  /// `confidence`, over the same times: the part of the comb's lines that stand out of their neighbourhood by
  /// 6 dB, 0 to 1. Noise alone gives about 0.1 to 0.3; below 0.5 the track is to be doubted.
  /// `trust`, unless null, sums that up.
  bool Find(CSigCurve& rpm, CSigCurve& confidence, Trust* trust = nullptr) const;

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};
