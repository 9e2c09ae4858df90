#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "umlauf/platform/vekta/internal/PulseKernels.h"

namespace umlauf::speed {

/// A block is searched in chunks of so many samples, which stay in the first-level cache between the passes
/// over them.
inline constexpr std::size_t kChunk = vekta::kPulseChunk;

/// Which samples of a chunk are above the upper threshold and which below the lower one, one bit a sample.
struct ThresholdBits {
  alignas(128) std::array<std::uint64_t, kChunk / 64> above;
  alignas(128) std::array<std::uint64_t, kChunk / 64> below;
};

/// The edges of one chunk, in order. Arrays have the room that the kernels need.
struct Edges {
  std::size_t count;
  bool firstRising;
  bool alternating;  ///< rising and falling in turn; else all are like the first
  std::array<std::uint16_t, kChunk + vekta::kPulseRoom> position;
  /// Where between the sample before and the one at the position the signal crossed the threshold, 0 to 1; 0
  /// where the step is too flat to tell. Outside 0 to 1 only when thresholds were changed between blocks or
  /// lie upside down.
  std::array<float, kChunk + vekta::kPulseRoom> fraction;
};

}  // namespace umlauf::speed
