#include "umlauf/orders/OrderAnalysis.h"

#include <algorithm>
#include <utility>

#include "umlauf/orders/TorsionalVibration.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/memory/WithoutMemory.h"

namespace {

constexpr std::size_t kBlock = 16384;
constexpr std::size_t kFrames = 4096;

/// Frames over angle on their way.
struct Frames {
  explicit Frames(unsigned channels) : samples(kFrames * channels), places(kFrames) {}
  bool IsValid() const { return !samples.empty() && !places.empty(); }
  CAlignedMem<float> samples;
  CAlignedMem<CShaftAngle::Passing> places;
};

}  // namespace

COrderAnalysis::COrderAnalysis(const Settings& settings)
    : hasSettings_(umlauf::HadMemory([&] { settings_ = settings; })) {}

bool COrderAnalysis::Fail(const wchar_t* why) {
  failure_ = why;
  ForgetResults();
  return false;
}

void COrderAnalysis::ForgetResults() {
  map_.reset();
  tracks_.reset();
  frequencies_.reset();
  average_.reset();
}

bool COrderAnalysis::Prepare(const AngleGrid& grid, const CPulseTrain& pulses) {
  failure_.Empty();
  frequencies_.reset();
  if (!hasSettings_) return Fail(L"there is no memory");
  map_.emplace(settings_.map, channels_, pulses);
  if (!map_->IsValid()) return Fail(L"there is no order map of such settings, or no memory for it");
  tracks_.reset();
  bool had = umlauf::HadMemory([&] {
    if (!settings_.tracks.orders.empty()) tracks_.emplace(settings_.tracks, grid, channels_, pulses);
  });
  if (!had || (tracks_ && !tracks_->IsValid())) {
    return Fail(settings_.tracks.method == OrderTrackSettings::Method::segments
                    ? L"the orders to follow must lie above 0, half a bandwidth apart and up to the highest "
                      L"order"
                    : L"the orders to follow must lie above 0, half a bandwidth apart and up to the highest "
                      L"order; for a Vold-Kalman filter they may be too many, or their bandwidth too narrow");
  }
  average_.reset();
  if (settings_.averagedRevolutions == 0) return true;
  average_.emplace(grid, channels_, settings_.averagedRevolutions);
  return average_->IsValid() ||
         Fail(L"an average needs whole steps of a revolution: choose a resolution of 1 / a whole number");
}

bool COrderAnalysis::Finish() {
  if (tracks_) tracks_->Finish();
  if (map_->Rows().empty()) return Fail(L"the shaft does not turn long enough for an order spectrum");
  if (!map_->Complete() || (tracks_ && !tracks_->Complete()) || (frequencies_ && !frequencies_->Complete())) {
    return Fail(L"there is no memory for all results");
  }
  return true;
}

void COrderAnalysis::TakeFrames(const float* frames, const CShaftAngle::Passing* places, std::size_t n) {
  map_->Take(frames, places, n);
  if (tracks_) tracks_->Take(frames, places, n);
  if (average_) average_->Take(frames, places, n);
}

bool COrderAnalysis::Analyse(CBlockSource& recording, const CPulseTrain& pulses, double pulsesPerRevolution,
                             unsigned first, unsigned channels) {
  const unsigned there = recording.Channels();
  channels_ = channels > 0 || first >= there ? channels : there - first;
  if (first >= there || channels_ > there - first || channels_ > CAngleResampler::mostChannels) {
    return Fail(L"the recording has no such channels");
  }
  const CShaftAngle angle(pulses, pulsesPerRevolution);
  if (!angle.Valid()) return Fail(L"there are no pulses that tell an angle");
  AngleGrid grid = settings_.map.Grid();
  grid.slowest = settings_.slowest;
  if (!Prepare(grid, pulses)) return false;
  const double rate = recording.SampleRate();
  const SampleClock clock =
      SampleClock::Between(rate, recording.StartTime(), pulses.SampleRate(), pulses.StartTime());
  if (settings_.frequencies) {
    frequencies_.emplace(*settings_.frequencies, channels_, rate, pulses, clock);
    if (!frequencies_->IsValid()) return Fail(L"there is no frequency map of such settings");
  }
  CAngleResampler resampler(grid, channels_, rate, clock);
  if (!resampler.IsValid()) return Fail(L"the recording cannot be resampled over such steps of the angle");
  return Read(recording, resampler, angle, first) && Finish();
}

bool COrderAnalysis::Read(CBlockSource& recording, CAngleResampler& resampler, const CShaftAngle& angle,
                          unsigned first) {
  Frames over(channels_);
  if (!over.IsValid()) return Fail(L"there is no memory");
  const auto take = [&] {
    while (const std::size_t n = resampler.Get(angle, over.samples.data(), kFrames, over.places.data())) {
      TakeFrames(over.samples.data(), over.places.data(), n);
    }
  };
  for (SampleBlock block = recording.Read(kBlock); block.count > 0; block = recording.Read(kBlock)) {
    const float* frames = block.samples + first;
    if (frequencies_) frequencies_->Take(angle, frames, block.count, block.stride);
    for (std::size_t at = 0, idle = 0; at < block.count;) {
      const std::size_t put = resampler.Put(frames + at * block.stride, block.count - at, block.stride);
      take();
      at += put;
      idle = put > 0 ? 0 : idle + 1;
      if (idle > 2) return Fail(L"the angle of the shaft is none that a recording can be resampled over");
    }
  }
  failure_.Take(recording.HasFailed(), recording.Failure());
  if (!failure_.IsEmpty()) {
    ForgetResults();
    return false;
  }
  resampler.Finish();
  take();
  return true;
}

bool COrderAnalysis::AnalyseTorsion(const CPulseTrain& pulses, double pulsesPerRevolution) {
  channels_ = 1;
  const CShaftAngle angle(pulses, pulsesPerRevolution);
  if (!angle.Valid()) return Fail(L"there are no pulses that tell an angle");
  OrderMapSettings& map = settings_.map;
  if (!(pulsesPerRevolution >= 2 * map.maxOrder)) {
    return Fail(L"the highest order of a torsional vibration is half the pulses of a revolution");
  }
  const double steps = std::exchange(map.steps, pulsesPerRevolution);
  map.stepMeans = true;
  const AngleGrid grid = map.Grid();
  const bool prepared = Prepare(grid, pulses);
  map.steps = steps;
  map.stepMeans = false;
  if (!prepared) return false;
  Frames over(1);
  if (!over.IsValid()) return Fail(L"there is no memory");
  CTorsionalVibration torsion(grid.stepsPerRevolution, pulses.SampleRate());
  while (const std::size_t n = torsion.Get(angle, over.samples.data(), over.places.data(), kFrames)) {
    TakeFrames(over.samples.data(), over.places.data(), n);
  }
  return Finish();
}
