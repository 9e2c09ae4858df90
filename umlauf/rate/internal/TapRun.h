#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "umlauf/platform/vekta/internal/FilterKernels.h"
#include "umlauf/rate/internal/RatioGrid.h"

namespace umlauf::rate {

/// Longest period that is of use; beyond, lanes cost more than they save.
inline constexpr std::uint32_t kLongestPeriod = 16;

/// A run of outputs on a grid: the position of the first, their number, and a period after which their
/// windows have the same row again, or nearly so (0 where there is none).
struct TapRun {
  const RatioGrid& grid;
  GridPosition first;
  std::uint64_t count;
  std::uint32_t period;
};

/// Samples that a grid passes in a period when the outputs have rows in turn and short cycles, else 0.
inline std::size_t CycleOf(const RatioGrid& grid, std::uint32_t period, std::size_t taps) {
  GridPosition distance;
  if (period > kLongestPeriod) return 0;
  for (std::uint32_t i = 0; i < period; ++i) grid.Advance(distance);
  const bool cycled = distance.part == 0 && vekta::IsCycled(period, distance.whole, taps);
  return cycled ? static_cast<std::size_t>(distance.whole) : 0;
}

/// Writes the outputs of a run that has rows in turn; `distance` from CycleOf.
template <class WindowAt>
void RunCycle(float* out, std::size_t outStride, const TapRun& run, std::size_t distance,
              const vekta::TapPlanes& planes, WindowAt windowAt, const vekta::TapRows& rows, float scale) {
  std::array<vekta::TapWindow, kLongestPeriod> windows;
  GridPosition next = run.first;
  for (std::uint32_t i = 0; i < run.period; ++i) {
    windows[i] = windowAt(next);
    run.grid.Advance(next);
  }
  vekta::CycledDotProducts(out, outStride, {windows.data(), run.period, distance}, run.count, planes, rows,
                           scale);
}

/// Writes `count` outputs that lie `distance` apart, `outStride` floats apart; returns the position behind.
template <class WindowAt>
GridPosition RunLane(float* out, std::size_t outStride, RatioGrid grid, GridPosition position,
                     GridPosition distance, std::uint64_t count, const vekta::TapPlanes& planes,
                     WindowAt windowAt, const vekta::TapRows& rows, float scale) {
  std::array<vekta::TapWindow, 128> windows;
  const bool oneRow = distance.part == 0;  // windows differ in their place only
  for (std::uint64_t done = 0; done < count;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(windows.size(), count - done));
    if (oneRow) {
      const vekta::TapWindow first = windowAt(position);
      const auto step = static_cast<std::ptrdiff_t>(distance.whole);
      for (std::size_t i = 0; i < n; ++i)
        windows[i] = {first.in + static_cast<std::ptrdiff_t>(i) * step, first.row, first.mix};
      position.whole += n * distance.whole;
    } else {
      for (std::size_t i = 0; i < n; ++i) {
        windows[i] = windowAt(position);
        grid.Add(position, distance);
      }
    }
    vekta::DotProducts(out + done * outStride, outStride, windows.data(), n, planes, rows, scale);
    done += n;
  }
  return position;
}

/// Writes the outputs of a run, `outStride` floats apart. `windowAt` makes a window of a position.
///
/// The outputs one period apart, a lane, go together, because they share the loads of their row; one lane
/// follows the other by phase, because neighbours may have one row, and all go in blocks that leave their
/// samples in the first-level cache. The results do not depend on that.
template <class WindowAt>
void RunTaps(float* out, std::size_t outStride, const TapRun& run, const vekta::TapPlanes& planes,
             WindowAt windowAt, const vekta::TapRows& rows, float scale) {
  constexpr std::uint64_t together = 4;  // windows that share a row
  constexpr std::uint64_t block = 2048;  // samples
  struct Lane {
    GridPosition position;
    std::uint64_t output;
  };
  GridPosition next = run.first;
  std::uint64_t left = run.count;
  const std::uint64_t period = run.period;
  if (period > 1 && period <= kLongestPeriod && left >= together * period) {
    std::array<Lane, kLongestPeriod> lanes;
    GridPosition distance;
    for (std::uint64_t i = 0; i < period; ++i) {
      lanes[i] = {next, i};
      run.grid.Advance(next);
      run.grid.Advance(distance);
    }
    const auto lanesEnd = lanes.begin() + static_cast<std::ptrdiff_t>(period);
    std::sort(lanes.begin(), lanesEnd,
              [](const Lane& a, const Lane& b) { return a.position.part < b.position.part; });
    const std::uint64_t most = together * std::max<std::uint64_t>(1, block / (together * distance.whole));
    while (left >= together * period) {
      const std::uint64_t perLane = std::min(most, left / period / together * together);
      for (auto lane = lanes.begin(); lane != lanesEnd; ++lane) {
        lane->position = RunLane(out + lane->output * outStride, period * outStride, run.grid, lane->position,
                                 distance, perLane, planes, windowAt, rows, scale);
        if (lane->output == 0) next = lane->position;
      }
      out += perLane * period * outStride;
      left -= perLane * period;
    }
  }
  RunLane(out, outStride, run.grid, next, run.grid.Step(), left, planes, windowAt, rows, scale);
}

}  // namespace umlauf::rate
