#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/RotationWarning.h"

class CDzPulsDetektor;
class CPulseTrain;

/// Says whether the pulses of a recording can be believed, however its levels came about. It compares each
/// pulse with its neighbours (far too short ones, long ones that are no gap of the wheel and no standstill),
/// and their number with that of the swings that CLevelFinder counted without levels.
///
/// Takes the pulses as a CPulseFinder finds them, train after train, gaps not corrected. One object serves
/// one recording and one thread at a time. Nothing throws; without memory it says nothing.
class UMLAUF_API CPulseJudge {
 public:
  /// For pulses that a detector with these settings finds with these levels.
  CPulseJudge(const PulseLevels& levels, const CDzPulsDetektor& detector);
  ~CPulseJudge();
  CPulseJudge(const CPulseJudge&) = delete;
  CPulseJudge& operator=(const CPulseJudge&) = delete;

  /// Takes the pulses from number `from` on.
  void Take(const CPulseTrain& pulses, std::size_t from = 0);
  /// What is doubtful; nothing else when the levels are. Codes `levels-uncertain`, `wrapped`, `few-pulses`,
  /// `irregular`, `extra-pulses`, `lost-pulses`, `clipped`, `count-differs`, of which the last four have
  /// places: up to 200, neighbours in one where there are more. Call once, behind the last pulse. Of a
  /// recording of `samples` (0: not known) also the time before the first pulse and behind the last one is
  /// looked at: a shaft that comes to rest slows down first.
  std::vector<RotationWarning> Finish(std::uint64_t samples = 0);

 private:
  struct State;

  void TakeRising(const CPulseTrain& pulses, std::size_t from);

  std::unique_ptr<State> state_;
};
