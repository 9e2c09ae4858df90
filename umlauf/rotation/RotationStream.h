#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/FailureText.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/rotation/GapCorrection.h"
#include "umlauf/rotation/Levels.h"
#include "umlauf/rotation/PulseAssembler.h"
#include "umlauf/rotation/PulseTrain.h"
#include "umlauf/rotation/Wheel.h"
#include "umlauf/tacho/DzPulsDetektor.h"

/// The rotation of a shaft from a measurement that is running: hand in the blocks as they come, take the
/// pulses that they close. What CRotation does for a whole recording, in bounded memory.
///
///     CRotationStream::Settings settings;
///     settings.sampleRate = 50000;
///     settings.pulsesPerRevolution = 60;
///     settings.gapLength = 3;
///     CRotationStream stream(settings);
///     while (...) {
///       if (!stream.Take(samples, count, 1, pulses)) return Complain(stream.Failure());
///       Show(pulses);
///     }
///
/// Levels that are not given are found in the first `learning` samples, which are held back until then; so
/// are pulses near a gap of the wheel, and those of the first revolutions where the gap is to be found. The
/// pulses do not depend on the blocks. Nothing throws. One object serves one measurement and one thread at a
/// time.
class UMLAUF_API CRotationStream {
 public:
  struct Settings {
    double sampleRate = 0;              ///< [samples/s]
    double startTime = 0;               ///< [s] of the first sample
    double pulsesPerRevolution = 1;     ///< edges of the wheel without its gaps
    bool gap = false;                   ///< the wheel has gaps, which are found
    std::optional<double> gapLength;    ///< the wheel has a gap of so many pitches (3: two teeth missing)
    std::optional<float> upper, lower;  ///< levels; what is not given is found
    std::uint64_t learning = 65536;     ///< samples in which it is
    unsigned revolutions = 8;           ///< after which the gaps of the wheel are decided upon
    CDzPulsDetektor detector;           ///< how edges are found, but for levels and pulses per revolution
  };

  explicit CRotationStream(const Settings& settings);

  /// Takes the next samples, `stride` floats apart, and replaces `pulses` by those that they close, gaps
  /// corrected. False, with a reason in `Failure`, when the settings are no good, no levels serve, or there
  /// is no memory; nothing comes any more then.
  bool Take(const float* samples, std::size_t count, unsigned stride, CPulseTrain& pulses);
  /// Ends the measurement: replaces `pulses` by what was held back. Call once; false as above.
  bool Finish(CPulseTrain& pulses);

  /// An empty train for the pulses of this measurement.
  CPulseTrain NewTrain() const { return CPulseTrain(settings_.sampleRate, settings_.startTime); }
  std::uint64_t Samples() const { return samples_; }
  /// Levels that are used; those of a new object until they are found.
  const PulseLevels& Levels() const { return levels_; }
  /// The wheel as far as it was seen.
  const PulseWheel& Wheel() const { return gap_.Wheel(); }
  const CString& Failure() const { return failure_.Text(); }

 private:
  bool HasGap() const { return settings_.gap || settings_.gapLength.has_value(); }
  void CheckSettings();
  bool Learn();
  bool Search(const float* samples, std::size_t count, unsigned stride, CPulseTrain& pulses);

  Settings settings_;
  CDzPulsDetektor detector_;
  CPulseAssembler assembler_;
  CGapCorrection gap_;
  CDzPulsListe list_;
  CPulseTrain closed_;
  PulseLevels levels_;
  std::vector<float> held_;  ///< samples until there are levels
  bool learning_ = false;
  std::uint64_t samples_ = 0;
  FailureText failure_;
};
