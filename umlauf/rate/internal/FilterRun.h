#pragma once

#include <cstdint>

#include "umlauf/rate/internal/OutputGrid.h"
#include "umlauf/rate/internal/PhasedTaps.h"
#include "umlauf/rate/internal/TapRun.h"

namespace umlauf::rate {

/// The outputs of a block as a downsampling filter computes them.
class FilterRun {
 public:
  FilterRun(const OutputGrid& outputs, const PhasedTaps& taps, float gain)
      : outputs_(outputs),
        taps_(taps),
        grid_(outputs.Ratio(), 0),
        back_(taps.Taps() / 2),
        scale_(taps.Scale(gain)) {}

  /// Number of the first sample that output j reads.
  std::int64_t Begin(std::uint64_t j) const { return WindowAt(PositionOf(j), 0).in; }
  /// Writes n outputs from output j on. The planes begin with sample number `origin`.
  void Write(float* out, std::size_t outStride, std::uint64_t j, std::uint64_t n,
             const vekta::TapPlanes& planes, std::int64_t origin = 0) const {
    const TapRun run{grid_, PositionOf(j), n, taps_.Period()};
    const auto windowAt = [&](const GridPosition& position) { return WindowAt(position, origin); };
    const std::size_t cycle = CycleOf(grid_, run.period, taps_.Rows().taps);
    if (cycle != 0) return RunCycle(out, outStride, run, cycle, planes, windowAt, taps_.Rows(), scale_);
    RunTaps(out, outStride, run, planes, windowAt, taps_.Rows(), scale_);
  }

 private:
  GridPosition PositionOf(std::uint64_t j) const { return RatioGrid::Position(outputs_.Position(j)); }
  vekta::TapWindow WindowAt(const GridPosition& position, std::int64_t origin) const {
    const std::uint64_t row = (position.part >> 32) * taps_.Step() + 0x80000000u;  // 32 fractional bits
    return {static_cast<std::ptrdiff_t>(static_cast<std::int64_t>(position.whole) - back_ - origin),
            static_cast<std::uint32_t>(row >> 32), 0.0f};
  }

  const OutputGrid& outputs_;
  const PhasedTaps& taps_;
  RatioGrid grid_;
  std::int64_t back_;
  float scale_;
};

}  // namespace umlauf::rate
