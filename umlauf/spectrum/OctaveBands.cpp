#include "umlauf/spectrum/OctaveBands.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/units/UnitAlgebra.h"

namespace OctaveBands {
namespace {

constexpr double kOctavePower = 0.3;  // lg G

/// Sum of the density from one frequency to another: bin k holds (k ∓ 1/2) steps.
double Integral(const CSigCurve& density, double step, double from, double to) {
  const auto bins = static_cast<std::int64_t>(density.DLen());
  const auto bin = [=](double f) {
    return std::clamp<std::int64_t>(numeric::trunc_sat<std::int64_t>(f / step + 0.5), 0, bins - 1);
  };
  double sum = 0.0;
  for (std::int64_t k = bin(from); k <= bin(to); ++k) {
    const double lower = std::max((static_cast<double>(k) - 0.5) * step, from);
    const double upper = std::min((static_cast<double>(k) + 0.5) * step, to);
    if (upper > lower) sum += double{density.FData()[k]} * (upper - lower);
  }
  return sum;
}

}  // namespace

Band BandAt(int x, unsigned b) {
  const double perOctave = std::max(b, 1u);
  const double steps = b % 2 == 1 ? x : x + 0.5;
  const auto at = [&](double s) { return 1000.0 * std::pow(10.0, kOctavePower * s / perOctave); };
  return {at(steps - 0.5), at(steps), at(steps + 0.5)};
}

double NominalMiddle(int x, unsigned b) {
  static constexpr double r10[] = {1, 1.25, 1.6, 2, 2.5, 3.15, 4, 5, 6.3, 8};
  if (b == 1 || b == 3) {
    const int step = b == 1 ? 3 * x : x;
    const int decade = step >= 0 ? step / 10 : -((9 - step) / 10);
    return std::pow(10.0, 3 + decade) * r10[step - 10 * decade];
  }
  const double middle = BandAt(x, b).middle;
  const double unit = std::pow(10.0, std::floor(std::log10(middle)) - 2);
  return numeric::round(middle / unit) * unit;
}

bool FromDensity(const CSigCurve& density, unsigned b, CSigPairs& meanSquares) {
  meanSquares.InitHeader();
  const double step = density.DLen() == 0 ? 0.0
                                          : (double{density.XMax()} - double{density.XMin()}) /
                                                static_cast<double>(density.DLen());
  if (b == 0 || b > 1000 || !(step > 0.0) || std::abs(density.XMin()) > step / 2) return false;
  const double last = (static_cast<double>(density.DLen()) - 0.5) * step;
  const auto first = std::ceil(std::log10(step / 2000.0) / kOctavePower * b);
  for (int x = numeric::trunc_sat<int>(first) - 1;; ++x) {
    const Band band = BandAt(x, b);
    if (!(band.upper <= last)) break;
    if (band.lower < step / 2 || band.upper - band.lower < step) continue;
    const double sum = Integral(density, step, band.lower, band.upper);
    if (!meanSquares.NeuesPaar(static_cast<float>(band.middle), static_cast<float>(sum))) {
      meanSquares.Neustart();
      return false;
    }
  }
  meanSquares.SetName(density.Name());
  meanSquares.SetXUnit(density.XUnit());
  meanSquares.SetYUnit(UnitAlgebra::Product(density.YUnit(), density.XUnit()));
  return true;
}

void ToLevels(CSigPairs& meanSquares, double reference) {
  if (!(reference > 0.0)) return;
  for (SPunkt* p = meanSquares.Punkte(); p != meanSquares.PunkteEnd(); ++p) {
    p->y = static_cast<float>(10.0 * std::log10(std::max(0.0, double{p->y}) / (reference * reference)));
  }
  CMeasuringUnit unit(meanSquares.YUnit());
  if (!unit.root(2)) unit.clear();
  unit.logref(static_cast<float>(reference));
  unit.set_db(true);
  meanSquares.SetYUnit(unit);
}

double TotalLevel(const CSigPairs& levels) {
  double sum = 0.0;
  for (const SPunkt* p = levels.Punkte(); p != levels.PunkteEnd(); ++p)
    sum += std::pow(10.0, 0.1 * double{p->y});
  return 10.0 * std::log10(sum);
}

}  // namespace OctaveBands
