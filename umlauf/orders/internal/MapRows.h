#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "umlauf/orders/MapScale.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurveArray.h"

namespace umlauf::orders {

/// The bins of all rows of a map, and what they are over.
struct BinAxis {
  std::size_t bins = 0;
  double step = 0;   ///< from bin to bin
  double width = 0;  ///< noise bandwidth of a bin, in the unit of the axis
  CMeasuringUnit unit;
};

/// The rows of a map, mean squares by rising place; those of one step of the array axis are averaged.
class MapRows {
 public:
  /// `step` of the array axis; 0: each row stands alone.
  MapRows(BinAxis axis, double step) : axis_(axis), step_(step) {}

  /// Adds a row [bins]. False without memory; the row is then missing.
  bool Add(double place, const float* powers);
  /// Of each row that was added, in this order: the mean square of all bins together.
  std::span<const float> Powers() const { return powers_; }

  // Results. False, and the result is empty, without rows or memory
  bool Curves(const MapScale& scale, const CMeasuringUnit& arrayUnit, CSigCurveArray& out) const;
  /// Mean over all rows that were added.
  bool Mean(const MapScale& scale, CSigCurve& out) const;
  /// Of each row over its place: the sum of the mean squares of all bins, as the scale says of one bin.
  bool Overall(const MapScale& scale, const CMeasuringUnit& arrayUnit, CSigPairs& out) const;

 private:
  struct Row {
    std::vector<float> sum;
    double count = 0;
  };
  template <class Value>
  bool Fill(CSigCurve& curve, const MapScale& scale, Value power) const;

  BinAxis axis_;
  double Together(const float* powers) const;

  double step_;
  std::map<double, Row> rows_;
  std::vector<float> powers_;
};

}  // namespace umlauf::orders
