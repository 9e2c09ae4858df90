#include "umlauf/spectrum/internal/SegmentSpectrum.h"

#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::spectrum {

SegmentSpectrum::SegmentSpectrum(const SpectrumSettings& settings)
    : settings_(settings),
      window_(settings.window, settings.length, settings.kaiserBeta),
      transform_(settings.length) {
  const std::size_t n = settings.length;
  valid_ = transform_.IsValid() && window_.Size() == n;
  if (!valid_ || settings.detrending != Detrending::Line) return;
  if (!ramp_.alloc(n)) {
    valid_ = false;
    return;
  }
  for (std::size_t i = 0; i < n && n > 1; ++i) {
    ramp_[i] = static_cast<float>(2.0 * static_cast<double>(i) / static_cast<double>(n - 1) - 1.0);
  }
  const float squares = QVL::VectorSumSquares(ramp_.data(), n);
  perRampSquares_ = squares > 0.0f ? 1.0f / squares : 0.0f;
}

const float* SegmentSpectrum::Of(const float* segment) {
  const std::size_t n = settings_.length;
  float* work = transform_.Samples();
  if (settings_.detrending == Detrending::None) {
    QVL::MulVectors(work, segment, window_.Samples(), n);
  } else {
    // The mean goes before the window comes: a large mean must not round the rest away.
    QVL::AddFloat(work, segment, n, -QVL::VectorMean(segment, n));
    if (settings_.detrending == Detrending::Line) {
      QVL::AddScaled(work, ramp_.data(), -QVL::DotProduct(work, ramp_.data(), n) * perRampSquares_, n);
    }
    QVL::MulVectors(work, work, window_.Samples(), n);
  }
  transform_.Forward();
  return reinterpret_cast<const float*>(transform_.Spectrum());
}

}  // namespace umlauf::spectrum
