#include "umlauf/rotation/RotationStream.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/recording/MemorySource.h"

namespace {

CDzPulsDetektor Detector(const CRotationStream::Settings& settings) {
  CDzPulsDetektor detector(settings.detector);
  detector.QuellenPulseProUmdr(static_cast<float>(settings.pulsesPerRevolution));
  if (settings.upper && settings.lower) detector.SchrankenSetzen(*settings.upper, *settings.lower);
  return detector;
}

}  // namespace

CRotationStream::CRotationStream(const Settings& settings)
    : settings_(settings),
      detector_(Detector(settings)),
      assembler_(PulseForm::Of(detector_)),
      gap_(settings.gapLength, settings.pulsesPerRevolution),
      closed_(NewTrain()),
      learning_(!settings.upper || !settings.lower) {
  CheckSettings();
  if (!learning_) {
    levels_.upper = *settings.upper;
    levels_.lower = *settings.lower;
  }
  const double horizon = settings.pulsesPerRevolution * settings.revolutions;
  gap_.Horizon(std::max<std::size_t>(16, numeric::trunc_sat<std::size_t>(horizon)));
}

void CRotationStream::CheckSettings() {
  const double pulses = settings_.pulsesPerRevolution;
  const auto& length = settings_.gapLength;
  if (!(settings_.sampleRate > 0) || !std::isfinite(settings_.sampleRate)) {
    failure_ = L"the sample rate must be a number above 0";
  } else if (!(pulses > 0) || !std::isfinite(pulses)) {
    failure_ = L"the pulses of a revolution must be a number above 0";
  } else if (HasGap() && pulses < 4) {
    failure_ = L"a wheel with a gap has at least 4 pulses without it; give them";
  } else if (length && !(*length > 1 && *length < pulses)) {
    failure_ = L"a gap is longer than one pitch and shorter than the wheel; give its length in pitches";
  } else if (HasGap() && (detector_.BeideFlankenSuchen() || detector_.PulsTeiler() > 1)) {
    failure_ = L"with a gap each tooth must give one pulse; leave out divider and both edges";
  } else if (!learning_ && !(*settings_.upper >= *settings_.lower)) {
    failure_ = L"the lower level lies above the upper one; exchange them";
  }
}

bool CRotationStream::Take(const float* samples, std::size_t count, unsigned stride, CPulseTrain& pulses) {
  pulses.Clear();
  if (!failure_.IsEmpty()) return false;
  samples_ += count;
  if (!learning_) return Search(samples, count, stride, pulses);
  const bool kept = umlauf::HadMemory([&] {
    held_.reserve(held_.size() + count);
    for (std::size_t i = 0; i < count; ++i) held_.push_back(samples[i * stride]);
  });
  if (!kept) failure_ = L"there is no memory for the samples in which levels are found";
  if (!kept || held_.size() < settings_.learning) return kept;
  const bool good = Learn() && Search(held_.data(), held_.size(), 1, pulses);
  held_ = {};
  return good;
}

bool CRotationStream::Learn() {
  learning_ = false;
  // Levels do not depend on what came behind them, however large the block was that brought it.
  CMemorySource first(
      std::span<const float>(held_).first(std::min<std::size_t>(held_.size(), settings_.learning)),
      settings_.sampleRate, settings_.startTime);
  CLevelFinder finder(detector_);
  finder.Given(settings_.upper, settings_.lower);
  if (!finder.Find(first, 0)) {
    failure_ = finder.Failure();
  } else if (finder.Levels().scale) {
    failure_ = L"no two levels serve for the start of the measurement; give them";
  }
  if (!umlauf::HadMemory([&] { levels_ = finder.Levels(); }))
    failure_ = L"there is no memory for the levels that were found";
  detector_.SchrankenSetzen(levels_.upper, levels_.lower);
  return failure_.IsEmpty();
}

bool CRotationStream::Search(const float* samples, std::size_t count, unsigned stride, CPulseTrain& pulses) {
  detector_.PulseSuchen(samples, count, list_, stride);
  if (HasGap()) {
    closed_.Clear();
    assembler_.Take(list_, closed_);
    gap_.Take(closed_, pulses);
  } else {
    assembler_.Take(list_, pulses);
  }
  if (!pulses.Complete() || !closed_.Complete()) failure_ = L"there is no memory for the pulses of one block";
  return failure_.IsEmpty();
}

bool CRotationStream::Finish(CPulseTrain& pulses) {
  pulses.Clear();
  if (!failure_.IsEmpty()) return false;
  if (learning_ && (!Learn() || !Search(held_.data(), held_.size(), 1, pulses))) return false;
  if (HasGap() && !gap_.Finish(pulses)) failure_ = L"there is no memory to look for the gaps of the wheel";
  return failure_.IsEmpty();
}
