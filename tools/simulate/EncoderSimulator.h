#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "tools/EncoderFormat.h"
#include "tools/simulate/WheelSimulator.h"
#include "umlauf/platform/framework/Types.h"

namespace umlauf::tool {

/// The words of an encoder stream, sample after sample; the same for the same settings. Edge k of the wheel
/// comes when it has turned by k pitches, give or take the jitter. Of the settings of a wheel those of its
/// signal (amplitude, noise, shape) do not matter.
class EncoderSimulator {
 public:
  /// `lowWord` puts the edges of modes 1 and 4 into the low half of the words. Throws ToolError for a rate
  /// that the mode has no time base for.
  EncoderSimulator(SpeedProfile profile, const WheelSettings& settings, EncoderFormat format, bool lowWord);

  std::uint64_t frames() const { return frames_; }
  /// Fills with the next words; not more than there are.
  void Next(std::span<ULONG> words);

 private:
  ULONG Word();

  SpeedProfile profile_;
  WheelSettings settings_;
  std::vector<bool> present_;
  EncoderFormat format_;
  bool lowWord_;
  NormalNumbers random_;
  std::uint64_t frames_;
  std::uint64_t at_ = 0;
  unsigned resolution_ = 0;  ///< parts of a sample in which the words tell time
  double angle_ = 0;         ///< at the sample's begin, in counts
  std::uint64_t count_ = 0;  ///< edges so far
  double next_;              ///< angle of the next edge
  unsigned time_ = 0;        ///< of the last edge within its sample, in such parts
};

}  // namespace umlauf::tool
