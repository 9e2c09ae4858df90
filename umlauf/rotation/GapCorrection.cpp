#include "umlauf/rotation/GapCorrection.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "umlauf/platform/memory/WithoutMemory.h"

namespace {

constexpr double longPulse = 1.2;
constexpr double gapPulse = 1.5;
constexpr double misfit = 0.35;

}  // namespace

void CGapCorrection::Take(const CPulseTrain& pulses, CPulseTrain& corrected) {
  for (std::size_t i = 0; i < pulses.size(); ++i) {
    const Pulse pulse = pulses[i];
    if (pulse.Is(CPulseTrain::first)) {
      corrected.Append(pulse);
      continue;
    }
    window_.Push(pulse);
    if (window_.size() - next_ > reach) JudgeNext(corrected);
  }
}

void CGapCorrection::Finish(CPulseTrain& corrected) {
  while (next_ < window_.size()) JudgeNext(corrected);
  EndRun(true, corrected);
  window_.Clear();
  next_ = 0;
}

PulseWheel CGapCorrection::Wheel() const {
  PulseWheel wheel{pulsesPerRevolution_, {}};
  if (gaps_ > 0) umlauf::HadMemory([&] { wheel.gaps.push_back({0, RelativeLength()}); });
  return wheel;
}

double CGapCorrection::Median(std::size_t begin, std::size_t end) const {
  std::array<double, reach> lengths{};
  for (std::size_t i = begin; i < end; ++i) lengths[i - begin] = window_[i].Length() / window_[i].pitches;
  const auto first = lengths.begin(), middle = first + static_cast<std::ptrdiff_t>((end - begin) / 2);
  std::nth_element(first, middle, first + static_cast<std::ptrdiff_t>(end - begin));
  return *middle;
}

/// Length of an ordinary pulse around the next one to be judged.
double CGapCorrection::OrdinaryPitch() const {
  // Long pulses just before this one may be a gap themselves and tell nothing.
  const std::size_t ordinaryEnd = next_ - runSize_;
  const std::size_t begin = ordinaryEnd - std::min(ordinaryEnd, reach);
  const std::size_t end = std::min(window_.size(), next_ + 1 + reach);
  const double before =
      begin < ordinaryEnd ? Median(begin, ordinaryEnd) : std::numeric_limits<double>::infinity();
  return next_ + 1 < end ? std::max(before, Median(next_ + 1, end)) : before;
}

void CGapCorrection::JudgeNext(CPulseTrain& corrected) {
  const Pulse pulse = window_[next_];
  const double ordinary = OrdinaryPitch();
  const double ratio = pulse.Length() / pulse.pitches / ordinary;
  if (ratio > longPulse && !overlong_) {
    if (runSize_ == 0) runPitch_ = ordinary;
    run_[runSize_++] = pulse;
    runHasGap_ = runHasGap_ || ratio > gapPulse;
    if (runSize_ > longestGap) {
      runHasGap_ = false;
      EndRun(false, corrected);
      overlong_ = true;
    }
  } else {
    EndRun(false, corrected);
    overlong_ = ratio > longPulse;
    Emit(pulse, corrected);
  }
  ++next_;
  if (next_ > reach + longestGap) {
    window_.Pop();
    --next_;
  }
}

/// Pitches that the long pulses stand for; 0 when they are no gap.
double CGapCorrection::PitchesOfRun(double length, bool cut) const {
  const auto pulses = static_cast<double>(runSize_);
  const double measured = length / runPitch_;
  if (cut) return std::abs(sinceGap_ - pulsesPerRevolution_) <= 1 ? measured : 0;
  if (!relLength_) {
    const double missing = std::round(measured) - pulses;
    return missing >= 1 && missing <= std::max(1.0, pulsesPerRevolution_ / 4) ? std::round(measured) : 0;
  }
  const double expected = pulses - 1 + *relLength_;
  return std::abs(measured - expected) <= misfit * expected ? expected : 0;
}

void CGapCorrection::EndRun(bool atEnd, CPulseTrain& corrected) {
  if (runSize_ == 0) return;
  const double length = run_[runSize_ - 1].end - run_[0].begin;
  const double pitches = runHasGap_ ? PitchesOfRun(length, atEnd) : 0;
  if (pitches > 0) {
    if (!atEnd) {
      ++gaps_;
      lengths_ += pitches - static_cast<double>(runSize_) + 1;
    }
    sinceGap_ = 0;
    run_[0].Set(CPulseTrain::gapStart, true);
    for (std::size_t i = 0; i < runSize_; ++i) {
      run_[i].pitches = pitches * run_[i].Length() / length;
      run_[i].revolutionTime = length / pitches * pulsesPerRevolution_;
      run_[i].Set(CPulseTrain::gapCorrected, true);
      run_[i].Set(CPulseTrain::held, false);
    }
  }
  for (std::size_t i = 0; i < runSize_; ++i) Emit(run_[i], corrected);
  runSize_ = 0;
  runHasGap_ = false;
}

void CGapCorrection::Emit(const Pulse& pulse, CPulseTrain& corrected) {
  sinceGap_ += pulse.pitches;
  corrected.Append(pulse);
}
