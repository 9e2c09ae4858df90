#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace umlauf::speed {

/// A block is searched in chunks of so many samples, which stay in the first-level cache between the passes
/// over them.
inline constexpr std::size_t kChunk = 2048;

enum class EdgeKind { rising, falling, both };

/// The edges of one chunk, in order.
struct Edges {
  std::size_t count;
  bool firstRising;
  bool alternating;  ///< rising and falling in turn; else all are like the first
  /// Room for 3 more, as the search needs it.
  std::array<std::uint16_t, kChunk + 3> position;
  /// Where between the sample before and the one at the position the signal crossed the threshold, 0 to 1; 0
  /// where the step is too flat to tell. Outside 0 to 1 only when thresholds were changed between blocks or
  /// lie upside down.
  std::array<float, kChunk> fraction;
};

/// Finds the edges of n <= kChunk samples: a low signal becomes high at a sample above `upper`, a high one
/// becomes low at a sample below `lower`. `previous` is the sample before the first, `high` the state there;
/// it becomes the state behind the last. A sample that is not a number changes nothing.
void FindEdges(const float* x, std::size_t n, float previous, float upper, float lower, EdgeKind kind,
               bool& high, Edges& edges);

}  // namespace umlauf::speed
