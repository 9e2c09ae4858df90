#pragma once

#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/rate/DownsamplingInfo.h"

namespace umlauf::rate {
class StreamEngine;
}

/// Converts a signal to a lower (or equal) sample rate block by block, with a history of its own: blocks of
/// any size, also of single frames, give the same outputs to the bit, and no sample outside a block is read.
///
/// Sample i of the signal fills the span from i to i + 1, in input samples; a frame holds one sample of each
/// channel, interleaved. Output j belongs to position j * ratio; n inputs give, flushed, all outputs whose
/// position is below n, which is n / ratio rounded up. Positions are kept as a whole number and a 64-bit
/// fraction, exact for the given ratio: no drift, however long the signal. A ratio within rounding of a
/// fraction with a denominator up to 2^22 is that fraction, so that of the quotient of two whole rates no
/// output is too many: 24,000 samples at 8000 Hz are 15,999 at 5333 Hz.
///
///  - Filter: low-pass by a kernel table, centred on the output position (no delay between the signals), with
///    0 before and behind the signal. The kernel is stretched to the exact ratio, and outputs between two of
///    its phases mix them linearly; the error of that stays below -95 dB. The gain at 0 Hz is exact. Ratios
///    to `MaxFilterRatio`.
///  - SteepFilter: low-pass that keeps more of the band: its gain is 1 to within 0.004 dB up to 0.9 of the
///    output's Nyquist frequency, and below -120 dB from 1.1 on, so what lies there cannot come to lie below
///    0.9. Linear phase, centred on the output position, with 0 before and behind the signal. It rings for 40
///    outputs where `Filter` does for 11, and has built-in kernels only. Any ratio.
///  - Linear: straight line between the two neighbouring samples; the last sample is held.
///  - Mean, Max, MinMax, Sum: of the span from j * ratio to (j + 1) * ratio, cut at the end of the
///    signal. Mean and sum take a sample that a border cuts by its shares; maximum and minimum take it on
///    both sides. MinMax gives two frames a span, first the minima, then the maxima.
///
/// Movable. One object is used by one thread at a time. `Process` and `Flush` allocate nothing.
class UMLAUF_API CDownsamplingStream {
 public:
  enum class Reduction { Filter, Linear, Mean, Max, MinMax, Sum, SteepFilter };

  /// Greatest ratio of `Filter`.
  static constexpr double MaxFilterRatio = 65536.0;

  /// ratio [input samples per output] from 1 to 2^40; `gain` multiplies all outputs. The table serves
  /// `Filter`; null is the built-in one, another outlives the constructor only.
  explicit CDownsamplingStream(double ratio, Reduction reduction = Reduction::Filter, unsigned channels = 1,
                               float gain = 1.0f, const CDownsamplingInfo::coefs_t* table = nullptr);
  ~CDownsamplingStream();
  CDownsamplingStream(CDownsamplingStream&& other) noexcept;
  CDownsamplingStream& operator=(CDownsamplingStream&& other) noexcept;

  /// False when ratio, channels (0) or table (empty, or without a sum) cannot be used, or there is no memory;
  /// all functions then do nothing and return 0.
  bool IsValid() const { return engine_ != nullptr; }

  /// Largest number of frames that `Process` writes for nIn frames, whatever came before.
  std::uint64_t MaxOutput(std::uint64_t nIn) const;
  /// Largest number of frames that `Flush` writes.
  std::uint64_t MaxFlush() const;
  /// Frames behind an output's position that must have come in before `Process` writes it.
  std::uint64_t Delay() const;

  /// Takes nIn frames and writes the outputs that they complete; returns the frames written. `out` does not
  /// overlap `in`.
  std::uint64_t Process(float* out, const float* in, std::uint64_t nIn);
  /// Ends the signal: writes the outputs that are left, returns their number, and starts a new signal.
  std::uint64_t Flush(float* out);
  /// Starts a new signal; what is unfinished is dropped.
  void Restart();

 private:
  std::unique_ptr<umlauf::rate::StreamEngine> engine_;
  double ratio_;
  unsigned framesPerOutput_;
  unsigned waiting_;  // outputs beyond n / ratio: positions that already wait in the block's first sample
};
