#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "umlauf/rotation/internal/SamplePreparation.h"
#include "umlauf/rotation/internal/Zigzag.h"

namespace umlauf::rotation {

/// Brings each swing to one scale, as CSwingSource does, block after block. Prepared samples wait for the
/// extreme behind them, scaled ones for their reader.
class SwingScaler {
 public:
  explicit SwingScaler(const SwingScale& scale) : preparation_(scale), zigzag_(scale.smallest) {}

  void Take(const float* samples, std::size_t n, std::size_t stride);
  /// The recording has ended: all samples become ready.
  void End();
  bool Ended() const { return ended_; }

  /// Scaled samples that were not dropped yet.
  std::span<const float> Ready() const { return ready_; }
  /// Drops the first n of them.
  void Drop(std::size_t n);

 private:
  void Follow(std::size_t from);
  void Turn();
  void Scale(std::uint64_t end, float from, float to);
  void Rest(std::uint64_t end, float value);

  SamplePreparation preparation_;
  Zigzag zigzag_;
  std::vector<float> waiting_, ready_;
  std::size_t taken_ = 0;       ///< of those waiting
  std::uint64_t received_ = 0;  ///< prepared samples so far
  std::uint64_t done_ = 0;      ///< of them scaled
  std::uint64_t turns_ = 0;
  float last_[2] = {};               ///< extremes, the last one first
  std::uint64_t positions_[2] = {};  ///< of them
  bool ended_ = false;
};

}  // namespace umlauf::rotation
