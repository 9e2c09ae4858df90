#include "umlauf/orders/OrderTracker.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <numbers>

#include "umlauf/orders/AngleResampler.h"
#include "umlauf/orders/internal/OrderFit.h"
#include "umlauf/orders/internal/SegmentPlaces.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/platform/vekta/numeric.h"

namespace orders = umlauf::orders;

struct COrderTracker::Engine {
  Engine(const OrderTrackSettings& s, const std::vector<double>& perStep, const CSpectrumWindow& window,
         std::size_t hop, double steps, unsigned channelCount, const CPulseTrain& pulses)
      : settings(s),
        fit(perStep, window),
        step(hop),
        channels(channelCount),
        shaft(pulses, steps),
        capacity(2 * window.Size() + 1024),
        places(capacity),
        amplitudes(s.orders.size()),
        tracks(channelCount * s.orders.size()) {
    valid = fit.IsValid() && kept.alloc(numeric::mul_sat(capacity, channels));
  }

  void Take(const float* frames, const CShaftAngle::Passing* passed, std::size_t n) {
    if (held + n > capacity) Forget();
    for (unsigned c = 0; c < channels; ++c) {
      QVL::Interleave(kept.data() + c * capacity + held, 1, frames + c, channels, n);
    }
    std::copy_n(passed, n, places.begin() + static_cast<std::ptrdiff_t>(held));
    held += n;
    for (; next + fit.Length() <= held; next += step) Segment();
  }

  void Forget() {
    const std::size_t dropped = std::min(next, held);
    held -= dropped;
    next -= dropped;
    for (unsigned c = 0; c < channels; ++c) {
      float* plane = kept.data() + c * capacity;
      std::memmove(plane, plane + dropped, held * sizeof(float));
    }
    std::copy_n(places.begin() + static_cast<std::ptrdiff_t>(dropped), held, places.begin());
  }

  void Segment() {
    const CShaftAngle::Passing& first = places[next];
    const std::int64_t turned = places[next + fit.Length() - 1].count - first.count;
    const bool backward = turned < 0;
    if (static_cast<std::size_t>(backward ? -turned : turned) != fit.Length() - 1) return;
    const std::size_t middle = next + fit.Length() / 2,
                      half = orders::HalfTurn(shaft.stepsPerRevolution, fit.Length());
    ShaftPlace place = shaft.Place(places[middle]);
    place.rpm = orders::SpeedBetween(shaft, places[middle - half], places[middle + half - 1]);
    const double begin = shaft.Place(first).revolution;
    for (unsigned c = 0; c < channels; ++c) {
      fit.Fit(kept.data() + c * capacity + next, amplitudes.data());
      for (std::size_t k = 0; k < amplitudes.size(); ++k) {
        // From the start of the segment to the origin of the angle.
        const double cycles = settings.orders[k] * begin;
        const std::complex<double> own = backward ? std::conj(amplitudes[k]) : amplitudes[k];
        const std::complex<double> there =
            own * std::polar(1.0, -2 * std::numbers::pi * (cycles - std::round(cycles)));
        const Point point{place, std::abs(there), std::arg(there) * 180 / std::numbers::pi};
        auto& track = tracks[c * amplitudes.size() + k];
        if (!umlauf::HadMemory([&] { track.push_back(point); })) complete = false;
      }
    }
  }

  OrderTrackSettings settings;
  orders::OrderFit fit;
  std::size_t step;
  unsigned channels;
  ShaftAxis shaft;
  std::size_t capacity;  ///< of a plane
  CAlignedMem<float> kept;
  std::vector<CShaftAngle::Passing> places;
  std::vector<std::complex<double>> amplitudes;
  std::vector<std::vector<Point>> tracks;
  std::size_t held = 0, next = 0;  ///< frames kept; begin of the next segment
  bool valid = false, complete = true;
};

namespace {

bool CanBeFollowed(const OrderTrackSettings& s, const AngleGrid& grid) {
  for (std::size_t i = 0; i < s.orders.size(); ++i) {
    if (!(s.orders[i] > 0 && s.orders[i] <= grid.maxOrder)) return false;
    for (std::size_t j = 0; j < i; ++j) {
      if (std::abs(s.orders[i] - s.orders[j]) < s.bandwidth / 2) return false;
    }
  }
  return !s.orders.empty() && s.bandwidth > 0 && s.overlap >= 0 && s.overlap <= 0.99;
}

}  // namespace

COrderTracker::COrderTracker(const OrderTrackSettings& settings, const AngleGrid& grid, unsigned channels,
                             const CPulseTrain& pulses) {
  if (!grid.IsValid() || channels < 1 || channels > CAngleResampler::mostChannels ||
      !CanBeFollowed(settings, grid)) {
    return;
  }
  const double steps = grid.stepsPerRevolution;
  const double bins = CSpectrumWindow(settings.window, 4096, settings.kaiserBeta).NoiseBandwidth();
  const double length = std::round(bins / settings.bandwidth * steps);
  constexpr double longest = 1 << 26;
  if (!(length >= 8 && length <= longest)) return;
  const double hop = std::max(1.0, std::round(length * (1 - settings.overlap)));
  umlauf::HadMemory([&] {
    std::vector<double> perStep;
    for (const double order : settings.orders) perStep.push_back(order / steps);
    const CSpectrumWindow window(settings.window, numeric::trunc_sat<std::size_t>(length),
                                 settings.kaiserBeta);
    if (window.Size() == 0) return;
    engine_ = std::make_unique<Engine>(settings, perStep, window, numeric::trunc_sat<std::size_t>(hop), steps,
                                       channels, pulses);
  });
  if (engine_ != nullptr && !engine_->valid) engine_.reset();
}

COrderTracker::~COrderTracker() = default;
COrderTracker::COrderTracker(COrderTracker&&) noexcept = default;
COrderTracker& COrderTracker::operator=(COrderTracker&&) noexcept = default;

void COrderTracker::Take(const float* frames, const CShaftAngle::Passing* places, std::size_t n) {
  if (!IsValid()) return;
  constexpr std::size_t block = 1024;
  for (std::size_t at = 0; at < n; at += block) {
    engine_->Take(frames + at * engine_->channels, places + at, std::min(block, n - at));
  }
}

bool COrderTracker::Complete() const { return IsValid() && engine_->complete; }

double COrderTracker::SegmentRevolutions() const {
  return IsValid() ? static_cast<double>(engine_->fit.Length()) / engine_->shaft.stepsPerRevolution : 0;
}

std::span<const COrderTracker::Point> COrderTracker::Track(unsigned c, std::size_t i) const {
  if (!IsValid() || c >= engine_->channels || i >= engine_->amplitudes.size()) return {};
  return engine_->tracks[c * engine_->amplitudes.size() + i];
}

bool COrderTracker::Pairs(unsigned c, std::size_t i, MapAxis::Kind axis, Quantity quantity,
                          const CMeasuringUnit& unit, CSigPairs& out) const {
  const MapAxis x{axis, 0};
  out.InitHeader();
  out.SetXUnit(x.Unit());
  out.SetYUnit(quantity == Quantity::phase ? CMeasuringUnit(CMeasuringUnit::degree) : unit);
  const std::span<const Point> track = Track(c, i);
  for (const Point& point : track) {
    const double value = quantity == Quantity::phase ? point.phase : point.amplitude;
    if (out.NeuesPaar(static_cast<float>(x.Of(point.place)), static_cast<float>(value))) continue;
    out.Neustart();
    return false;
  }
  return !track.empty();
}

bool COrderTracker::Curves(unsigned c, const CMeasuringUnit& unit, CSigCurveArray& out) const {
  out.InitHeader();
  if (Track(c, 0).empty()) return false;
  const double step = static_cast<double>(engine_->step) / engine_->shaft.stepsPerRevolution;
  bool complete = true;
  const bool had = umlauf::HadMemory([&] {
    for (std::size_t i = 0; i < engine_->amplitudes.size() && complete; ++i) {
      const std::span<const Point> track = Track(c, i);
      auto curve = std::make_unique<CSigCurveExt>(track.size());
      complete = curve->DLen() == track.size();
      if (!complete) break;
      for (std::size_t k = 0; k < track.size(); ++k) {
        curve->FData()[k] = static_cast<float>(track[k].amplitude);
      }
      const double begin = track.front().place.revolution;
      curve->SetXMinMax(static_cast<float>(begin),
                        static_cast<float>(begin + step * static_cast<double>(track.size())));
      curve->SetXUnit(CMeasuringUnit(CMeasuringUnit::revolution));
      curve->SetYUnit(unit);
      curve->SetFileCompression(false);
      curve->ResetVMinMax();
      curve->Date(static_cast<float>(engine_->settings.orders[i]));
      complete = out.Insert(std::move(curve)) != CSigCurveArray::None;
    }
  });
  out.SetArrayUnit(CMeasuringUnit(CMeasuringUnit::order));
  if (!had || !complete) out.InitHeader();
  return had && complete;
}
