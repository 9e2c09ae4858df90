#include "umlauf/rotation/GapCorrection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"

namespace {

constexpr double longPulse = 1.2;
constexpr double gapPulse = 1.5;
constexpr double misfit = 0.35;
constexpr std::size_t mostAccepted = 65536;  ///< gaps that the wheel is made of, where their length is given
constexpr std::size_t garbage = 4096;        ///< emitted pulses that are removed at a time

}  // namespace

void CGapCorrection::Take(const CPulseTrain& pulses, CPulseTrain& corrected) {
  const bool begins = !pulses.empty() && pulses[0].Is(CPulseTrain::first);
  if (begins) corrected.Append(pulses[0]);
  const std::size_t from = begins ? 1 : 0;
  // A train that fills up to the horizon would be copied several times before.
  if (!decided_ && held_.size() >= garbage) held_.Reserve(horizon_ + pulses.size());
  held_.Append(pulses, from, pulses.size() - from);
  complete_ = complete_ && held_.Complete() && umlauf::HadMemory([&] {
                AddPitchLengths();
                while (held_.size() - next_ > reach) {
                  PassOrdinary();
                  if (held_.size() - next_ > reach) JudgeNext();
                }
                if (!decided_ && held_.size() >= horizon_) Decide(false);
                if (decided_) Release(false, false, corrected);
              });
}

void CGapCorrection::AddPitchLengths() {
  std::size_t i = pitchLengths_.size();
  pitchLengths_.resize(held_.size());
  const auto edges = held_.Edges(), pitches = held_.Pitches();
  for (; i < pitchLengths_.size(); ++i) {
    const double length = edges[i + 1] - edges[i];
    pitchLengths_[i] = pitches[i] == 1 ? length : length / pitches[i];
  }
}

bool CGapCorrection::Finish(CPulseTrain& corrected) {
  complete_ = complete_ && umlauf::HadMemory([&] {
                while (next_ < held_.size()) JudgeNext();
                const std::size_t whole = found_.size();
                EndRun();
                const bool cut = found_.size() > whole;
                if (!decided_) Decide(cut);
                Release(true, cut, corrected);
                if (eachForItself_ && gaps_ > 0) TakeWheelOfAccepted();
              });
  return complete_ && corrected.Complete();
}

/// The wheel of gaps whose length is given, from those that were corrected each for itself.
void CGapCorrection::TakeWheelOfAccepted() {
  wheel_.gaps.clear();
  if (finder_.Find(accepted_)) {
    wheel_ = finder_.Wheel();
  } else {
    wheel_.gaps.push_back({0, *relLength_});
  }
}

/// Whether half of the pulses on either side, or on one of them, are hardly shorter: then a median is.
bool CGapCorrection::LikeNeighbours(std::size_t i) const {
  const std::size_t ordinaryEnd = i - runSize_;
  if (ordinaryEnd < reach || i + reach >= pitchLengths_.size()) return false;
  const double enough = pitchLengths_[i] / longPulse;
  const double *before = &pitchLengths_[ordinaryEnd - reach], *behind = &pitchLengths_[i + 1];
  // As most do: the nearest three.
  static_assert(2 * 3 >= reach);
  if (before[reach - 1] >= enough && before[reach - 2] >= enough && before[reach - 3] >= enough) return true;
  std::size_t likeBefore = 0, likeBehind = 0;
  for (std::size_t k = 0; k < reach; ++k) {
    likeBefore += before[k] >= enough ? 1 : 0;
    likeBehind += behind[k] >= enough ? 1 : 0;
  }
  return 2 * likeBefore >= reach || 2 * likeBehind >= reach;
}

double CGapCorrection::Median(std::size_t begin, std::size_t end) const {
  std::array<double, reach> lengths{};
  for (std::size_t i = begin; i < end; ++i) lengths[i - begin] = pitchLengths_[i];
  const auto first = lengths.begin(), middle = first + static_cast<std::ptrdiff_t>((end - begin) / 2);
  std::nth_element(first, middle, first + static_cast<std::ptrdiff_t>(end - begin));
  return *middle;
}

/// Length of an ordinary pulse around the next one to be judged.
double CGapCorrection::OrdinaryPitch() const {
  // Long pulses just before this one may be a gap themselves and tell nothing.
  const std::size_t ordinaryEnd = next_ - runSize_;
  const std::size_t begin = ordinaryEnd - std::min(ordinaryEnd, reach);
  const std::size_t end = std::min(pitchLengths_.size(), next_ + 1 + reach);
  const double before =
      begin < ordinaryEnd ? Median(begin, ordinaryEnd) : std::numeric_limits<double>::infinity();
  return next_ + 1 < end ? std::max(before, Median(next_ + 1, end)) : before;
}

/// Most pulses: plainly not longer than the three before, as `LikeNeighbours` asks.
void CGapCorrection::PassOrdinary() {
  if (runSize_ != 0) return;
  constexpr double plainly = 0.99 * longPulse;
  const double* const lengths = pitchLengths_.data();
  const double* const pitches = held_.Pitches().data();
  const std::size_t end = held_.size() - reach;
  std::size_t i = next_;
  double edge = edge_;
  for (; i >= reach && i < end; ++i) {
    const double least = std::min({lengths[i - 1], lengths[i - 2], lengths[i - 3]});
    if (!(lengths[i] <= plainly * least)) break;
    edge += pitches[i];
  }
  if (i == next_) return;
  overlong_ = false;
  edge_ = edge;
  next_ = i;
}

void CGapCorrection::JudgeNext() {
  double ratio = 1, ordinary = 0;
  if (!LikeNeighbours(next_)) {
    ordinary = OrdinaryPitch();
    ratio = pitchLengths_[next_] / ordinary;
  }
  if (ratio > longPulse && !overlong_) {
    if (runSize_ == 0) {
      runPitch_ = ordinary;
      runEdge_ = edge_;
    }
    ++runSize_;
    runHasGap_ = runHasGap_ || ratio > gapPulse;
    if (runSize_ > longestGap) {
      runHasGap_ = false;
      EndRun();
      overlong_ = true;
    }
  } else {
    if (runSize_ > 0) EndRun();
    overlong_ = ratio > longPulse;
  }
  edge_ += held_.Pitches()[next_];
  ++next_;
}

void CGapCorrection::EndRun() {
  if (runHasGap_) {
    const std::size_t begin = next_ - runSize_;
    const double length = held_.Edges()[next_] - held_.Edges()[begin];
    begins_.push_back(begin);
    found_.push_back({numeric::trunc_sat<std::int64_t>(std::round(runEdge_)), runSize_, length / runPitch_});
  }
  runSize_ = 0;
  runHasGap_ = false;
}

void CGapCorrection::Decide(bool lastIsCut) {
  decided_ = true;
  // The length of a gap that the end of the recording cuts is not whole.
  const std::span<const LongPulses> whole = std::span(found_).first(found_.size() - (lastIsCut ? 1 : 0));
  if (!relLength_) {
    finder_.Find(whole);
  } else {
    std::vector<LongPulses> fitting;
    const bool enough = umlauf::HadMemory([&] {
      std::ranges::copy_if(whole, std::back_inserter(fitting),
                           [this](const auto& each) { return Fits(each); });
    });
    eachForItself_ = !enough || !finder_.Find(fitting);
  }
  wheel_ = finder_.Wheel();
  if (relLength_) {
    for (PulseWheel::Gap& each : wheel_.gaps) each.length = *relLength_;
  }
  if (!pulsesPerRevolution_) pulsesPerRevolution_ = scale_ = wheel_.pitches;
}

void CGapCorrection::Release(bool atEnd, bool lastIsCut, CPulseTrain& corrected) {
  if (const std::size_t pulses = next_ - emitted_; pulses > garbage + corrected.size())
    corrected.Reserve(corrected.size() + pulses);
  const std::int64_t ahead = eachForItself_ ? 0 : finder_.Edges() + CWheelFinder::mostGlitch;
  for (; decidedUpon_ < found_.size(); ++decidedUpon_) {
    const LongPulses& gap = found_[decidedUpon_];
    if (!atEnd && edge_ <= static_cast<double>(gap.edge + gap.pulses + ahead)) break;
    const bool cut = lastIsCut && decidedUpon_ + 1 == found_.size();
    const double pitches = PitchesOf(decidedUpon_, cut);
    Emit(begins_[decidedUpon_], corrected);
    if (pitches > 0) EmitGap(gap, pitches, cut, corrected);
  }
  Emit(decidedUpon_ < found_.size() ? begins_[decidedUpon_] : next_ - runSize_, corrected);
  ForgetEmitted();
}

/// Whether long pulses are about as long as a gap is given to be.
bool CGapCorrection::Fits(const LongPulses& each) const {
  const double expected = each.pulses - 1 + *relLength_;
  return std::abs(each.length - expected) <= misfit * expected;
}

/// Pitches that long pulses stand for; 0 when they are no gap.
double CGapCorrection::PitchesOf(std::size_t i, bool cut) const {
  const LongPulses& gap = found_[i];
  if (cut) return (eachForItself_ ? TurnsAfterAnother(gap) : finder_.ComesBack(found_, i)) ? gap.length : 0;
  if (relLength_ && !Fits(gap)) return 0;
  if (eachForItself_) return gap.pulses - 1 + *relLength_;
  const int place = finder_.GapAt(found_, i);
  return place < 0 ? 0 : gap.pulses - 1 + wheel_.gaps[static_cast<std::size_t>(place)].length;
}

bool CGapCorrection::TurnsAfterAnother(const LongPulses& each) const {
  double missing = 0;
  for (auto gap = accepted_.rbegin(); gap != accepted_.rend(); ++gap) {
    missing += gap->Relative() - 1;
    const double turn = static_cast<double>(each.edge - gap->edge) + missing;
    if (std::abs(turn - *pulsesPerRevolution_) <= 1) return true;
    if (turn > *pulsesPerRevolution_) break;
  }
  return false;
}

void CGapCorrection::Emit(std::size_t end, CPulseTrain& corrected) {
  if (end <= emitted_) return;
  if (scale_ == 1) {
    corrected.Append(held_, emitted_, end - emitted_);
  } else {
    for (std::size_t i = emitted_; i < end; ++i) {
      Pulse pulse = held_[i];
      pulse.revolutionTime *= scale_;
      corrected.Append(pulse);
    }
  }
  emitted_ = end;
}

/// Emits the pulses of a gap, the next ones to emit.
void CGapCorrection::EmitGap(const LongPulses& gap, double pitches, bool cut, CPulseTrain& corrected) {
  const std::size_t end = emitted_ + gap.pulses;
  const double length = held_.Edges()[end] - held_.Edges()[emitted_];
  for (std::size_t i = emitted_; i < end; ++i) {
    Pulse pulse = held_[i];
    pulse.Set(CPulseTrain::gapStart, i == emitted_);
    pulse.pitches = pitches * pulse.Length() / length;
    pulse.revolutionTime = length / pitches * *pulsesPerRevolution_;
    pulse.Set(CPulseTrain::gapCorrected, true);
    pulse.Set(CPulseTrain::held, false);
    corrected.Append(pulse);
  }
  emitted_ = end;
  if (cut) return;
  ++gaps_;
  lengths_ += pitches - gap.pulses + 1;
  if (!eachForItself_) return;
  if (accepted_.size() == mostAccepted)
    accepted_.erase(accepted_.begin(), accepted_.begin() + mostAccepted / 2);
  complete_ &= umlauf::HadMemory([&] { accepted_.push_back({gap.edge, gap.pulses, pitches}); });
}

/// Removes what is emitted, but for the pulses and gaps that the next ones are compared with.
void CGapCorrection::ForgetEmitted() {
  if (emitted_ < garbage || 2 * emitted_ < held_.size()) return;
  const std::size_t removed = emitted_ - reach;
  held_.RemoveFirst(removed);
  pitchLengths_.erase(pitchLengths_.begin(), pitchLengths_.begin() + static_cast<std::ptrdiff_t>(removed));
  next_ -= removed;
  emitted_ -= removed;
  const std::int64_t turn = finder_.Edges() + CWheelFinder::mostGlitch;
  std::size_t gone = 0;
  while (gone < decidedUpon_ && static_cast<double>(found_[gone].edge + 2 * turn) < edge_) ++gone;
  const auto end = static_cast<std::ptrdiff_t>(gone);
  found_.erase(found_.begin(), found_.begin() + end);
  begins_.erase(begins_.begin(), begins_.begin() + end);
  decidedUpon_ -= gone;
  for (std::size_t& begin : begins_) begin -= std::min(begin, removed);
}
