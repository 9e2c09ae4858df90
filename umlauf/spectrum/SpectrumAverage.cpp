#include "umlauf/spectrum/SpectrumAverage.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/signal/CurveSpan.h"
#include "umlauf/spectrum/internal/Bins.h"
#include "umlauf/spectrum/internal/SegmentFeed.h"
#include "umlauf/spectrum/internal/SegmentSpectrum.h"

namespace spectrum = umlauf::spectrum;

struct CSpectrumAverage::Engine {
  Engine(const SpectrumSettings& s, double samplesPerSecond)
      : settings(s), rate(samplesPerSecond), segment(s), feed(s.length, s.step) {
    valid = segment.IsValid() && feed.IsValid() && powers.Alloc(segment.Bins());
  }

  SpectrumSettings settings;
  double rate;
  spectrum::SegmentSpectrum segment;
  spectrum::SegmentFeed<1> feed;
  spectrum::LongSum powers;
  std::uint64_t segments = 0, leftOut = 0;
  bool valid = false;
};

CSpectrumAverage::CSpectrumAverage(const SpectrumSettings& settings, double rate) {
  if (!settings.IsValid() || !(rate > 0.0) || std::isinf(rate)) return;
  engine_.reset(new (std::nothrow) Engine(settings, rate));
  if (engine_ != nullptr && !engine_->valid) engine_.reset();
}

CSpectrumAverage::~CSpectrumAverage() = default;
CSpectrumAverage::CSpectrumAverage(CSpectrumAverage&&) noexcept = default;
CSpectrumAverage& CSpectrumAverage::operator=(CSpectrumAverage&&) noexcept = default;

void CSpectrumAverage::Process(const float* x, std::uint64_t n) {
  if (!IsValid()) return;
  Engine& e = *engine_;
  e.feed.Process({x}, n, [&e](const auto& segment) {
    const float* bins = e.segment.Of(segment[0]);
    if (!spectrum::IsFinite(bins)) {
      ++e.leftOut;
      return;
    }
    QVL::AddComplexPowers(e.powers.Recent(), bins, e.segment.Bins());
    e.powers.Added();
    ++e.segments;
  });
}

std::uint64_t CSpectrumAverage::Segments() const { return IsValid() ? engine_->segments : 0; }

std::uint64_t CSpectrumAverage::LeftOut() const { return IsValid() ? engine_->leftOut : 0; }

void CSpectrumAverage::Restart() {
  if (!IsValid()) return;
  engine_->feed.Restart();
  engine_->powers.Clear();
  engine_->segments = engine_->leftOut = 0;
}

bool CSpectrumAverage::Spectrum(SpectrumScaling scaling, CSigCurve& out, const CMeasuringUnit& unit) const {
  if (Segments() == 0) {
    out.Resize(0);
    return false;
  }
  const Engine& e = *engine_;
  const std::size_t length = e.settings.length;
  if (!spectrum::FrequencyCurve(out, length, e.rate)) return false;
  const spectrum::PowerScale scale(scaling, e.segment.Window(), e.rate);
  for (std::size_t k = 0; k < out.DLen(); ++k) {
    const double mean = e.powers.At(k) / static_cast<double>(e.segments);
    out.FData()[k] = static_cast<float>(scale.Value(mean, k, length));
  }
  out.SetYUnit(spectrum::ScaledUnit(scaling, unit));
  return true;
}

bool CSpectrumAverage::OfCurve(const CSigCurve& signal, SpectrumSettings settings, SpectrumScaling scaling,
                               CSigCurve& out) {
  const CurveSpan span = SpanOf(signal);
  settings.length = static_cast<std::size_t>(std::min<std::uint64_t>(settings.length, span.length));
  settings.step = std::min(settings.step, settings.length);
  CSpectrumAverage average(settings, 1.0 / span.Step());
  average.Process(span.samples, span.length);
  // The result may be the signal.
  const CString name(signal.Name());
  const CMeasuringUnit unit(signal.YUnit());
  if (!average.Spectrum(scaling, out, unit)) return false;
  out.SetName(name.GetString());
  return true;
}
