#pragma once

#include <string>
#include <vector>

#include "tools/plot/PlotTypes.h"

namespace umlauf::tool {

struct Tick {
  double value;
  std::string label;
};

/// Ticks of one axis, by rising value, with labels that differ from each other.
struct AxisTicks {
  std::vector<Tick> ticks;
  /// When not empty: the labels count from this number, because with it they would be too long to read.
  std::string origin = {};

  std::size_t longest() const;  ///< label, in characters
};

/// Multiples of 1, 2 or 5 times a power of ten within the range (of `step` when that is above 0): at most
/// `most` of them, more only where there would be less than two; 0 among them when it lies inside. Labels are
/// decimal numbers; very great and very small ones have an exponent in steps of three, the same for the whole
/// axis.
AxisTicks LinearTicks(const PlotRange& range, unsigned most, double step = 0);

/// Ticks of a logarithmic axis; the range must lie above 0. Powers of ten, where there are few of them also
/// their double and fivefold, and within less than a decade those of a linear axis.
AxisTicks LogarithmicTicks(const PlotRange& range, unsigned most);

/// The range, drawn out to the ticks that it nearly reaches.
PlotRange ToNearTicks(const PlotRange& range);

/// As many as fit side by side into `length` characters.
AxisTicks HorizontalTicks(const PlotRange& range, double length, bool logarithmic = false);

}  // namespace umlauf::tool
