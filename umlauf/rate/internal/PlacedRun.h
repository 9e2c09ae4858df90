#pragma once

#include <array>
#include <cstdint>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/rate/internal/StreamKernel.h"
#include "umlauf/rate/internal/TapRun.h"

namespace umlauf::rate {

/// Runs of outputs of a kernel that each have a row of their own. The places of a grid with phases of its own
/// are made once, those of others for a block of outputs at a time.
class PlacedRun {
 public:
  /// For outputs of a kernel on a grid. False without memory.
  bool Make(const RatioGrid& grid, const StreamKernel& kernel) {
    if (grid.Parts() != 0) return MakeCycle(grid, kernel.Rows());
    block_ = grid.Step();
    for (std::size_t n = 1; n < kBlock; n *= 2) grid.Add(block_, GridPosition(block_));
    return true;
  }

  /// Writes the outputs of a run, `outStride` floats apart; `origin` is the sample that the planes begin
  /// with.
  void Write(float* out, std::size_t outStride, const TapRun& run, const vekta::TapPlanes& planes,
             std::int64_t origin, const StreamKernel& kernel, float scale) const {
    run.grid.Parts() != 0 ? WriteCycle(out, outStride, run, planes, origin, kernel, scale)
                          : WriteBlocks(out, outStride, run, planes, origin, kernel, scale);
  }

 private:
  static constexpr std::size_t kBlock = 128;
  static constexpr std::uint64_t kFewOutputs = 128;

  /// Whole turns of the cycle of phases, so many that they are worth a call.
  bool MakeCycle(const RatioGrid& grid, const vekta::TapRows& rows) {
    const std::uint64_t period = grid.Parts();
    turns_ = (kFewOutputs + period - 1) / period * period;
    if (!in_.alloc(turns_) || !row_.alloc(turns_) || !numberOf_.alloc(period)) return false;
    GridPosition position;
    for (std::uint32_t i = 0; i < turns_; ++i) {
      in_[i] = static_cast<std::int32_t>(position.whole);
      row_[i] = static_cast<std::uint32_t>(position.part * rows.stride);
      if (i < period) numberOf_[position.part] = i;
      grid.Advance(position);
    }
    distance_ = static_cast<std::int64_t>(position.whole);
    return true;
  }

  void WriteCycle(float* out, std::size_t outStride, const TapRun& run, vekta::TapPlanes planes,
                  std::int64_t origin, const StreamKernel& kernel, float scale) const {
    std::uint64_t number = numberOf_[run.first.part];
    planes.x += static_cast<std::int64_t>(run.first.whole) + kernel.First() - origin - in_[number];
    for (std::uint64_t left = run.count; left > 0; number = 0, planes.x += distance_) {
      const std::uint64_t n = std::min(left, turns_ - number);
      vekta::PlacedDotProducts(out, outStride, {in_.data() + number, row_.data() + number, nullptr}, n,
                               planes, kernel.Rows(), scale);
      out += n * outStride;
      left -= n;
    }
  }

  void WriteBlocks(float* out, std::size_t outStride, const TapRun& run, const vekta::TapPlanes& planes,
                   std::int64_t origin, const StreamKernel& kernel, float scale) const {
    std::array<std::int32_t, kBlock> in;
    std::array<std::uint32_t, kBlock> row;
    std::array<float, kBlock> mix;
    const vekta::TapRows rows = kernel.Rows();
    GridPosition position = run.first;
    for (std::uint64_t left = run.count; left > 0; run.grid.Add(position, block_)) {
      const std::uint64_t n = std::min<std::uint64_t>(left, kBlock);
      const auto first = static_cast<std::int64_t>(position.whole) + kernel.First() - origin;
      vekta::PlaceTaps({position.part, run.grid.Step().whole, run.grid.Step().part, kernel.Phases(),
                        static_cast<std::uint32_t>(rows.stride)},
                       static_cast<std::int32_t>(first), n, in.data(), row.data(), mix.data());
      vekta::PlacedDotProducts(out, outStride, {in.data(), row.data(), mix.data()}, n, planes, rows, scale);
      out += n * outStride;
      left -= n;
    }
  }

  CAlignedMem<std::int32_t> in_;
  CAlignedMem<std::uint32_t> row_, numberOf_;
  std::uint64_t turns_ = 0;    // outputs whose places are there
  std::int64_t distance_ = 0;  // samples that they pass
  GridPosition block_;         // distance of a block of outputs
};

}  // namespace umlauf::rate
