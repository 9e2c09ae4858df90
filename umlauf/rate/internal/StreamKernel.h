#pragma once

#include <cstdint>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/internal/FilterKernels.h"
#include "umlauf/rate/DownsamplingInfo.h"
#include "umlauf/rate/internal/RatioGrid.h"

namespace umlauf::rate {

/// Rows of taps for evenly spaced phases of an output between two input samples, phase 0 to 1 inclusive.
class StreamKernel {
 public:
  /// The kernel table stretched to a ratio, its centroid (the delay at 0 Hz) on the output position. False
  /// when the ratio is too great, the table has no sum, or there is no memory.
  bool MakeFilter(const CDownsamplingInfo& table, double ratio, const RatioGrid& grid);
  /// Greatest denominator of a grid for which `MakeFilter` makes a row of each phase.
  static std::uint32_t MaxDenominator(double ratio);
  /// A short low-pass for outputs at twice a rate whose band they are limited to afterwards; there are
  /// `ratio` inputs per output of that rate. Its pass band reaches to 0.45 of that rate, and what lies within
  /// 0.55 of it around each second multiple is suppressed by 122 dB. False when there is no memory.
  bool MakeShort(double ratio, const RatioGrid& grid);
  /// Greatest denominator of a grid for which `MakeShort` makes a row of each phase.
  static std::uint32_t MaxShortDenominator(double ratio);
  /// The two samples beside the position.
  bool MakeLinear();

  /// First and last sample that an output reads, relative to the one at or in front of its position:
  /// first <= 0 <= last.
  std::int64_t First() const { return first_; }
  std::int64_t Last() const { return last_; }
  vekta::TapRows Rows() const {
    return {rows_.data(), stride_, static_cast<std::size_t>(last_ - first_ + 1), mix_};
  }
  /// Parts of a sample from row to row. Positions of a grid with phases of its own have each their row;
  /// others lie between two, which are mixed.
  std::uint32_t Phases() const { return phases_; }

  /// Outputs after which the phases nearly repeat, 0 when they do not.
  std::uint32_t Period() const { return period_; }

  /// Makes windows of outputs, whose samples count from some place; a copy of what that takes, which stays in
  /// registers.
  struct Placer {
    std::int64_t offset;
    std::uint32_t phases;
    bool mixed;

    vekta::TapWindow operator()(const GridPosition& position) const {
      const auto in = static_cast<std::ptrdiff_t>(static_cast<std::int64_t>(position.whole) + offset);
      if (!mixed) return {in, static_cast<std::uint32_t>(position.part), 0.0f};
      const std::uint64_t phase = (position.part >> 32) * phases;  // 32 fractional bits
      return {in, static_cast<std::uint32_t>(phase >> 32),
              static_cast<float>(static_cast<std::uint32_t>(phase) >> 8) * 0x1p-24f};
    }
  };
  Placer WindowsFrom(std::int64_t origin) const {
    return {first_ - origin, phases_, mix_ != vekta::TapMix::None};
  }

 private:
  bool Allocate(const RatioGrid& grid, double mixedPhases);
  /// Fills the rows with the values of a kernel at the distances of inputs from outputs [inputs], divided by
  /// the sum of their row where all are to have the sum 1. False when a row has no sum.
  template <class Value>
  bool Fill(bool unitSums, Value valueAt);

  CAlignedMem<float> rows_;
  std::size_t stride_ = 0;
  std::int64_t first_ = 0, last_ = 0;
  std::uint32_t phases_ = 1, period_ = 0;
  vekta::TapMix mix_ = vekta::TapMix::Linear;
};

}  // namespace umlauf::rate
