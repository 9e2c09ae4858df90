#include "umlauf/spectrum/SpectrogramStream.h"

#include <cmath>
#include <new>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/spectrum/internal/Bins.h"
#include "umlauf/spectrum/internal/SegmentFeed.h"
#include "umlauf/spectrum/internal/SegmentSpectrum.h"

namespace spectrum = umlauf::spectrum;

struct CSpectrogramStream::Engine {
  Engine(const SpectrumSettings& s, double samplesPerSecond, SpectrumScaling sc)
      : settings(s), rate(samplesPerSecond), scaling(sc), segment(s), feed(s.length, s.step) {
    valid = segment.IsValid() && feed.IsValid();
  }

  void Row(float* row, const float* samples) {
    const std::size_t bins = segment.Bins();
    const spectrum::PowerScale scale(scaling, segment.Window(), rate);
    // All bins by the factor of the inner ones; the first and the last one are then put right.
    const double inner = scale.Factor(1, 4);
    QVL::ComplexPowers(row, segment.Of(samples), bins, static_cast<float>(inner));
    for (const std::size_t k : {std::size_t{0}, bins - 1}) {
      row[k] *= static_cast<float>(scale.Factor(k, settings.length) / inner);
      if (bins == 1) break;
    }
    if (scale.IsRoot()) QVL::SqrtVector(row, row, bins);
  }

  SpectrumSettings settings;
  double rate;
  SpectrumScaling scaling;
  spectrum::SegmentSpectrum segment;
  spectrum::SegmentFeed<1> feed;
  bool valid = false;
};

CSpectrogramStream::CSpectrogramStream(const SpectrumSettings& settings, double rate,
                                       SpectrumScaling scaling) {
  if (!settings.IsValid() || !(rate > 0.0) || std::isinf(rate)) return;
  engine_.reset(new (std::nothrow) Engine(settings, rate, scaling));
  if (engine_ != nullptr && !engine_->valid) engine_.reset();
}

CSpectrogramStream::~CSpectrogramStream() = default;
CSpectrogramStream::CSpectrogramStream(CSpectrogramStream&&) noexcept = default;
CSpectrogramStream& CSpectrogramStream::operator=(CSpectrogramStream&&) noexcept = default;

std::size_t CSpectrogramStream::Bins() const { return IsValid() ? engine_->segment.Bins() : 0; }

std::uint64_t CSpectrogramStream::Rows(std::uint64_t n) const {
  return IsValid() ? engine_->feed.Completed(n) : 0;
}

double CSpectrogramStream::RowTime(std::uint64_t r) const {
  if (!IsValid()) return 0.0;
  const SpectrumSettings& s = engine_->settings;
  return (static_cast<double>(r) * static_cast<double>(s.step) + static_cast<double>(s.length) / 2) /
         engine_->rate;
}

std::uint64_t CSpectrogramStream::Process(float* rows, const float* x, std::uint64_t n) {
  if (!IsValid()) return 0;
  float* row = rows;
  engine_->feed.Process({x}, n, [&](const auto& segment) {
    engine_->Row(row, segment[0]);
    row += Bins();
  });
  return static_cast<std::uint64_t>(row - rows) / Bins();
}

void CSpectrogramStream::Restart() {
  if (IsValid()) engine_->feed.Restart();
}

bool CSpectrogramStream::MakeRow(CSigCurve& row, const CMeasuringUnit& unit) const {
  if (!IsValid() || !spectrum::FrequencyCurve(row, engine_->settings.length, engine_->rate)) return false;
  row.SetYUnit(spectrum::ScaledUnit(engine_->scaling, unit));
  return true;
}
