#include "umlauf/orders/PitchErrors.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/rotation/ShaftAngle.h"

namespace {

/// Which tooth of the wheel an edge is: counted on from the first edge, and from the gap where there is one.
class ToothCount {
 public:
  explicit ToothCount(std::size_t pitches) : pitches_(static_cast<double>(pitches)) {}

  /// Stands at the edge that a pulse begins with.
  void Begin(const CPulseTrain::Pulse& pulse) {
    if (!pulse.Is(CPulseTrain::gapStart)) return;
    // A tooth too many or too few is forgotten at the gap; further gaps of a wheel do not count.
    const double off = at_ - pitches_ * std::round(at_ / pitches_);
    if (!synchronous_ || std::abs(off) <= 2) at_ -= off;
    if (!synchronous_) at_ = 0;
    synchronous_ = true;
  }
  void Pass(const CPulseTrain::Pulse& pulse) { at_ += pulse.pitches; }
  /// False at edges within a gap, which are none of the wheel.
  bool AtTooth() const { return std::abs(at_ - std::round(at_)) < 0.01; }
  std::size_t Tooth() const {
    const double whole = std::round(at_);
    return numeric::trunc_sat<std::size_t>(whole - pitches_ * std::floor(whole / pitches_));
  }
  bool Synchronous() const { return synchronous_; }

 private:
  double pitches_, at_ = 0;
  bool synchronous_ = false;
};

bool HasGap(const CPulseTrain& pulses) {
  return std::any_of(pulses.Flags().begin(), pulses.Flags().end(),
                     [](std::uint8_t flags) { return (flags & CPulseTrain::gapStart) != 0; });
}

/// Visits the pulses with the teeth at both ends, those that have one.
template <class Visit>
void ForEachPulse(const CPulseTrain& pulses, std::size_t pitches, Visit visit) {
  constexpr std::size_t none = static_cast<std::size_t>(-1);
  const bool gap = HasGap(pulses);
  ToothCount count(pitches);
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    if (pulse.Is(CPulseTrain::first)) {
      visit(pulse, none, none);
      continue;
    }
    count.Begin(pulse);
    const auto tooth = [&] { return count.AtTooth() && gap == count.Synchronous() ? count.Tooth() : none; };
    const std::size_t from = tooth();
    count.Pass(pulse);
    visit(pulse, from, tooth());
  }
}

/// The angle by whole revolutions: the edges of tooth 0.
CPulseTrain WholeTurns(const CPulseTrain& pulses, std::size_t pitches) {
  CPulseTrain turns(pulses.SampleRate());
  std::optional<double> last;
  ForEachPulse(pulses, pitches, [&](const CPulseTrain::Pulse& pulse, std::size_t from, std::size_t) {
    if (from != 0) return;
    CPulseTrain::Pulse turn;
    turn.begin = last.value_or(pulse.begin);
    turn.end = pulse.begin;
    turn.pitches = pulse.pitches < 0 ? -1 : 1;
    if (last && turn.end > turn.begin) turns.Append(turn);
    last = pulse.begin;
  });
  return turns;
}

}  // namespace

CPitchErrors::CPitchErrors(const CPulseTrain& pulses, double pitches) {
  if (!(pitches >= 2 && pitches <= 100000) || pitches != std::floor(pitches)) return;
  pitches_ = numeric::trunc_sat<std::size_t>(pitches);
  if (!umlauf::HadMemory([&] { Average(pulses); })) errors_.clear();
}

void CPitchErrors::Average(const CPulseTrain& pulses) {
  const CPulseTrain turns = WholeTurns(pulses, pitches_);
  if (turns.size() < 3 || !turns.Complete()) return;
  const CShaftAngle angle(turns, 1);
  if (!angle.Valid()) return;
  std::vector<double> sums(pitches_), counts(pitches_);
  // The speed at the two ends is known from one side only, so that their revolutions do not count.
  const double begin = turns.Edges()[1], end = turns.Edges()[turns.size() - 1];
  ForEachPulse(pulses, pitches_, [&](const CPulseTrain::Pulse& pulse, std::size_t from, std::size_t) {
    if (from >= pitches_ || pulse.begin < begin || pulse.begin > end) return;
    const double turned = angle.At(pulse.begin) - static_cast<double>(from) / static_cast<double>(pitches_);
    sums[from] += turned - std::round(turned);
    counts[from] += 1;
  });
  double mean = 0, teeth = 0;
  for (std::size_t j = 0; j < pitches_; ++j) {
    if (counts[j] == 0) continue;
    sums[j] /= counts[j];
    mean += sums[j];
    ++teeth;
  }
  for (std::size_t j = 0; j < pitches_; ++j) sums[j] = counts[j] > 0 ? sums[j] - mean / teeth : 0;
  revolutions_ = turns.size() - 2;
  errors_.swap(sums);
}

CPulseTrain CPitchErrors::Corrected(const CPulseTrain& pulses) const {
  CPulseTrain corrected(pulses.SampleRate(), pulses.StartTime());
  if (!IsValid()) {
    corrected.Append(pulses);
    return corrected;
  }
  const auto wheel = static_cast<double>(pitches_);
  const auto error = [this](std::size_t tooth) { return tooth < pitches_ ? errors_[tooth] : 0; };
  ForEachPulse(pulses, pitches_, [&](CPulseTrain::Pulse pulse, std::size_t from, std::size_t to) {
    pulse.pitches += wheel * (error(to) - error(from));
    if (pulse.HasSpeed() && pulse.pitches != 0) pulse.revolutionTime = pulse.Length() * wheel / pulse.pitches;
    corrected.Append(pulse);
  });
  return corrected;
}
