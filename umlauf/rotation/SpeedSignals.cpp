#include "umlauf/rotation/SpeedSignals.h"

#include <algorithm>
#include <cmath>

#include "umlauf/platform/memory/WithoutMemory.h"

using umlauf::HadMemory;

namespace {

void SetHeader(CSignal& signal, const wchar_t* name) {
  signal.SetName(name);
  signal.SetXUnit(CString(L"s"));
  signal.SetYUnit(CString(L"rpm"));
}

}  // namespace

CSpeedCurveBuilder::CSpeedCurveBuilder(double step) : step_(step), good_(step > 0 && std::isfinite(step)) {}

void CSpeedCurveBuilder::Take(const CPulseTrain& pulses) {
  const double rate = pulses.SampleRate();
  startTime_ = pulses.StartTime();
  for (std::size_t i = 0; i < pulses.size() && good_; ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    if (pulse.Is(CPulseTrain::first)) continue;
    if (begin_ < 0) begin_ = cursor_ = pulse.begin / rate;
    const double end = pulse.end / rate;
    good_ = (end - begin_) / step_ < static_cast<double>(longest);
    const double perSecond = pulse.HasSpeed() ? pulse.Rpm(rate) / 60 : 0;
    while (good_) {
      const double stepEnd = begin_ + static_cast<double>(rpm_.size() + 1) * step_;
      if (end < stepEnd) break;
      turns_ += (stepEnd - cursor_) * perSecond;
      Close(stepEnd);
    }
    turns_ += (end - cursor_) * perSecond;
    cursor_ = end;
  }
}

void CSpeedCurveBuilder::Close(double stepEnd) {
  good_ = HadMemory([this] { rpm_.push_back(static_cast<float>(60 * turns_ / step_)); });
  turns_ = 0;
  cursor_ = stepEnd;
}

std::unique_ptr<CSigCurve> CSpeedCurveBuilder::Finish(const wchar_t* name) {
  if (good_ && rpm_.empty() && begin_ >= 0 && cursor_ > begin_) {
    step_ = cursor_ - begin_;
    Close(cursor_);
  }
  std::unique_ptr<CSigCurve> curve;
  if (!good_ || !HadMemory([&] { curve = std::make_unique<CSigCurve>(rpm_.size()); })) return nullptr;
  if (curve->DLen() != rpm_.size()) return nullptr;
  std::copy(rpm_.begin(), rpm_.end(), curve->FData());
  const double left = startTime_ + std::max(begin_, 0.0) + step_ / 2;
  curve->SetXMinMax(static_cast<float>(left),
                    static_cast<float>(left + step_ * static_cast<double>(rpm_.size())));
  SetHeader(*curve, name);
  curve->SetFileCompression(false);
  return curve;
}

CSpeedPairsBuilder::CSpeedPairsBuilder() {
  HadMemory([this] { points_ = std::make_unique<CSigPairs>(); });
}

void CSpeedPairsBuilder::Take(const CPulseTrain& pulses) {
  for (std::size_t i = 0; i < pulses.size() && points_; ++i) {
    const CPulseTrain::Pulse pulse = pulses[i];
    if (!pulse.HasSpeed()) continue;
    const double time = pulses.StartTime() + pulse.Middle() / pulses.SampleRate();
    const double rpm = pulse.Rpm(pulses.SampleRate());
    if (!points_->NeuesPaar(static_cast<float>(time), static_cast<float>(rpm))) points_.reset();
  }
}

std::unique_ptr<CSigPairs> CSpeedPairsBuilder::Finish(const wchar_t* name) {
  if (points_) SetHeader(*points_, name);
  return std::move(points_);
}
