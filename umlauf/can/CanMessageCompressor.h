#pragma once

#include "umlauf/Export.h"
#include "umlauf/can/CanMessageFinder.h"

/// Reduces the samples of a CAN channel for display: messages are kept whole instead of being averaged.
/// Threads and ownership as CCanMessageFinder, whose block a call replaces.
class UMLAUF_API CCanMessageCompressor : public CCanMessageFinder {
 public:
  /// Reduces `in` (n samples, `stride` floats apart, words bit for bit) by `ratio` input samples per output.
  /// The outputs, `outStride` floats apart, are 0 except for the messages found: the 18 words of a message
  /// block each, bit for bit, near its place and behind the message before. `out` needs room for 18 samples
  /// past the count returned, and must not overlap `in`. All of it is formed in single precision.
  ///
  /// `phase` is the fraction of an output that the block before left over (at first 0), and becomes that of
  /// this block. Returns the number of outputs. 0, with nothing written and `phase` as it was, when ratio or
  /// phase cannot be used: the ratio not above 0, one of them not finite, or a count beyond 32 bits.
  unsigned CanDownsampling(float* out, unsigned outStride, const float* in, unsigned n, unsigned stride,
                           float ratio, float& phase);
};
