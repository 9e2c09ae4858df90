#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/filters/SosFilter.h"
#include "umlauf/platform/basis/CAlignedMem.h"

/// Filters a signal of any length forward and backward, block by block: the output of ZeroPhase::Filter over
/// the whole signal, to within 1e-8 of the greatest value that the forward filter gives. The backward filter
/// begins anew for each stretch of output, so far behind it that what came before it has faded away there:
/// `LookAhead` samples, beyond which the magnitudes of the impulse response add up to less than that.
///
/// Output waits for that many samples and comes in stretches of as many. Memory goes by them alone (32 bytes
/// each), not by the signal. A sample that is no finite number stays in the forward filter. One object is
/// used by one thread at a time. `Process` and `Flush` allocate nothing.
class UMLAUF_API CZeroPhaseStream {
 public:
  /// Filters that fade more slowly cannot be run in stretches [samples]: lower the sample rate first.
  static constexpr std::uint64_t kMaxLookAhead = std::uint64_t{1} << 22;

  explicit CZeroPhaseStream(const SosSections& sections);

  /// False for a filter that is not stable or fades too slowly, and without memory; all functions then do
  /// nothing.
  bool IsValid() const { return lookAhead_ != 0; }
  std::uint64_t LookAhead() const { return lookAhead_; }
  /// Samples that `Process` writes at most for n samples more, and `Flush` at the end.
  std::uint64_t MaxOutput(std::uint64_t n) const { return n + 2 * lookAhead_; }
  std::uint64_t MaxFlush() const { return 2 * lookAhead_; }

  /// Takes n samples more and writes what they complete, [MaxOutput(n)], not into the input; returns the
  /// number.
  std::uint64_t Process(float* out, const float* in, std::uint64_t n);
  /// Ends the signal: writes what is left, [MaxFlush()], so that there are as many outputs as inputs; returns
  /// the number. A new signal may follow.
  std::uint64_t Flush(float* out);
  /// Starts a new signal.
  void Restart();

 private:
  void Begin();
  std::uint64_t Forward(float* out, const float* in, std::uint64_t n);
  void Backward(float* out, std::uint64_t n, std::uint64_t skipped);
  void Remember(const float* in, std::uint64_t n);

  CSosFilter forward_, backward_;
  std::uint64_t lookAhead_ = 0;      ///< 0: not valid
  std::uint64_t margin_ = 0;         ///< samples by which the signal is continued at its ends
  CAlignedMem<double> pending_;      ///< went forward and wait for the way back, [2 lookAhead_ + margin_]
  CAlignedMem<double> work_;         ///< the same, reversed
  CAlignedMem<float> first_, last_;  ///< of the signal, [margin_ + 1] each
  std::uint64_t held_ = 0;           ///< in pending_
  std::uint64_t begun_ = 0;          ///< in first_; the forward filter begins when it is full
};
