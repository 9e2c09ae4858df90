#pragma once

#include <cstdint>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/Types.h"
#include "umlauf/platform/memory/WithoutMemory.h"

/// Follows the up/down counter of a quadrature encoder through a stream of words and lists its changes. A
/// word holds in bits 16 to 31 the counter, which wraps around, and in bits 1 to 11 when within the sample
/// it last changed; the other bits say nothing here.
///
/// Blocks join without a seam. One decoder is used by one thread at a time; it owns its events and keeps no
/// reference to the words.
class UMLAUF_API CQuadratureDecoder {
 public:
  /// A change of the counter.
  struct Event {
    /// Since the first word of the block [sub-samples]. 64 bits: long blocks pass 2^32 sub-samples.
    std::uint64_t time;
    /// Position after the change [counts], wrapping around at 32 bits.
    std::int32_t position;

    bool operator==(const Event&) const = default;
  };

  /// Sub-samples per sample of the encoder streams: the standard resolution is 512 for sample rates up to
  /// 50000, 256 up to 100000 and 128 above; the high one is four times that.
  static unsigned Subsamples(unsigned sampleRate, bool highRes);

  /// Sub-samples per sample, the unit of the event times. 512 before the first call.
  void subsamples(unsigned n) { subsamples_ = n; }
  unsigned subsamples() const { return subsamples_; }

  /// Decodes one block of `count` words, `stride` words apart, in place of the events of the block before.
  /// The time within the sample is taken as it is: it counts sub-samples. The first word after `clear` only
  /// tells where the counter starts. False without memory for `count` events; then there are no events, and
  /// the counter is as before the block. A null pointer or a stride of 0 counts as an empty block.
  bool highres(const ULONG* words, unsigned count, unsigned stride);
  /// The same for streams of standard resolution: the time within the sample, in 1/2048 of a sample, is
  /// scaled to the sub-samples set, rounding down.
  bool standard(const ULONG* words, unsigned count, unsigned stride);
  /// The one of the two that the stream needs.
  bool decode(const ULONG* words, unsigned count, unsigned stride, bool highRes) {
    return highRes ? highres(words, count, stride) : standard(words, count, stride);
  }

  /// Events of the last block, in order of time.
  const std::vector<Event>& events() const { return events_; }
  /// Position after the last block [counts]; 0 at the first word after `clear`.
  std::int32_t position() const { return position_; }
  /// Forgets position and counter. The events stay until the next block.
  void clear();

 private:
  template <class ScaleTime>
  bool Decode(const ULONG* words, unsigned count, unsigned stride, ScaleTime scaleTime);

  std::uint32_t subsamples_ = 512;
  std::int32_t position_ = 0;
  bool started_ = false;
  std::uint16_t last_ = 0;
  umlauf::QuietCopy<std::vector<Event>> events_;
};
