#include "umlauf/orders/AngleGrid.h"

#include <algorithm>
#include <cmath>

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

AngleGrid AngleGrid::ForSpectra(double maxOrder, double resolution) {
  AngleGrid grid;
  grid.maxOrder = maxOrder;
  const double steps = std::ceil(kStepsPerOrder * maxOrder / resolution * (1 - 1e-9));
  if (!(steps >= 1) || !(steps <= static_cast<double>(CRealTransform::kMaxSize))) {
    grid.stepsPerRevolution = 0;  // not valid
    return grid;
  }
  grid.stepsPerRevolution =
      static_cast<double>(CRealTransform::FastSize(numeric::trunc_sat<std::size_t>(steps))) * resolution;
  return grid;
}
