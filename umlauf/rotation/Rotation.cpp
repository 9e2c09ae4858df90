#include "umlauf/rotation/Rotation.h"

#include <cmath>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/recording/BlockSource.h"
#include "umlauf/rotation/GapCorrection.h"
#include "umlauf/rotation/SpeedSignals.h"
#include "umlauf/rotation/TachoPulses.h"
#include "umlauf/rotation/internal/RoomAhead.h"

CRotation::CRotation() { detector_.PulsMinLenSetzen(0); }

void CRotation::Wheel(double pulsesPerRevolution, Gap gap) {
  pulsesPerRevolution_ = pulsesPerRevolution;
  gap_ = gap == Gap::automatic;
  gapLength_.reset();
}

void CRotation::Wheel(double pulsesPerRevolution, double gapLength) {
  Wheel(pulsesPerRevolution, Gap::automatic);
  gapLength_ = gapLength;
}

void CRotation::GivenLevels(std::optional<float> upper, std::optional<float> lower) {
  upper_ = upper;
  lower_ = lower;
}

bool CRotation::SettingsFit() {
  if (!(pulsesPerRevolution_ > 0) || !std::isfinite(pulsesPerRevolution_)) {
    failure_ = L"the pulses of a revolution must be a number above 0";
  } else if (gap_ && pulsesPerRevolution_ < 4) {
    failure_ = L"a wheel with a gap has at least 4 pulses without it; give them";
  } else if (gapLength_ && !(*gapLength_ > 1 && *gapLength_ < pulsesPerRevolution_)) {
    failure_ = L"a gap is longer than one pitch and shorter than the wheel; give its length in pitches";
  } else if (gap_ && (detector_.BeideFlankenSuchen() || detector_.PulsTeiler() > 1)) {
    failure_ = L"with a gap each tooth must give one pulse; leave out divider and both edges";
  }
  return failure_.IsEmpty();
}

bool CRotation::Analyse(CBlockSource& recording, unsigned channel) {
  failure_.Empty();
  levels_ = PulseLevels();
  wheel_ = PulseWheel{pulsesPerRevolution_, {}};
  pulses_.Clear(recording.SampleRate(), recording.StartTime());
  samples_ = 0;
  Forget();
  const bool enough = umlauf::HadMemory([&] {
    if (!SettingsFit() || !Find(recording, channel)) return;
    if (counts_.Speed().count == 0) FailWithoutPulses();
    if (!revolutions_.Complete()) failure_ = L"there is no memory for the revolutions";
  });
  if (!enough) failure_ = L"there is no memory for the results";
  if (failure_.IsEmpty()) return true;
  Forget();
  return false;
}

void CRotation::Forget() {
  pulses_.Clear();
  counts_ = CPulseCounts();
  revolutions_ = CRevolutions(gap_, pulsesPerRevolution_);
}

bool CRotation::Find(CBlockSource& recording, unsigned channel) {
  CLevelFinder finder(detector_);
  finder.Given(upper_, lower_);
  finder.BlockSize(blockSize_);
  finder.Part(true);
  const bool found = finder.Find(recording, channel);
  levels_ = finder.Levels();
  failure_ = finder.Failure();
  if (!found) return false;
  while (!FindPulses(recording, channel)) {
  }
  return failure_.IsEmpty();
}

/// False when it has to be done again, with other levels.
bool CRotation::FindPulses(CBlockSource& recording, unsigned channel) {
  CDzPulsDetektor detector = detector_;
  detector.QuellenPulseProUmdr(static_cast<float>(pulsesPerRevolution_));
  CTachoPulses tacho(levels_, detector);
  CGapCorrection gap(gapLength_, pulsesPerRevolution_);
  CPulseTrain block(recording.SampleRate(), recording.StartTime());
  const auto take = [&](const SampleBlock& samples) {
    const float* first = samples.samples + channel;
    const std::size_t known = pulses_.size();
    const bool taken = gap_ ? tacho.Take(first, samples.count, samples.stride, block)
                            : tacho.Append(first, samples.count, samples.stride, pulses_);
    if (gap_) gap.Take(block, pulses_);
    TakeFrom(known);
    return taken;
  };
  const auto frames = static_cast<double>(recording.Frames().value_or(0));
  std::size_t forecast = umlauf::rotation::leastForecast;
  Forget();
  recording.Rewind();  // where it cannot, it is read from where it stands
  while (pulses_.Complete()) {
    const SampleBlock samples = recording.Read(blockSize_);
    if (samples.count == 0) break;
    if (!take(samples)) break;
    if (pulses_.size() < forecast) continue;
    forecast = 2 * pulses_.size();
    MakeRoom(frames / static_cast<double>(tacho.Samples()));
  }
  tacho.Finish(block);
  const std::size_t known = pulses_.size();
  gap_ ? gap.Take(block, pulses_) : pulses_.Append(block);
  const bool complete = !gap_ || gap.Finish(pulses_);
  TakeFrom(known);
  if (gap_) wheel_ = gap.Wheel();
  samples_ = tacho.Samples();
  failure_.Take(recording.HasFailed(), recording.Failure());
  if (failure_.IsEmpty()) failure_ = tacho.Failure();
  if (!complete || !pulses_.Complete()) failure_ = L"there is no memory for all pulses of the recording";
  if (failure_.IsEmpty() && !tacho.LevelsServed()) {
    levels_.Follow(*levels_.otherwise);
    return false;
  }
  levels_.warnings = tacho.Warnings();
  return true;
}

/// While the pulses from number `from` on, which just came, are still in the cache.
void CRotation::TakeFrom(std::size_t from) {
  counts_.Take(pulses_, from);
  revolutions_.Take(pulses_, from);
}

void CRotation::MakeRoom(double times) { umlauf::rotation::MakeRoom(pulses_, times); }

void CRotation::FailWithoutPulses() {
  failure_.Format(L"no pulses found between the levels %g and %g (edges: %u)",
                  static_cast<double>(levels_.upper), static_cast<double>(levels_.lower), counts_.Pulses());
}

std::unique_ptr<CSigCurve> CRotation::SpeedCurve(double step) const {
  CSpeedCurveBuilder builder(step);
  builder.Take(pulses_);
  return builder.Finish(L"speed");
}

std::unique_ptr<CSigPairs> CRotation::SpeedPairs() const {
  CSpeedPairsBuilder builder;
  builder.Take(pulses_);
  return builder.Finish(L"speed");
}

CSpeedComparison CRotation::Compare(std::vector<CSpeedComparison::Point> known) const {
  CSpeedComparison comparison(std::move(known));
  comparison.Take(pulses_);
  return comparison;
}
