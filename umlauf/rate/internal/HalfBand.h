#pragma once

#include <cstdint>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/internal/FilterKernels.h"

namespace umlauf::rate {

/// Halves the rate of planes of samples by a half-band filter: linear phase, output m centred on input 2 m,
/// the gain 1 at 0 Hz. Its pass band ends as far below a quarter of the input rate as its stop band begins
/// above, and all taps an even distance from the centre are 0 but that itself. It keeps the samples that its
/// next output needs, even and odd ones apart.
class HalfBand {
 public:
  /// Taps for a stop band of `decibels` from (0.25 + width / 2) times the input rate on: 2 * `Half()` of them
  /// beside the centre. At most `mostInput` samples a plane come in at once. False without memory.
  bool Make(double decibels, double width, float gain, unsigned planes, std::uint64_t mostInput);

  std::int64_t Half() const { return static_cast<std::int64_t>(half_); }
  /// First and last input of output m.
  std::int64_t First(std::int64_t m) const { return 2 * m - 2 * Half() + 1; }
  std::int64_t Last(std::int64_t m) const { return 2 * m + 2 * Half() - 1; }
  /// First output that an input from `input` on reaches.
  std::int64_t FirstReached(std::int64_t input) const;

  /// Starts with output `output`, with 0 for the inputs before `input`, which is the next one.
  void Start(std::int64_t output, std::int64_t input);
  /// Puts n inputs, `stride` floats apart, behind those of a plane; `Advance` follows when all planes have
  /// them.
  void Append(unsigned plane, const float* in, std::size_t stride, std::uint64_t n);
  /// The same for all planes at once: n frames.
  void AppendFrames(const float* in, std::uint64_t n);
  void Advance(std::uint64_t n) { held_ += n; }
  /// Number of outputs for which the inputs are there.
  std::uint64_t Ready() const;
  /// Writes n outputs of a plane from number `from` on, rounded up to a multiple of `vekta::kConvolved`;
  /// `Drop` follows when all planes have them.
  void Compute(unsigned plane, float* out, std::uint64_t n, std::uint64_t from = 0) const;
  void Drop(std::uint64_t n) { dropped_ += n; }

 private:
  static constexpr unsigned kSplit = 16;  // floats of a pair of frames that are split together

  /// Drops what no output needs any more, when there is no room for n inputs.
  void MakeRoom(std::uint64_t n);
  float* Even(unsigned plane) { return history_.data() + 2 * plane * capacity_; }
  float* Odd(unsigned plane) { return Even(plane) + capacity_; }

  CAlignedMem<float> taps_, history_;
  std::uint64_t half_ = 0, capacity_ = 0;  // of even ones, and of odd ones
  unsigned planes_ = 0;
  float centre_ = 0.5f;
  std::uint64_t held_ = 0, dropped_ = 0;  // inputs in the history; outputs that have been computed of them
};

}  // namespace umlauf::rate
