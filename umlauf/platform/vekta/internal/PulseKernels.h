#pragma once

#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/platform/vekta/QVL.h"

// Kernels of pulse detectors and pulse lists, for the layers that are built on them. Rules as in QVL.h.
namespace umlauf::vekta {

/// Samples that edges are found in at a time, at most.
inline constexpr std::size_t kPulseChunk = 2048;
/// Elements that may be read and written behind the last one of arrays that say so.
inline constexpr std::size_t kPulseRoom = 16;

/// Samples x[0], x[stride], ..., n of them, where n is a multiple of 64 and at least 64.
struct SampleBlock {
  const float* x;
  std::size_t n, stride;
  float* copy;    ///< takes them side by side, unless they lie so already (stride 1)
  bool followed;  ///< whether a further one follows, so that what lies in front of that may be read, too
};
/// What samples are compared with.
struct Levels {
  float upper, lower, wanted;
};
/// One pass over a block: the bits of QVL::ThresholdMasks, the moments of QVL::VectorMoments, and whether one
/// of the samples equals `wanted` (NaN equals nothing).
UMLAUF_API bool SurveySamples(const SampleBlock& block, const Levels& levels, std::uint64_t* above,
                              std::uint64_t* below, QVL::Moments& moments);

/// What an edge is: a low signal becomes high at a sample above the upper threshold, a high one becomes low
/// at a sample below the lower one.
struct EdgeRule {
  float upper, lower;
  float previous;        ///< the sample in front of the first
  float flat;            ///< a step of at most this much has no crossing to interpolate
  bool rising, falling;  ///< which edges are wanted, at least one of them
};
/// Finds the edges of n <= kPulseChunk samples from their bits of QVL::ThresholdMasks. `high` is the state in
/// front of them and becomes the state behind them. fractions[k] tells where between the sample in front of
/// places[k] and the one there the signal crosses the threshold, 0 to 1; 0 where the step in the direction of
/// the edge is flat, or where there is no number. Returns the number of edges; there is room behind the n
/// places and fractions.
UMLAUF_API std::size_t FindEdges(const float* x, std::size_t n, const std::uint64_t* above,
                                 const std::uint64_t* below, const EdgeRule& rule, bool& high,
                                 std::uint16_t* places, float* fractions);

/// Lengths of the pulses that end at edges 1 to n - 1, times `scale`: values[k] = ((samples - 1) + carry +
/// fractions[k]) * scale with samples = places[k] - places[k - 1] and carry = 1 - fractions[k - 1]. And for
/// all n edges the sample behind each: ends[k] = places[k] + 1. False when one of the pulses has samples +
/// carry < shortest. There is room behind the n places, fractions, values and ends.
UMLAUF_API bool PulseLengths(float* values, std::int64_t* ends, const std::uint16_t* places,
                             const float* fractions, std::size_t n, float scale, float shortest);

/// Pulses as records of four 64-bit words: samples (ends[k + 1] - ends[k], not negative), the bits of
/// values[k], the first sample (start + ends[k]), and flags[k % 2]. There are n + 1 ends.
UMLAUF_API void StorePulseRecords(void* records, const std::int64_t* ends, const float* values, std::size_t n,
                                  std::uint64_t start, const std::uint64_t flags[2]);

}  // namespace umlauf::vekta
