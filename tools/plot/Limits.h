#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/plot/PlotTypes.h"

namespace umlauf::tool {

/// Range of all values.
PlotRange FullRange(const std::vector<PlotPoint>& points);

/// Range of the values without those that stand alone: one or two beside each other that leave the range of
/// the running median over five values by more than 15 % of it and four times the scatter around it. All
/// values count when they are fewer than five, when more than 2 % (and more than two) would not, or when
/// little would be won.
PlotRange RobustRange(const std::vector<PlotPoint>& points);

/// The range as an axis shows it: with some room at both ends, from 0 on when it comes near it, around a
/// value that stands alone.
PlotRange Widened(const PlotRange& range);
/// The same for a logarithmic axis; the range lies above 0.
PlotRange WidenedLogarithmic(const PlotRange& range);

/// What a panel's axis does not show.
struct Outside {
  std::uint64_t below = 0, above = 0;
  double lowest = 0, highest = 0;
  bool atLeast = false;  ///< points stand for more values than there are points

  bool empty() const { return below + above == 0; }
  void Add(const PlotSeries& series, const PlotRange& shown);
  /// As "2 values above the scale, up to 3846"; empty when there are none.
  std::string Text() const;
};

}  // namespace umlauf::tool
