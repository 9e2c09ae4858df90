#include "umlauf/orders/OrderTracker.h"

#include <algorithm>
#include <cmath>

#include "umlauf/orders/AngleResampler.h"
#include "umlauf/orders/internal/EnvelopeTracks.h"
#include "umlauf/orders/internal/SegmentTracks.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace orders = umlauf::orders;

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
  const bool segments = settings.method == OrderTrackSettings::Method::segments;
  const double width =
      segments ? CSpectrumWindow(settings.window, 4096, settings.kaiserBeta).NoiseBandwidth() : 1;
  const double length = std::round(width / settings.bandwidth * grid.stepsPerRevolution);
  constexpr double longest = 1 << 26;
  if (!(length >= 8 && length <= longest)) return;
  const auto hop =
      numeric::trunc_sat<std::size_t>(std::max(1.0, std::round(length * (1 - settings.overlap))));
  umlauf::HadMemory([&] {
    if (segments) {
      const CSpectrumWindow window(settings.window, numeric::trunc_sat<std::size_t>(length),
                                   settings.kaiserBeta);
      if (window.Size() == 0) return;
      engine_ = std::make_unique<orders::SegmentTracks>(settings, grid, channels, pulses, window, hop);
    } else if (orders::EnvelopeTracks::CanFollow(settings, grid)) {
      engine_ = std::make_unique<orders::EnvelopeTracks>(settings, grid, channels, pulses, hop);
    }
  });
  if (engine_ != nullptr && !engine_->IsValid()) engine_.reset();
}

COrderTracker::~COrderTracker() = default;
COrderTracker::COrderTracker(COrderTracker&&) noexcept = default;
COrderTracker& COrderTracker::operator=(COrderTracker&&) noexcept = default;

void COrderTracker::Take(const float* frames, const CShaftAngle::Passing* places, std::size_t n) {
  if (IsValid()) engine_->Take(frames, places, n);
}

void COrderTracker::Finish() {
  if (IsValid()) engine_->Finish();
}

bool COrderTracker::Complete() const { return IsValid() && engine_->Complete(); }

double COrderTracker::SegmentRevolutions() const {
  return IsValid() ? static_cast<double>(engine_->Length()) / engine_->StepsPerRevolution() : 0;
}

std::span<const COrderTracker::Point> COrderTracker::Track(unsigned c, std::size_t i) const {
  const std::vector<Point>* track = IsValid() ? engine_->Track(c, i) : nullptr;
  return track != nullptr ? std::span<const Point>(*track) : std::span<const Point>();
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
  const double step = static_cast<double>(engine_->Step()) / engine_->StepsPerRevolution();
  bool complete = true;
  const bool had = umlauf::HadMemory([&] {
    for (std::size_t i = 0; !Track(c, i).empty() && complete; ++i) {
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
      curve->Date(static_cast<float>(engine_->Order(i)));
      complete = out.Insert(std::move(curve)) != CSigCurveArray::None;
    }
  });
  out.SetArrayUnit(CMeasuringUnit(CMeasuringUnit::order));
  if (!had || !complete) out.InitHeader();
  return had && complete;
}
