#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/rate/DownsamplingInfo.h"
#include "umlauf/rate/TapCache.h"

/// `CDownsamplingFilter` for channels that lie interleaved, sample by sample, in one buffer. Lengths and
/// results count frames (one sample of each channel); the outputs are interleaved like the inputs. Each
/// channel gets exactly what the single-channel function makes of it, with one phase for all.
///
/// Ratio, phase, counts and room are those of `CDownsamplingFilter`. One object is used by one thread at a
/// time: it keeps the re-ordered taps and a work area of a few thousand frames for eight channels. 0 channels
/// give 0 outputs.
class UMLAUF_API CMuxDownsamplingFilter {
 public:
  explicit CMuxDownsamplingFilter(const CDownsamplingInfo& info) : info_(info) {}
  explicit CMuxDownsamplingFilter(const CDownsamplingInfo::coefs_t* table = nullptr) : info_(table) {}

  void SetInfo(const CDownsamplingInfo& info);
  const CDownsamplingInfo& Info() const { return info_; }
  bool SetDownscale(unsigned d) { return info_.SetDownscale(d); }
  unsigned DownscaleFactor() const { return info_.DownscaleFactor(); }
  std::uint32_t FilterLen() const { return info_.FilterLen(); }
  const float* FilterCoefficients() const { return info_.FilterCoefficients(); }
  float FilterNorm() const { return info_.FilterNorm(); }
  float MaxRatio() const { return info_.MaxRatio(); }
  /// Taps per output at a ratio; see `CDownsamplingFilter::Taps`.
  std::uint32_t Taps(float ratio) const;

  /// As `CDownsamplingFilter::Downsampling`. The caller keeps `Taps(ratio) / 2` readable frames before and
  /// behind the block. Returns 0 and changes nothing also when there is no memory.
  std::uint64_t Downsampling(float* out, const float* in, std::uint64_t nIn, unsigned channels, float ratio,
                             float& phase, float gain);
  /// Copies n frames, times gain; returns n. Ratio and phase are not used. `out` may be `in`.
  static std::uint64_t NoResampling(float* out, const float* in, std::uint64_t n, unsigned channels,
                                    float ratio, float& phase, float gain);
  /// As `CDownsamplingFilter::SimpleDownsamplingMean`, with one partial sum a channel.
  static std::uint64_t SimpleDownsamplingMean(float* out, const float* in, std::uint64_t nIn,
                                              unsigned channels, float ratio, float& phase,
                                              float* partialSums, float gain, bool lastBlock);

 private:
  CDownsamplingInfo info_;
  umlauf::rate::TapCache taps_;
  CAlignedMem<float> planes_;
};
