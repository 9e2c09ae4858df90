#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/FailureText.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/RotationWarning.h"

class CDzPulsDetektor;
class CPulseTrain;

/// The pulses of one channel of a recording whose levels were found: what CSwingSource, CPulseFinder and
/// CPulseJudge do, for samples that come block after block. So all channels of a recording can be searched
/// while it is read once.
///
///     CTachoPulses tacho(finder.Levels(), detector);
///     while (there is a block) {
///       tacho.Take(samples, n, stride, pulses);
///       Use(pulses);
///     }
///     tacho.Finish(pulses);
///     Use(pulses);
///     if (!tacho.LevelsServed()) start again with tacho.Levels()
///
/// Nothing throws. One object serves one channel and one thread at a time.
class UMLAUF_API CTachoPulses {
 public:
  /// With the settings of a detector, but these levels.
  CTachoPulses(const PulseLevels& levels, const CDzPulsDetektor& detector);
  ~CTachoPulses();
  CTachoPulses(const CTachoPulses&) = delete;
  CTachoPulses& operator=(const CTachoPulses&) = delete;

  /// Takes the next n samples, `stride` floats apart, and replaces `pulses` by those that end in what is
  /// known now; often none. False when there was no memory.
  bool Take(const float* samples, std::size_t n, std::size_t stride, CPulseTrain& pulses);
  /// As `Take`, but the pulses come behind those that are there.
  bool Append(const float* samples, std::size_t n, std::size_t stride, CPulseTrain& pulses);
  /// The recording has ended: as above, the pulses that were still waiting for its end.
  bool Finish(CPulseTrain& pulses);

  /// Samples that were taken.
  std::uint64_t Samples() const;
  /// Whether levels that were found in a part of the recording served for all of it; call behind `Finish`.
  /// Where they did not, the pulses are to be found again, with `Levels`.
  bool LevelsServed() const;
  /// Those to use: where the given ones did not serve, a scale for every swing. Without memory those of a new
  /// object.
  PulseLevels Levels() const;
  /// What is doubtful; see CPulseJudge. Call once, behind `Finish`.
  std::vector<RotationWarning> Warnings();
  /// Why something was false; empty when nothing went wrong.
  const CString& Failure() const { return failure_.Text(); }

 private:
  struct State;

  bool Search(const float* samples, std::size_t n, std::size_t stride, CPulseTrain& pulses);
  bool Failed(const wchar_t* why);

  std::unique_ptr<State> state_;
  FailureText failure_;
};
