#include "umlauf/orders/AngleGrid.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/spectrum/RealTransform.h"

namespace {

constexpr double kStepsPerOrder = 2.56;
/// Width of the transition band in cycles per step, where there is room for it.
constexpr double kTransition = 1 - 2 / kStepsPerOrder;

}  // namespace

bool AngleGrid::IsValid() const {
  return maxOrder > 0 && std::isfinite(maxOrder) && stepsPerRevolution >= 2 * maxOrder &&
         stepsPerRevolution <= 1e6 && slowest > 0 && std::isfinite(slowest);
}

double AngleGrid::FlatTo() const {
  const double stop = stepsPerRevolution - maxOrder;
  return std::clamp(stop - kTransition * stepsPerRevolution, 0.8 * maxOrder, maxOrder);
}

double AngleGrid::MeanGain(double order) const {
  const double arc = std::numbers::pi * order / stepsPerRevolution;
  return !stepMeans || arc == 0 ? 1 : arc / std::sin(arc);
}

AngleGrid AngleGrid::ForSpectra(double maxOrder, double resolution) {
  AngleGrid grid;
  grid.maxOrder = maxOrder;
  grid.stepsPerRevolution = 0;  // not valid
  const double turns = 1 / resolution, least = std::ceil(kStepsPerOrder * maxOrder * (1 - 1e-9));
  if (!(turns > 0) || !(least >= 1) ||
      !(least * turns <= static_cast<double>(CRealTransform::kMaxSize) / 2)) {
    return grid;
  }
  const auto fast = [](double n) {
    return static_cast<double>(CRealTransform::FastSize(numeric::trunc_sat<std::size_t>(std::ceil(n))));
  };
  const bool whole = std::abs(turns - std::round(turns)) < 1e-6 * turns;
  grid.stepsPerRevolution = whole ? fast(least) : fast(least * turns) / turns;
  return grid;
}
