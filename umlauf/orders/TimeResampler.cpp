#include "umlauf/orders/TimeResampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "umlauf/orders/internal/VaryingRate.h"
#include "umlauf/platform/vekta/numeric.h"

namespace orders = umlauf::orders;

struct CTimeResampler::Engine {
  static constexpr std::size_t batch = 256;

  Engine(const AngleGrid& g, unsigned channels, double rate, const SampleClock& c)
      : steps(g.stepsPerRevolution),
        clock(c),
        // Frames are denser than samples by this much at most, else the speed is beyond the band anyway.
        resampling(g.FlatTo() / steps, 1 - g.maxOrder / steps, 1, std::max(1.0, 1000 * steps / rate),
                   channels) {}

  std::size_t Get(const CShaftAngle& angle, float* samples, std::size_t most) {
    std::size_t n = 0;
    const std::size_t asked = std::min(most, batch);
    // Angles one by one: a block of them costs a search each, which is little beside the products.
    for (; n < asked; ++n) {
      const double at = clock.OfPulses(static_cast<double>(next) + static_cast<double>(n));
      const double turned = angle.At(at) * steps - static_cast<double>(first.count);
      const double speed = angle.SpeedAt(at) * steps / clock.samplesPerPulseSample;
      const double position = first.speed < 0 ? -turned : turned;
      if (!(position >= 0 && position <= static_cast<double>(received)) || !resampling.Has(position)) break;
      places[n] = {position, std::abs(speed)};
    }
    resampling.Get(places.data(), n, samples);
    next += static_cast<std::int64_t>(n);
    return n;
  }

  double steps;  ///< per revolution
  SampleClock clock;
  orders::VaryingRate resampling;
  CShaftAngle::Passing first;
  std::int64_t next = 0;
  std::uint64_t received = 0;
  std::array<orders::VaryingRate::Place, batch> places;
};

CTimeResampler::CTimeResampler(const AngleGrid& grid, unsigned channels, double rate,
                               const SampleClock& clock) {
  if (!CAngleResampler(grid, channels, rate, clock).IsValid()) return;
  engine_.reset(new (std::nothrow) Engine(grid, channels, rate, clock));
  if (engine_ != nullptr && !engine_->resampling.IsValid()) engine_.reset();
}

CTimeResampler::~CTimeResampler() = default;
CTimeResampler::CTimeResampler(CTimeResampler&&) noexcept = default;
CTimeResampler& CTimeResampler::operator=(CTimeResampler&&) noexcept = default;

void CTimeResampler::Start(const CShaftAngle::Passing& first) {
  if (!IsValid()) return;
  engine_->resampling.Restart();
  engine_->first = first;
  engine_->received = 0;
  engine_->next = numeric::trunc_sat<std::int64_t>(std::ceil(engine_->clock.Position(first.position) - 1e-6));
}

std::size_t CTimeResampler::Put(const float* frames, std::size_t n) {
  if (!IsValid()) return 0;
  const std::size_t taken = engine_->resampling.Put(frames, n, engine_->resampling.Channels());
  engine_->received += taken;
  return taken;
}

void CTimeResampler::Finish() {
  if (IsValid()) engine_->resampling.Finish();
}

std::size_t CTimeResampler::Get(const CShaftAngle& angle, float* samples, std::size_t most) {
  return IsValid() && angle.Valid() ? engine_->Get(angle, samples, most) : 0;
}

std::int64_t CTimeResampler::Next() const { return IsValid() ? engine_->next : 0; }
