#include "tools/SpeedResults.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/CsvReader.h"
#include "tools/Error.h"

namespace umlauf::tool {

void SpeedSummary::Add(double addedTurns, double addedSamples, double sampleRate) {
  const double rpm = 60 * sampleRate * addedTurns / addedSamples;
  if (count == 0) first = rpm;
  last = rpm;
  min = std::min(min, rpm);
  max = std::max(max, rpm);
  turns += addedTurns;
  samples += addedSamples;
  ++count;
}

void PulseCounts::Take(const Pulse& pulse) {
  ++pulses_;
  if (pulse.startsGap) ++correctedGaps_;
  if (pulse.held) ++held_;
  if (pulse.hasSpeed() && pulse.length() > 0) speed_.Add(pulse.turns(), pulse.length(), sampleRate_);
}

void Revolutions::Take(const Pulse& pulse) {
  if (pulse.first) return;
  if (gapToGap_) {
    if (pulse.startsGap) {
      if (started_ && std::abs(pitches_ - pulsesPerRevolution_) <= 1) Close(pulse.begin, 1);
      started_ = true;
      begin_ = pulse.begin;
      pitches_ = 0;
    }
    pitches_ += pulse.pitches;
    return;
  }
  if (!started_) begin_ = pulse.begin;
  started_ = true;
  pitches_ += pulse.pitches;
  if (std::abs(pitches_) >= pulsesPerRevolution_ - 1e-6) {
    Close(pulse.end, pitches_ / pulsesPerRevolution_);
    begin_ = pulse.end;
    pitches_ = 0;
  }
}

void Revolutions::Close(double end, double turns) {
  if (!(end > begin_)) return;
  speed_.Add(turns, end - begin_, sampleRate_);
  trace_.Add((begin_ + end) / 2, speed_.last);
}

void CurveBuilder::Take(const Pulse& pulse) {
  if (pulse.first) return;
  if (begin_ < 0) begin_ = cursor_ = pulse.begin / sampleRate_;
  const double end = pulse.end / sampleRate_;
  const double perSecond = pulse.hasSpeed() ? pulse.rpm(sampleRate_) / 60 : 0;
  while (true) {
    const double stepEnd = begin_ + static_cast<double>(rpm_.size() + 1) * step_;
    if (end < stepEnd) break;
    turns_ += (stepEnd - cursor_) * perSecond;
    rpm_.push_back(static_cast<float>(60 * turns_ / step_));
    turns_ = 0;
    cursor_ = stepEnd;
  }
  turns_ += (end - cursor_) * perSecond;
  cursor_ = end;
}

std::unique_ptr<CSigCurve> CurveBuilder::Finish(const wchar_t* name) {
  if (rpm_.empty() && cursor_ > begin_) {
    step_ = cursor_ - begin_;
    rpm_.push_back(static_cast<float>(60 * turns_ / step_));
  }
  auto curve = std::make_unique<CSigCurve>(rpm_.size());
  if (curve->DLen() != rpm_.size()) Fail("there is no memory for {} samples of the curve", rpm_.size());
  std::copy(rpm_.begin(), rpm_.end(), curve->FData());
  const double left = startTime_ + begin_ + step_ / 2;
  curve->SetXMinMax(static_cast<float>(left),
                    static_cast<float>(left + step_ * static_cast<double>(rpm_.size())));
  curve->SetName(name);
  curve->SetXUnit(CString(L"s"));
  curve->SetYUnit(CString(L"rpm"));
  curve->SetFileCompression(false);
  return curve;
}

void PairsBuilder::Take(const Pulse& pulse) {
  if (!pulse.hasSpeed()) return;
  const double time = startTime_ + pulse.middle() / sampleRate_;
  if (!points_->NeuesPaar(static_cast<float>(time), static_cast<float>(pulse.rpm(sampleRate_)))) {
    Fail("there is no memory for {} points of speed", points_->NPaare() + 1);
  }
}

std::unique_ptr<CSigPairs> PairsBuilder::Finish(const wchar_t* name) {
  points_->SetName(name);
  points_->SetXUnit(CString(L"s"));
  points_->SetYUnit(CString(L"rpm"));
  return std::move(points_);
}

TruthComparison::TruthComparison(const std::filesystem::path& path, double sampleRate, double startTime)
    : sampleRate_(sampleRate), startTime_(startTime) {
  CsvReader reader(path);
  while (reader.NextRow()) {
    const PlotPoint point{reader.Number(0), reader.Number(1)};
    if (!points_.empty() && !(point.x >= points_.back().x)) reader.FailHere("the times must rise");
    points_.push_back(point);
  }
  if (points_.size() < 2)
    Fail("cannot use {}: at least two rows of seconds and rpm are needed", path.string());
}

void TruthComparison::Take(const Pulse& pulse) {
  if (!pulse.hasSpeed()) return;
  const double time = startTime_ + pulse.middle() / sampleRate_;
  while (at_ + 2 < points_.size() && points_[at_ + 1].x < time) ++at_;
  const PlotPoint& a = points_[at_];
  const PlotPoint& b = points_[at_ + 1];
  if (time < a.x || time > b.x || !(b.x > a.x)) return;
  const double truth = a.y + (b.y - a.y) * (time - a.x) / (b.x - a.x);
  if (!(truth > 0)) return;
  const double signedDeviation = pulse.rpm(sampleRate_) - truth;
  const double deviation = std::abs(signedDeviation);
  deviations_.Add(time, 100 * signedDeviation / truth);
  ++count_;
  maxRpm_ = std::max(maxRpm_, deviation);
  maxPercent_ = std::max(maxPercent_, 100 * deviation / truth);
  sumRpm_ += deviation;
  sumPercent_ += 100 * deviation / truth;
}

}  // namespace umlauf::tool
