#include "umlauf/orders/CampbellMap.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "umlauf/orders/internal/MapRows.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/spectrum/RealTransform.h"
#include "umlauf/spectrum/SpectrogramStream.h"

namespace orders = umlauf::orders;

struct CCampbellMap::Engine {
  Engine(const CampbellSettings& s, const SpectrumSettings& segments, unsigned channelCount,
         double samplesPerSecond, const CPulseTrain& pulses, const SampleClock& c)
      : axis(s.axis),
        rate(samplesPerSecond),
        pulseRate(pulses.SampleRate()),
        startTime(pulses.StartTime()),
        clock(c),
        channels(channelCount),
        block(std::min<std::size_t>(segments.step, 1024)) {
    const CSpectrumWindow window(segments.window, segments.length, segments.kaiserBeta);
    orders::BinAxis bins;
    bins.step = rate / static_cast<double>(segments.length);
    const double most = s.maxFrequency > 0 ? std::min(s.maxFrequency, rate / 2) : rate / 2;
    bins.bins = numeric::trunc_sat<std::size_t>(std::floor(most / bins.step + 1e-6)) + 1;
    bins.width = window.NoiseBandwidth() * bins.step;
    bins.unit = CMeasuringUnit(CMeasuringUnit::hertz);
    valid = samples.alloc(block) && row.alloc(segments.length / 2 + 1);
    for (unsigned i = 0; i < channels && valid; ++i) {
      spectra.emplace_back(segments, rate, SpectrumScaling::Power);
      rows.emplace_back(bins, axis.step);
      valid = spectra.back().IsValid();
    }
  }

  void Take(const CShaftAngle& angle, const float* frames, std::size_t n, std::size_t stride) {
    const std::uint64_t number = done;
    for (unsigned c = 0; c < channels; ++c) {
      QVL::Interleave(samples.data(), 1, frames + c, stride, n);
      if (spectra[c].Process(row.data(), samples.data(), n) == 0) continue;
      done = number + 1;
      const double at = clock.OfPulses(spectra[c].RowTime(number) * rate);
      if (!(at >= angle.Begin() && at <= angle.End())) continue;
      const ShaftPlace place{startTime + at / pulseRate, angle.At(at), 60 * pulseRate * angle.SpeedAt(at)};
      complete = rows[c].Add(axis.Of(place), row.data()) && complete;
    }
  }

  MapAxis axis;
  double rate, pulseRate, startTime;
  SampleClock clock;
  unsigned channels;
  std::size_t block;
  std::vector<CSpectrogramStream> spectra;
  std::vector<orders::MapRows> rows;
  CAlignedMem<float> samples, row;
  std::uint64_t done = 0;  ///< rows
  bool valid = false, complete = true;
};

CCampbellMap::CCampbellMap(const CampbellSettings& settings, unsigned channels, double rate,
                           const CPulseTrain& pulses, const SampleClock& clock) {
  const double length = rate / settings.resolution;
  if (!(length >= 2 && length <= static_cast<double>(CRealTransform::kMaxSize) / 2) || channels < 1 ||
      channels > CAngleResampler::mostChannels || !(settings.overlap >= 0 && settings.overlap <= 0.99) ||
      !(settings.axis.step >= 0) || !std::isfinite(settings.axis.step) ||
      !(clock.samplesPerPulseSample > 0)) {
    return;
  }
  SpectrumSettings segments;
  segments.length = CRealTransform::FastSize(numeric::trunc_sat<std::size_t>(std::ceil(length)));
  segments.step = numeric::trunc_sat<std::size_t>(
      std::max(1.0, std::round(static_cast<double>(segments.length) * (1 - settings.overlap))));
  segments.window = settings.window;
  segments.kaiserBeta = settings.kaiserBeta;
  umlauf::HadMemory(
      [&] { engine_ = std::make_unique<Engine>(settings, segments, channels, rate, pulses, clock); });
  if (engine_ != nullptr && !engine_->valid) engine_.reset();
}

CCampbellMap::~CCampbellMap() = default;
CCampbellMap::CCampbellMap(CCampbellMap&&) noexcept = default;
CCampbellMap& CCampbellMap::operator=(CCampbellMap&&) noexcept = default;

void CCampbellMap::Take(const CShaftAngle& angle, const float* frames, std::size_t n, std::size_t stride) {
  if (!IsValid() || !angle.Valid()) return;
  for (std::size_t at = 0; at < n; at += engine_->block) {
    engine_->Take(angle, frames + at * stride, std::min(engine_->block, n - at), stride);
  }
}

bool CCampbellMap::Complete() const { return IsValid() && engine_->complete; }

bool CCampbellMap::Map(unsigned c, const MapScale& scale, CSigCurveArray& out) const {
  if (IsValid() && c < engine_->channels) return engine_->rows[c].Curves(scale, engine_->axis.Unit(), out);
  out.InitHeader();
  return false;
}
