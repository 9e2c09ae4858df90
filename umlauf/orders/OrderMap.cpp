#include "umlauf/orders/OrderMap.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "umlauf/orders/AngleResampler.h"
#include "umlauf/orders/internal/MapRows.h"
#include "umlauf/orders/internal/SegmentPlaces.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/spectrum/SpectrogramStream.h"

namespace orders = umlauf::orders;

double MapAxis::Of(const ShaftPlace& place) const {
  switch (kind) {
    case Kind::time:
      return place.time;
    case Kind::revolution:
      return place.revolution;
    case Kind::speed:
      break;
  }
  return std::abs(place.rpm);
}

CMeasuringUnit MapAxis::Unit() const {
  switch (kind) {
    case Kind::time:
      return CMeasuringUnit(CMeasuringUnit::second);
    case Kind::revolution:
      return CMeasuringUnit(CMeasuringUnit::revolution);
    case Kind::speed:
      break;
  }
  return CMeasuringUnit(CMeasuringUnit::rpm);
}

AngleGrid OrderMapSettings::Grid() const {
  AngleGrid grid = AngleGrid::ForSpectra(maxOrder, resolution);
  if (steps > 0) grid.stepsPerRevolution = steps;
  grid.stepMeans = stepMeans;
  return grid;
}

struct COrderMap::Engine {
  Engine(const OrderMapSettings& s, const SpectrumSettings& segments, unsigned channelCount,
         const CPulseTrain& pulses)
      : axis(s.axis),
        shaft(pulses, s.Grid().stepsPerRevolution),
        length(segments.length),
        step(segments.step),
        channels(channelCount),
        places(shaft, segments.length, segments.step) {
    const CSpectrumWindow window(segments.window, segments.length, segments.kaiserBeta);
    orders::BinAxis bins;
    bins.step = shaft.stepsPerRevolution / static_cast<double>(length);
    bins.bins =
        std::min(numeric::trunc_sat<std::size_t>(std::floor(s.maxOrder / bins.step + 1e-6)), length / 2) + 1;
    bins.width = window.NoiseBandwidth() * bins.step;
    bins.unit = CMeasuringUnit(CMeasuringUnit::order);
    // A block has a segment's step at most, so that it completes one row.
    block = std::min<std::size_t>(step, 1024);
    valid = samples.alloc(block) && row.alloc(length / 2 + 1) && gains.alloc(bins.bins);
    const AngleGrid grid = s.Grid();
    for (std::size_t k = 0; k < gains.size(); ++k) {
      const double gain = grid.MeanGain(bins.step * static_cast<double>(k));
      gains[k] = static_cast<float>(gain * gain);
    }
    for (unsigned c = 0; c < channels && valid; ++c) {
      spectra.emplace_back(segments, shaft.stepsPerRevolution, SpectrumScaling::Power);
      rows.emplace_back(bins, axis.step);
      valid = spectra.back().IsValid();
    }
  }

  void Take(const float* frames, const CShaftAngle::Passing* passed, std::size_t n) {
    complete = places.Take(passed, n) && complete;
    const std::size_t firstRow = done;
    for (unsigned c = 0; c < channels; ++c) {
      QVL::Interleave(samples.data(), 1, frames + c, channels, n);
      const bool full = spectra[c].Process(row.data(), samples.data(), n) > 0;
      if (full) QVL::MulVectors(row.data(), row.data(), gains.data(), gains.size());
      if (full && complete) complete = rows[c].Add(axis.Of(places.Found()[firstRow]), row.data());
      if (full) done = firstRow + 1;
    }
  }

  MapAxis axis;
  ShaftAxis shaft;
  std::size_t length, step, block = 0;
  unsigned channels;
  std::vector<CSpectrogramStream> spectra;
  std::vector<orders::MapRows> rows;
  CAlignedMem<float> samples, row;
  CAlignedMem<float> gains;  ///< [bins] of powers
  orders::SegmentPlaces places;
  std::size_t done = 0;  ///< rows
  bool valid = false, complete = true;
};

COrderMap::COrderMap(const OrderMapSettings& settings, unsigned channels, const CPulseTrain& pulses) {
  const AngleGrid grid = settings.Grid();
  if (!grid.IsValid() || channels < 1 || channels > CAngleResampler::mostChannels ||
      !(settings.overlap >= 0) || !(settings.overlap <= 0.99) || !(settings.axis.step >= 0) ||
      !std::isfinite(settings.axis.step)) {
    return;
  }
  SpectrumSettings segments;
  segments.length =
      numeric::trunc_sat<std::size_t>(std::round(grid.stepsPerRevolution / settings.resolution));
  segments.step = numeric::trunc_sat<std::size_t>(
      std::max(1.0, std::round(static_cast<double>(segments.length) * (1 - settings.overlap))));
  segments.window = settings.window;
  segments.kaiserBeta = settings.kaiserBeta;
  constexpr std::size_t shortest = 8;
  if (!segments.IsValid() || segments.length < shortest) return;
  umlauf::HadMemory([&] { engine_ = std::make_unique<Engine>(settings, segments, channels, pulses); });
  if (engine_ != nullptr && !engine_->valid) engine_.reset();
}

COrderMap::~COrderMap() = default;
COrderMap::COrderMap(COrderMap&&) noexcept = default;
COrderMap& COrderMap::operator=(COrderMap&&) noexcept = default;

void COrderMap::Take(const float* frames, const CShaftAngle::Passing* places, std::size_t n) {
  if (!IsValid()) return;
  for (std::size_t at = 0; at < n; at += engine_->block) {
    engine_->Take(frames + at * engine_->channels, places + at, std::min(engine_->block, n - at));
  }
}

const std::vector<ShaftPlace>& COrderMap::Rows() const {
  static const std::vector<ShaftPlace> none;
  return IsValid() ? engine_->places.Found() : none;
}

std::span<const float> COrderMap::RowPowers(unsigned c) const {
  return IsValid() && c < engine_->channels ? engine_->rows[c].Powers() : std::span<const float>();
}

bool COrderMap::Complete() const { return IsValid() && engine_->complete; }

bool COrderMap::Map(unsigned c, const MapScale& scale, CSigCurveArray& out) const {
  if (IsValid() && c < engine_->channels) return engine_->rows[c].Curves(scale, engine_->axis.Unit(), out);
  out.InitHeader();
  return false;
}

bool COrderMap::Spectrum(unsigned c, const MapScale& scale, CSigCurve& out) const {
  if (IsValid() && c < engine_->channels) return engine_->rows[c].Mean(scale, out);
  out.Free();
  return false;
}

bool COrderMap::OverallLevel(unsigned c, const MapScale& scale, CSigPairs& out) const {
  if (IsValid() && c < engine_->channels) return engine_->rows[c].Overall(scale, engine_->axis.Unit(), out);
  out.Neustart();
  return false;
}
