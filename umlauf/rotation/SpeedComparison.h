#pragma once

#include <cstdint>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/rotation/PulseTrain.h"

/// Compares the speed of each pulse, at its middle, with a known one: a table of times and speeds, straight
/// lines between. Pulses outside the table, and where the known speed is not above 0, do not count.
///
/// One object is used by one thread at a time.
class UMLAUF_API CSpeedComparison {
 public:
  struct Point {
    double time;  ///< [s]
    double rpm;
  };
  struct Deviation {
    double time;     ///< [s]
    double percent;  ///< of the known speed, with sign
  };

  /// The known speed by rising time; without two points nothing is compared.
  explicit CSpeedComparison(std::vector<Point> known) : known_(std::move(known)) {}
  CSpeedComparison(CSpeedComparison&&) noexcept = default;
  CSpeedComparison& operator=(CSpeedComparison&&) noexcept = default;

  /// Takes the next pulses, gaps corrected.
  void Take(const CPulseTrain& pulses);

  const std::vector<Point>& Known() const { return known_; }
  /// Pulses that were compared.
  std::uint64_t Count() const { return count_; }
  // Magnitudes of the deviation; 0 when there are none
  double MaxRpm() const { return maxRpm_; }
  double MaxPercent() const { return maxPercent_; }
  double MeanRpm() const { return count_ > 0 ? sumRpm_ / static_cast<double>(count_) : 0; }
  double MeanPercent() const { return count_ > 0 ? sumPercent_ / static_cast<double>(count_) : 0; }

  /// One for each pulse that was compared since `Forget`.
  const std::vector<Deviation>& Found() const { return found_; }
  /// Drops these, so that memory stays constant; the figures above go on.
  void Forget() { found_.clear(); }
  /// False when there was no memory to keep one.
  bool Complete() const { return complete_; }

 private:
  std::vector<Point> known_;
  std::vector<Deviation> found_;
  std::size_t at_ = 0;
  std::uint64_t count_ = 0;
  double maxRpm_ = 0, maxPercent_ = 0, sumRpm_ = 0, sumPercent_ = 0;
  bool complete_ = true;
};
