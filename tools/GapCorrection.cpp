#include "tools/GapCorrection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace umlauf::tool {
namespace {

constexpr std::size_t reach = 6;  ///< pulses on either side that give the median
constexpr std::size_t longestGap = 4;
constexpr double longPulse = 1.2;
constexpr double gapPulse = 1.5;
constexpr double misfit = 0.35;

}  // namespace

GapCorrection::GapCorrection(std::optional<double> relLength, double pulsesPerRevolution, PulseSink sink)
    : relLength_(relLength), pulsesPerRevolution_(pulsesPerRevolution), sink_(std::move(sink)) {}

void GapCorrection::Take(const Pulse& pulse) {
  if (pulse.first) {
    sink_(pulse);
    return;
  }
  window_.push_back(pulse);
  if (window_.size() - next_ > reach) JudgeNext();
}

void GapCorrection::Finish() {
  while (next_ < window_.size()) JudgeNext();
  EndRun(true);
  window_.clear();
  next_ = 0;
}

void GapCorrection::JudgeNext() {
  std::array<double, 2 * reach + 1> lengths{};
  const std::size_t begin = next_ - std::min(next_, reach);
  const std::size_t end = std::min(window_.size(), next_ + reach + 1);
  for (std::size_t i = begin; i < end; ++i) lengths[i - begin] = window_[i].length() / window_[i].pitches;
  const auto middle = lengths.begin() + static_cast<std::ptrdiff_t>((end - begin) / 2);
  std::nth_element(lengths.begin(), middle, lengths.begin() + static_cast<std::ptrdiff_t>(end - begin));

  const Pulse& pulse = window_[next_];
  const double ratio = pulse.length() / pulse.pitches / *middle;
  if (ratio > longPulse && !overlong_) {
    if (run_.empty()) runMedian_ = *middle;
    run_.push_back(pulse);
    runHasGap_ = runHasGap_ || ratio > gapPulse;
    if (run_.size() > longestGap) {
      runHasGap_ = false;
      EndRun(false);
      overlong_ = true;
    }
  } else {
    EndRun(false);
    overlong_ = ratio > longPulse;
    anyOrdinary_ = anyOrdinary_ || !overlong_;
    sink_(pulse);
  }
  ++next_;
  if (next_ > reach) {
    window_.pop_front();
    --next_;
  }
}

double GapCorrection::PitchesOfRun(double length, bool cut) const {
  const auto pulses = static_cast<double>(run_.size());
  const double most = relLength_ ? *relLength_ - 1 : std::max(1.0, pulsesPerRevolution_ / 4);
  if (!relLength_ || cut) {
    const double measured = cut ? length / runMedian_ : std::round(length / runMedian_);
    const double missing = measured - pulses;
    return missing > 0 && missing < most + 0.5 ? measured : 0;
  }
  const double expected = pulses - 1 + *relLength_;
  return std::abs(length / runMedian_ - expected) <= misfit * expected ? expected : 0;
}

void GapCorrection::EndRun(bool atEnd) {
  if (run_.empty()) return;
  const double length = run_.back().end - run_.front().begin;
  const bool cut = atEnd || !anyOrdinary_;
  const double pitches = runHasGap_ ? PitchesOfRun(length, cut) : 0;
  if (pitches > 0) {
    if (!cut) {
      ++gaps_;
      lengths_ += pitches - static_cast<double>(run_.size()) + 1;
    }
    run_.front().startsGap = anyOrdinary_;
    for (Pulse& pulse : run_) {
      pulse.pitches = pitches * pulse.length() / length;
      pulse.revolutionTime = length / pitches * pulsesPerRevolution_;
      pulse.gapCorrected = true;
      pulse.held = false;
    }
  }
  for (const Pulse& pulse : run_) sink_(pulse);
  run_.clear();
  runHasGap_ = false;
}

}  // namespace umlauf::tool
