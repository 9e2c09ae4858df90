#pragma once

#include <cstddef>
#include <limits>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/orders/AngleGrid.h"
#include "umlauf/rotation/ShaftAngle.h"

/// How the samples of one recording lie on the axis of another, whose pulses tell the angle.
struct SampleClock {
  double samplesPerPulseSample = 1;  ///< sample rate over that of the pulses
  double offset = 0;                 ///< [samples] position of sample 0 of the pulses' recording

  /// For recordings that were made apart, from their rates [samples/s] and start times [s].
  static SampleClock Between(double rate, double start, double pulseRate, double pulseStart) {
    return {rate / pulseRate, (pulseStart - start) * rate};
  }
  double Position(double ofPulses) const { return offset + ofPulses * samplesPerPulseSample; }
  double OfPulses(double position) const { return (position - offset) / samplesPerPulseSample; }
};

/// Samples over time to samples over equal steps of the angle of a shaft, for 1 to 64 channels that share it,
/// block by block in memory that does not grow with the recording. Sample k is the signal at the place where
/// the shaft passes k steps; a shaft that turns to and fro passes steps to and fro.
///
/// Before it is resampled the signal is band-limited, by the speed of that moment: what lies above
/// stepsPerRevolution − maxOrder is down by 80 dB and more, so that nothing comes back below the highest
/// order; up to `AngleGrid::FlatTo` the gain is 1 to 0.01 dB. Frequencies above 0.39 of the sample rate are
/// lost where the shaft turns so fast that the highest order lies there. Beyond its ends the recording goes
/// on with its first and last samples. The filters are linear in phase and take no time.
///
///     CAngleResampler resampler(AngleGrid::ForSpectra(60, 0.1), 2);
///     while (const SampleBlock block = source.Read(16384); block.count > 0) {
///       for (std::size_t put = 0; put < block.count;) {
///         put += resampler.Put(block.samples + put * block.stride, block.count - put, block.stride);
///         while (const std::size_t n = resampler.Get(angle, frames, most)) Take(frames, n);
///       }
///     }
///     resampler.Finish(); … Get the rest
///
/// Movable. One object is used by one thread at a time. `Put` and `Get` allocate nothing.
class UMLAUF_API CAngleResampler {
 public:
  static constexpr unsigned mostChannels = 64;

  /// `rate` [samples/s] is that of the samples.
  CAngleResampler(const AngleGrid& grid, unsigned channels, double rate, const SampleClock& clock = {});
  ~CAngleResampler();
  CAngleResampler(CAngleResampler&& other) noexcept;
  CAngleResampler& operator=(CAngleResampler&& other) noexcept;

  /// False for a grid, channels, a rate or a clock that cannot be used and without memory; all functions then
  /// do nothing.
  bool IsValid() const { return engine_ != nullptr; }

  /// Takes the next n frames, `stride` floats from one to the next, the channels first in each. Returns how
  /// many there was room for; `Get` makes room.
  std::size_t Put(const float* frames, std::size_t n, std::size_t stride);
  /// No more frames follow, and `Get` will be given the whole angle.
  void Finish();
  /// Writes the next frames over angle, [n, channels], n ≤ `most`, and where they lie, on the axis of the
  /// pulses, into `places` unless null. 0 when more samples or more of the angle are needed.
  ///
  /// The angle may be a part that moves on from call to call, where pulses come in blocks: it begins before
  /// the place of the last frame, counts from the same origin, and serves up to `until` [samples of the
  /// pulses]. That is the last edge but one, since the speed at the last one still changes with the next.
  /// Samples that have no room before their angle is known are lost.
  std::size_t Get(const CShaftAngle& angle, float* frames, std::size_t most,
                  CShaftAngle::Passing* places = nullptr,
                  double until = std::numeric_limits<double>::infinity());
  /// Starts a new recording.
  void Restart();

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};
