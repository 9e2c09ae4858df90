#include "umlauf/spectrum/CrossSpectrumAverage.h"

#include <cmath>
#include <new>
#include <numbers>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/spectrum/internal/Bins.h"
#include "umlauf/spectrum/internal/SegmentFeed.h"
#include "umlauf/spectrum/internal/SegmentSpectrum.h"

namespace spectrum = umlauf::spectrum;

struct CCrossSpectrumAverage::Engine {
  Engine(const SpectrumSettings& s, double samplesPerSecond)
      : settings(s), rate(samplesPerSecond), x(s), y(s), feed(s.length, s.step) {
    valid = x.IsValid() && y.IsValid() && feed.IsValid() && xx.Alloc(x.Bins()) && yy.Alloc(x.Bins()) &&
            xy.Alloc(2 * x.Bins());
  }

  std::complex<double> Cross(std::size_t k) const { return {xy.At(2 * k), xy.At(2 * k + 1)}; }

  SpectrumSettings settings;
  double rate;
  spectrum::SegmentSpectrum x, y;
  spectrum::SegmentFeed<2> feed;
  spectrum::LongSum xx, yy, xy;
  std::uint64_t segments = 0, leftOut = 0;
  bool valid = false;
};

CCrossSpectrumAverage::CCrossSpectrumAverage(const SpectrumSettings& settings, double rate) {
  if (!settings.IsValid() || !(rate > 0.0) || std::isinf(rate)) return;
  engine_.reset(new (std::nothrow) Engine(settings, rate));
  if (engine_ != nullptr && !engine_->valid) engine_.reset();
}

CCrossSpectrumAverage::~CCrossSpectrumAverage() = default;
CCrossSpectrumAverage::CCrossSpectrumAverage(CCrossSpectrumAverage&&) noexcept = default;
CCrossSpectrumAverage& CCrossSpectrumAverage::operator=(CCrossSpectrumAverage&&) noexcept = default;

void CCrossSpectrumAverage::Process(const float* x, const float* y, std::uint64_t n) {
  if (!IsValid()) return;
  Engine& e = *engine_;
  e.feed.Process({x, y}, n, [&e](const auto& segment) {
    const float* a = e.x.Of(segment[0]);
    const float* b = e.y.Of(segment[1]);
    if (!spectrum::IsFinite(a) || !spectrum::IsFinite(b)) {
      ++e.leftOut;
      return;
    }
    QVL::AddComplexPowers(e.xx.Recent(), a, e.x.Bins());
    QVL::AddComplexPowers(e.yy.Recent(), b, e.x.Bins());
    QVL::AddCrossPowers(e.xy.Recent(), a, b, e.x.Bins());
    for (auto* sum : {&e.xx, &e.yy, &e.xy}) sum->Added();
    ++e.segments;
  });
}

std::uint64_t CCrossSpectrumAverage::Segments() const { return IsValid() ? engine_->segments : 0; }

std::uint64_t CCrossSpectrumAverage::LeftOut() const { return IsValid() ? engine_->leftOut : 0; }

void CCrossSpectrumAverage::Restart() {
  if (!IsValid()) return;
  engine_->feed.Restart();
  for (auto* sum : {&engine_->xx, &engine_->yy, &engine_->xy}) sum->Clear();
  engine_->segments = engine_->leftOut = 0;
}

template <class Value>
bool CCrossSpectrumAverage::Fill(CSigCurve& first, CSigCurve* second, Value value) const {
  bool done = Segments() > 0;
  for (CSigCurve* out : {&first, second}) {
    if (out == nullptr) continue;
    done = done && spectrum::FrequencyCurve(*out, engine_->settings.length, engine_->rate);
  }
  if (!done) {
    first.Resize(0);
    if (second != nullptr) second->Resize(0);
    return false;
  }
  for (std::size_t k = 0; k < first.DLen(); ++k) {
    const std::complex<double> v = value(k);
    first.FData()[k] = static_cast<float>(v.real());
    if (second != nullptr) second->FData()[k] = static_cast<float>(v.imag());
  }
  return true;
}

bool CCrossSpectrumAverage::CrossDensity(CSigCurve& real, CSigCurve& imaginary) const {
  return Fill(real, &imaginary, [this](std::size_t k) {
    const Engine& e = *engine_;
    return e.Cross(k) * spectrum::OneSided(k, e.settings.length) /
           (e.rate * e.x.Window().SumSquares() * static_cast<double>(e.segments));
  });
}

bool CCrossSpectrumAverage::Coherence(CSigCurve& out) const {
  return Fill(out, nullptr, [this](std::size_t k) {
    const Engine& e = *engine_;
    const double powers = e.xx.At(k) * e.yy.At(k);
    return std::complex<double>(powers > 0.0 ? std::norm(e.Cross(k)) / powers : 0.0);
  });
}

bool CCrossSpectrumAverage::Transfer(Estimator estimator, CSigCurve& magnitude, CSigCurve& phase) const {
  const auto transfer = [this, estimator](std::size_t k) -> std::complex<double> {
    const Engine& e = *engine_;
    const std::complex<double> cross = e.Cross(k);
    if (estimator == Estimator::H1) return e.xx.At(k) > 0.0 ? cross / e.xx.At(k) : 0.0;
    return std::norm(cross) > 0.0 ? e.yy.At(k) / std::conj(cross) : 0.0;
  };
  const bool done = Fill(magnitude, &phase, [&](std::size_t k) {
    const std::complex<double> h = transfer(k);
    return std::complex<double>(std::abs(h), std::arg(h) * 180.0 / std::numbers::pi);
  });
  if (done) phase.SetYUnit(CMeasuringUnit(CMeasuringUnit::degree));
  return done;
}
