#include "tools/GapCorrection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace umlauf::tool {
namespace {

constexpr std::size_t reach = 6;  ///< pulses on either side that are compared with
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

double GapCorrection::OrdinaryPitch() const {
  const auto median = [this](std::size_t begin, std::size_t end) {
    std::array<double, reach> lengths{};
    for (std::size_t i = begin; i < end; ++i) lengths[i - begin] = window_[i].length() / window_[i].pitches;
    const auto first = lengths.begin(), middle = first + static_cast<std::ptrdiff_t>((end - begin) / 2);
    std::nth_element(first, middle, first + static_cast<std::ptrdiff_t>(end - begin));
    return *middle;
  };
  // Long pulses just before this one may be a gap themselves and tell nothing.
  const std::size_t ordinaryEnd = next_ - run_.size();
  const std::size_t begin = ordinaryEnd - std::min(ordinaryEnd, reach);
  const std::size_t end = std::min(window_.size(), next_ + 1 + reach);
  const double before =
      begin < ordinaryEnd ? median(begin, ordinaryEnd) : std::numeric_limits<double>::infinity();
  return next_ + 1 < end ? std::max(before, median(next_ + 1, end)) : before;
}

void GapCorrection::JudgeNext() {
  const Pulse& pulse = window_[next_];
  const double ordinary = OrdinaryPitch();
  const double ratio = pulse.length() / pulse.pitches / ordinary;
  if (ratio > longPulse && !overlong_) {
    if (run_.empty()) runPitch_ = ordinary;
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
    Emit(pulse);
  }
  ++next_;
  if (next_ > reach + longestGap) {
    window_.pop_front();
    --next_;
  }
}

double GapCorrection::PitchesOfRun(double length, bool cut) const {
  const auto pulses = static_cast<double>(run_.size());
  const double measured = length / runPitch_;
  if (cut) return std::abs(sinceGap_ - pulsesPerRevolution_) <= 1 ? measured : 0;
  if (!relLength_) {
    const double missing = std::round(measured) - pulses;
    return missing >= 1 && missing <= std::max(1.0, pulsesPerRevolution_ / 4) ? std::round(measured) : 0;
  }
  const double expected = pulses - 1 + *relLength_;
  return std::abs(measured - expected) <= misfit * expected ? expected : 0;
}

void GapCorrection::EndRun(bool atEnd) {
  if (run_.empty()) return;
  const double length = run_.back().end - run_.front().begin;
  const double pitches = runHasGap_ ? PitchesOfRun(length, atEnd) : 0;
  if (pitches > 0) {
    if (!atEnd) {
      ++gaps_;
      lengths_ += pitches - static_cast<double>(run_.size()) + 1;
    }
    sinceGap_ = 0;
    run_.front().startsGap = true;
    for (Pulse& pulse : run_) {
      pulse.pitches = pitches * pulse.length() / length;
      pulse.revolutionTime = length / pitches * pulsesPerRevolution_;
      pulse.gapCorrected = true;
      pulse.held = false;
    }
  }
  for (const Pulse& pulse : run_) Emit(pulse);
  run_.clear();
  runHasGap_ = false;
}

void GapCorrection::Emit(const Pulse& pulse) {
  sinceGap_ += pulse.pitches;
  sink_(pulse);
}

}  // namespace umlauf::tool
