#include "umlauf/spectrum/SpectrumLevels.h"

#include <algorithm>
#include <cmath>

#include "umlauf/signal/CurveSpan.h"
#include "umlauf/spectrum/internal/Bins.h"

namespace SpectrumLevels {

namespace spectrum = umlauf::spectrum;

namespace {

CMeasuringUnit LevelUnit(CMeasuringUnit unit, SpectrumScaling scaling, double reference) {
  if (scaling == SpectrumScaling::Density || (scaling == SpectrumScaling::Power && !unit.root(2)))
    unit.clear();
  unit.logref(static_cast<float>(reference));
  unit.set_db(true);
  return unit;
}

}  // namespace

void Apply(CSigCurve& spectrum, SpectrumScaling scaling, double reference) {
  if (!(reference > 0.0)) return;
  const bool root = spectrum::IsRoot(scaling);
  const double factor = root ? 20.0 : 10.0, one = root ? reference : reference * reference;
  std::transform(spectrum.FData(), spectrum.FData() + spectrum.DLen(), spectrum.FData(),
                 [=](float value) { return static_cast<float>(factor * std::log10(double{value} / one)); });
  spectrum.SetYUnit(LevelUnit(spectrum.YUnit(), scaling, reference));
}

void Apply(CSigCurveArray& spectra, SpectrumScaling scaling, double reference) {
  if (!(reference > 0.0)) return;
  for (const auto& curve : spectra) Apply(*curve, scaling, reference);
  spectra.SetYUnit(LevelUnit(spectra.YUnit(), scaling, reference));
}

double EffectiveValue(const CSigCurve& density) {
  const CurveSpan span = SpanOf(density);
  double sum = 0.0;
  for (std::uint64_t k = 0; k < span.length; ++k) sum += double{span.samples[k]};
  return std::sqrt(sum * span.Step());
}

}  // namespace SpectrumLevels
