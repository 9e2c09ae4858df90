#include "umlauf/orders/AngleResampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "umlauf/orders/internal/StepHalver.h"
#include "umlauf/orders/internal/VaryingRate.h"

namespace orders = umlauf::orders;

// In two stages: to twice the steps, by short filters that follow the speed; then half of them are kept, by a
// filter whose edges are orders exactly, however fast the speed changes within it.
struct CAngleResampler::Engine {
  static constexpr std::size_t batch = orders::StepHalver::batch;

  Engine(const AngleGrid& g, unsigned channels, double rate, const SampleClock& c)
      : step(1 / (2 * g.stepsPerRevolution)),
        clock(c),
        from(clock.OfPulses(0)),
        resampling(g.FlatTo() * step, 1 - g.maxOrder * step, 0.5, rate * 60 / g.slowest * step, channels),
        halver(2 * g.FlatTo() * step, 1 - 2 * g.maxOrder * step, channels) {
    valid = resampling.IsValid() && halver.IsValid() && doubled.alloc(batch * channels);
  }

  std::size_t Get(const CShaftAngle& angle, float* frames, std::size_t most, CShaftAngle::Passing* passed,
                  double until) {
    while (true) {
      if (const std::size_t n = halver.Get(frames, passed, most); n > 0 || most == 0) return n;
      const std::size_t n = Double(angle, until);
      halver.Put(doubled.data(), passings.data(), n);
      if (n > 0) continue;
      if (!finished || ended) return 0;
      halver.Finish();
      ended = true;
    }
  }

  /// Fills `doubled` and `passings` with the next frames at half steps.
  std::size_t Double(const CShaftAngle& angle, double until) {
    std::size_t found = angle.Passings(step, from, batch, passings.data());
    while (found > 0 && passings[found - 1].position > until) --found;
    std::size_t n = 0;
    for (; n < found; ++n) {
      const CShaftAngle::Passing& passing = passings[n];
      places[n] = {clock.Position(passing.position),
                   clock.samplesPerPulseSample * step / std::abs(passing.speed)};
      if (!resampling.Has(places[n].position)) break;
    }
    // Samples that nothing is asked of make room for those that follow.
    if (n == 0)
      resampling.Release(found > 0 ? places[0].position : clock.Position(std::min(until, angle.End())));
    waitsForAngle = n == found && found < batch;
    resampling.Get(places.data(), n, doubled.data());
    if (n > 0) from = passings[n - 1].position;
    return n;
  }

  double step;  ///< [rev] half of one of the grid
  SampleClock clock;
  double from;  ///< [samples of the pulses] the last place
  orders::VaryingRate resampling;
  orders::StepHalver halver;
  CAlignedMem<float> doubled;
  bool valid = false, waitsForAngle = false, finished = false, ended = false;
  std::array<CShaftAngle::Passing, batch> passings;
  std::array<orders::VaryingRate::Place, batch> places;
};

CAngleResampler::CAngleResampler(const AngleGrid& grid, unsigned channels, double rate,
                                 const SampleClock& clock) {
  if (!grid.IsValid() || channels < 1 || channels > mostChannels || !(rate > 0) || !std::isfinite(rate) ||
      !(clock.samplesPerPulseSample > 0) || !std::isfinite(clock.samplesPerPulseSample) ||
      !std::isfinite(clock.offset)) {
    return;
  }
  engine_.reset(new (std::nothrow) Engine(grid, channels, rate, clock));
  if (engine_ != nullptr && !engine_->valid) engine_.reset();
}

CAngleResampler::~CAngleResampler() = default;
CAngleResampler::CAngleResampler(CAngleResampler&&) noexcept = default;
CAngleResampler& CAngleResampler::operator=(CAngleResampler&&) noexcept = default;

std::size_t CAngleResampler::Put(const float* frames, std::size_t n, std::size_t stride) {
  if (!IsValid()) return 0;
  std::size_t taken = engine_->resampling.Put(frames, n, stride);
  if (taken == 0 && n > 0 && engine_->waitsForAngle) {
    engine_->resampling.Release(std::numeric_limits<double>::infinity());
    taken = engine_->resampling.Put(frames, n, stride);
  }
  return taken;
}

void CAngleResampler::Finish() {
  if (!IsValid()) return;
  engine_->resampling.Finish();
  engine_->finished = true;
}

std::size_t CAngleResampler::Get(const CShaftAngle& angle, float* frames, std::size_t most,
                                 CShaftAngle::Passing* places, double until) {
  return IsValid() ? engine_->Get(angle, frames, most, places, until) : 0;
}

void CAngleResampler::Restart() {
  if (!IsValid()) return;
  engine_->resampling.Restart();
  engine_->halver.Restart();
  engine_->from = engine_->clock.OfPulses(0);
  engine_->waitsForAngle = engine_->finished = engine_->ended = false;
}
