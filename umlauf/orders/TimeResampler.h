#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/orders/AngleResampler.h"

/// The way back from CAngleResampler: frames over equal steps of the angle to samples over time. Sample i is
/// the signal at position i of the samples' own clock; there are those from the first to the last frame. The
/// shaft turns in one direction between them. What the frames hold up to `AngleGrid::FlatTo` and up to 0.39
/// of the sample rate comes back to 0.01 dB.
///
/// Movable. One object is used by one thread at a time. `Put` and `Get` allocate nothing.
class UMLAUF_API CTimeResampler {
 public:
  /// For frames of `channels` channels, back to `rate` [samples/s]. `clock` as in CAngleResampler.
  CTimeResampler(const AngleGrid& grid, unsigned channels, double rate, const SampleClock& clock = {});
  ~CTimeResampler();
  CTimeResampler(CTimeResampler&& other) noexcept;
  CTimeResampler& operator=(CTimeResampler&& other) noexcept;

  /// False as for CAngleResampler; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Starts with the place of the first frame.
  void Start(const CShaftAngle::Passing& first);
  /// Takes the next n frames [n, channels], all of one direction; returns how many there was room for.
  std::size_t Put(const float* frames, std::size_t n);
  /// No more frames follow.
  void Finish();
  /// Writes the next samples, [n, channels], n ≤ `most`; 0 when more frames are needed.
  std::size_t Get(const CShaftAngle& angle, float* samples, std::size_t most);
  /// Position of the sample that `Get` writes next.
  std::int64_t Next() const;

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};
