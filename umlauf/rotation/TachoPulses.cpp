#include "umlauf/rotation/TachoPulses.h"

#include <optional>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/rotation/PulseAssembler.h"
#include "umlauf/rotation/PulseJudge.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/internal/RangeParts.h"
#include "umlauf/rotation/internal/SwingScaler.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace {

CDzPulsDetektor With(CDzPulsDetektor detector, const PulseLevels& levels) {
  detector.SchrankenSetzen(levels.upper, levels.lower);
  detector.StatistikAktivieren(false);
  return detector;
}

}  // namespace

struct CTachoPulses::State {
  State(const PulseLevels& found, const CDzPulsDetektor& settings)
      : levels(found),
        detector(With(settings, found)),
        assembler(PulseForm::Of(detector)),
        judge(found, detector) {
    if (levels.scale) scaler.emplace(*levels.scale);
  }

  PulseLevels levels;
  std::optional<umlauf::rotation::SwingScaler> scaler;
  umlauf::rotation::RangeParts ranges;
  CDzPulsDetektor detector;
  CDzPulsListe list;
  CPulseAssembler assembler;
  CPulseJudge judge;
  std::uint64_t samples = 0;
};

CTachoPulses::CTachoPulses(const PulseLevels& levels, const CDzPulsDetektor& detector) {
  if (!umlauf::HadMemory([&] { state_ = std::make_unique<State>(levels, detector); }))
    Failed(L"there is no memory to look for pulses");
}

CTachoPulses::~CTachoPulses() = default;

bool CTachoPulses::Failed(const wchar_t* why) {
  failure_ = why;
  return false;
}

bool CTachoPulses::Search(const float* samples, std::size_t n, std::size_t stride, CPulseTrain& pulses) {
  State& s = *state_;
  const std::size_t known = pulses.size();
  s.detector.PulseSuchen(samples, n, s.list, static_cast<unsigned>(stride));
  s.assembler.Take(s.list, pulses);
  if (!pulses.Complete()) return Failed(L"there is no memory for the pulses of one block");
  s.judge.Take(pulses, known);
  return true;
}

bool CTachoPulses::Take(const float* samples, std::size_t n, std::size_t stride, CPulseTrain& pulses) {
  pulses.Clear();
  return Append(samples, n, stride, pulses);
}

bool CTachoPulses::Append(const float* samples, std::size_t n, std::size_t stride, CPulseTrain& pulses) {
  if (!failure_.IsEmpty()) return false;
  if (n == 0) return true;
  State& s = *state_;
  s.samples += n;
  const bool enough = umlauf::HadMemory([&] {
    if (s.levels.otherwise) s.ranges.Take(samples, n, stride);
    if (s.scaler) s.scaler->Take(samples, n, stride);
  });
  if (!enough) return Failed(L"there is no memory to follow the swings of the signal");
  if (!s.scaler) return Search(samples, n, stride, pulses);
  const auto ready = s.scaler->Ready();
  const bool searched = Search(ready.data(), ready.size(), 1, pulses);
  s.scaler->Drop(ready.size());
  return searched;
}

bool CTachoPulses::Finish(CPulseTrain& pulses) {
  pulses.Clear();
  if (!failure_.IsEmpty()) return false;
  State& s = *state_;
  if (!s.scaler) return true;
  if (!umlauf::HadMemory([&] { s.scaler->End(); }))
    return Failed(L"there is no memory to follow the swings of the signal");
  const auto ready = s.scaler->Ready();
  return Search(ready.data(), ready.size(), 1, pulses);
}

std::uint64_t CTachoPulses::Samples() const { return state_ ? state_->samples : 0; }

bool CTachoPulses::LevelsServed() const {
  if (!state_ || !state_->levels.otherwise) return true;
  const PulseLevels& levels = state_->levels;
  return state_->ranges.Pass(levels.upper, levels.lower, levels.otherwise->smallest);
}

PulseLevels CTachoPulses::Levels() const {
  if (!state_) return {};
  return umlauf::WithMemory(PulseLevels(), [&] {
    PulseLevels levels = state_->levels;
    if (!LevelsServed()) levels.Follow(*levels.otherwise);
    return levels;
  });
}

std::vector<RotationWarning> CTachoPulses::Warnings() {
  return state_ ? state_->judge.Finish(state_->samples) : std::vector<RotationWarning>();
}
