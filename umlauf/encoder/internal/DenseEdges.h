#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "umlauf/encoder/internal/PulseBuffer.h"
#include "umlauf/encoder/internal/WordScan.h"

// Edges of which each ends a pulse, as mostly all do, decoded side by side: the compiler makes vectors of
// these loops. Values are formed in the order of operations in which they are formed one by one.
namespace umlauf::encoder {

/// Marked words one behind the other; the first one was taken already.
struct DenseWords {
  const ULONG* word;
  const std::uint32_t* place;  ///< from `first` on
  std::size_t count;
  std::int64_t first;  ///< sample of the block
};

/// What runs on behind the edges that were taken.
struct StandardState {
  double lastEdge;          ///< [samples]
  std::int64_t pulseStart;  ///< sample in which the pulse in progress began
  unsigned errors;          ///< words with the error bit
};
struct StandardRule {
  unsigned shift;
  double samplesPerTick, revPerEdge;
  std::int64_t minimum;  ///< samples of a pulse
};
/// Takes all words behind the first one. False when one of them does not end a pulse, and then nothing has
/// changed; likewise below.
bool TakeAllStandard(const DenseWords& words, const StandardRule& rule, StandardState& state,
                     PulseBuffer& pulses);

struct HighResState {
  std::uint64_t lastEdge;  ///< sample
  std::uint32_t lastPosition;
  std::int64_t entered;  ///< samples in pulses so far
  unsigned errors;
};
struct HighResRule {
  unsigned shift, subsamples;
  double revPerEdge;
  std::int64_t minimum;
};
bool TakeAllHighRes(const DenseWords& words, const HighResRule& rule, HighResState& state,
                    PulseBuffer& pulses);

struct QuadratureState {
  std::int64_t lastTime;  ///< [sub-samples of the block]
  std::int64_t entered;
};
struct QuadratureRule {
  unsigned subsamples;
  bool highRes;  ///< whether times count sub-samples; else 1/2048 of a sample
  double revPerEdge;
  std::int64_t minimum;  ///< [sub-samples]
};
bool TakeAllQuadrature(const DenseWords& words, const QuadratureRule& rule, QuadratureState& state,
                       PulseBuffer& pulses);

}  // namespace umlauf::encoder
