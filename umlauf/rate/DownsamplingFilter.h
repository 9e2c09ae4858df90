#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/rate/DownsamplingInfo.h"
#include "umlauf/rate/TapCache.h"

/// Converts blocks of samples to a lower (or equal) sample rate by any ratio of input to output rate.
///
/// What all functions with a ratio and a phase have in common:
///  - `ratio` [input samples per output] is above 0 and finite, `phase` 0 to 1. With other values, and for an
///    empty block, they return 0 and change nothing.
///  - The phase is the part of an output interval that earlier blocks have covered. Hand in 0 at the start of
///    a signal and then what came back. total = nIn / ratio + phase; the whole part of it is the number of
///    outputs (the result), the rest the new phase. The first output lies at input position
///    (1 - phase) * ratio of the block, each further one `ratio` behind. Position nIn, the first sample of
///    the next block, is possible. Positions are formed in double precision, only the phase between blocks is
///    single precision; a total or position that is whole to within single precision counts as whole.
///  - `out` has room for nIn / ratio + 1 outputs, `outStride` floats apart, and does not overlap the input.
///  - All outputs are multiplied by `gain`.
///
/// `CDownsamplingStream` stands beside this class for callers who want blocks of any size, precise positions
/// and a history that the object keeps itself.
///
/// One object is used by one thread at a time: `Downsampling` keeps the taps of the last ratio, re-ordered,
/// in the object, which is why it is not const. Between channels and blocks it keeps nothing else, so one
/// object serves many channels in turn, each with its own phase. The static functions are safe from every
/// thread.
class UMLAUF_API CDownsamplingFilter {
 public:
  explicit CDownsamplingFilter(const CDownsamplingInfo& info) : info_(info) {}
  /// The given table, which outlives the filter; the built-in one for null.
  explicit CDownsamplingFilter(const CDownsamplingInfo::coefs_t* table = nullptr) : info_(table) {}

  void SetInfo(const CDownsamplingInfo& info) {
    info_ = info;
    taps_.Forget();
  }
  const CDownsamplingInfo& Info() const { return info_; }
  bool SetDownscale(unsigned d) { return info_.SetDownscale(d); }
  unsigned DownscaleFactor() const { return info_.DownscaleFactor(); }
  std::uint32_t FilterLen() const { return info_.FilterLen(); }
  const float* FilterCoefficients() const { return info_.FilterCoefficients(); }
  float FilterNorm() const { return info_.FilterNorm(); }
  float MaxRatio() const { return info_.MaxRatio(); }

  /// Taps per output at a ratio, k. At least 2 and at most `FilterLen()`: a ratio beyond `MaxRatio()` is
  /// filtered as well as the table allows. 0 when the table has fewer than two coefficients.
  std::uint32_t Taps(float ratio) const;

  /// Low-pass filter and conversion. An output at position t reads k - 1 samples from whole(t) - k / 2 on:
  /// the caller keeps `Taps(ratio) / 2` readable samples before and behind the block, whose values are the
  /// signal around it. t is rounded to a 1 / (FilterLen() / k) of a sample. The kernel's centre lies in front
  /// of the output position, further with the ratio: the outputs are late by 1.1 input samples at
  /// ratio 2.5, 1.5 at 10, 3.3 at 64.3, 10 at 200 (built-in table).
  ///
  /// Taps lie a whole number of table entries apart. The kernel is whole at and just below 200 / 1, 200 / 2,
  /// 200 / 3 ... (built-in table); just above these ratios its ends are cut off and its edges lie lower: the
  /// stop band keeps 90 dB below ratio 20 and 80 dB below 40, but sinks to 69 dB at ratio 51 and 52 dB at
  /// 101. `CDownsamplingStream` stretches the kernel to any ratio.
  ///
  /// Outputs in between two table entries take the nearer one, which is noise: for a sine at 0.35 of the
  /// output rate it lies 51 dB below it at ratio 2.5 and 50 dB at 64.3, and below single precision at 10 and
  /// 200, where outputs meet entries. The gain at 0 Hz is that of the entries in use: 0.8 % too high at ratio
  /// 106.9.
  ///
  /// Blocks join to within a table entry: the phase that is handed on has 24 bits, and where it decides
  /// between two entries, an output can take the other one (0.006 of a sine at ratio 64.3 in blocks of 1,
  /// 0.0095 at 2.5). Returns 0 and changes nothing also when the table has fewer than two coefficients or
  /// there is no memory for the taps.
  std::uint64_t Downsampling(float* out, unsigned outStride, const float* in, std::uint64_t nIn, float ratio,
                             float& phase, float gain);
  /// As `Downsampling`, with contiguous outputs.
  std::uint64_t DownsamplingCpp(float* out, const float* in, std::uint64_t nIn, float ratio, float& phase,
                                float gain) {
    return Downsampling(out, 1, in, nIn, ratio, phase, gain);
  }

  /// Copies n samples, times gain; returns n. Ratio and phase are not used. `out` may be `in`.
  static std::uint64_t KeinDownsampling(float* out, const float* in, std::uint64_t n, float ratio,
                                        float& phase, float gain);

  /// Straight lines between neighbouring samples; no filter. Reads at most one sample behind the block, none
  /// with `lastBlock`. Seamless.
  /// Intended: with `lastBlock` the output at the last sample is the last one that is written; outputs that
  /// would follow still count, and what lies in their place is multiplied by the gain.
  static std::uint64_t DummDownsampling(float* out, unsigned outStride, const float* in, std::uint64_t nIn,
                                        float ratio, float& phase, float gain, bool lastBlock);
  static std::uint64_t DummDownsampling(float* out, const float* in, std::uint64_t nIn, float ratio,
                                        float& phase, float gain, bool lastBlock) {
    return DummDownsampling(out, 1, in, nIn, ratio, phase, gain, lastBlock);
  }

  /// Mean, maximum, range or sum of the samples of each output interval: an output at position t closes an
  /// interval with sample whole(t). nIn samples, `inStride` floats apart. What a block leaves unfinished is
  /// carried in the partial value: start with 0 (in logarithmic sums and in maxima with -infinity) and hand
  /// in what came back.
  ///
  /// Intended: at a ratio of 1 or less the samples are copied, and phase and partial value become 0 (also in
  /// an empty block), unless `inStride` is 1, where `DummDownsampling` takes over.
  /// Intended: blocks do not join seamlessly. The carried samples are counted as whole(phase * ratio), and a
  /// partial value that belongs to a finished interval is not cleared: a constant 1 at ratio 4 in blocks of 6
  /// gives a mean of 0.8 at the seam. `CDownsamplingStream` has the same reductions without seams.
  static std::uint64_t SimpleDownsamplingMean(float* out, unsigned outStride, const float* in,
                                              std::uint64_t nIn, unsigned inStride, float ratio, float& phase,
                                              float& partialSum, float gain, bool lastBlock);
  static std::uint64_t SimpleDownsamplingMean(float* out, const float* in, std::uint64_t nIn,
                                              unsigned inStride, float ratio, float& phase, float& partialSum,
                                              float gain, bool lastBlock) {
    return SimpleDownsamplingMean(out, 1, in, nIn, inStride, ratio, phase, partialSum, gain, lastBlock);
  }
  static std::uint64_t SimpleDownsamplingMax(float* out, unsigned outStride, const float* in,
                                             std::uint64_t nIn, unsigned inStride, float ratio, float& phase,
                                             float& partialMax, float gain, bool lastBlock);
  /// Writes minimum and maximum in turn: two outputs an interval, `outStride` apart; the result counts both.
  /// Any ratio; where an interval is shorter than a sample, it takes the sample at its end.
  static std::uint64_t SimpleDownsamplingMinMax(float* out, unsigned outStride, const float* in,
                                                std::uint64_t nIn, unsigned inStride, float ratio,
                                                float& phase, float& partialMin, float& partialMax,
                                                float gain, bool lastBlock);
  /// With `logSum` the samples are levels [dB] whose powers are summed (`QVL::VectorLogSum`), also where a
  /// carried level meets another one.
  /// Intended: with `inStride` 1 `DummDownsampling` takes over at every ratio below 2.
  static std::uint64_t SimpleDownsamplingSum(float* out, unsigned outStride, const float* in,
                                             std::uint64_t nIn, unsigned inStride, float ratio, float& phase,
                                             float& partialSum, bool logSum, float gain, bool lastBlock);

 private:
  CDownsamplingInfo info_;
  umlauf::rate::TapCache taps_;
};
