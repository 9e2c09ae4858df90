#pragma once

#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/spectrum/SpectrumScaling.h"
#include "umlauf/spectrum/SpectrumSettings.h"

/// Short-time spectra of a signal of any length: one row of bins for each segment, scaled as
/// CSpectrumAverage scales them. Blocks of any size give the same rows to the bit. Memory does not grow with
/// the signal.
///
/// Movable. One object is used by one thread at a time. `Process` allocates nothing.
class UMLAUF_API CSpectrogramStream {
 public:
  /// rate [samples/s] > 0.
  explicit CSpectrogramStream(const SpectrumSettings& settings, double rate, SpectrumScaling scaling);
  ~CSpectrogramStream();
  CSpectrogramStream(CSpectrogramStream&& other) noexcept;
  CSpectrogramStream& operator=(CSpectrogramStream&& other) noexcept;

  /// False for settings or a rate that cannot be used and without memory; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Values in a row: length / 2 + 1, in steps of rate / length from 0 Hz on.
  std::size_t Bins() const;
  /// Rows that `Process` writes for n samples more.
  std::uint64_t Rows(std::uint64_t n) const;
  /// Time of the middle of the segment of row r, counted from the start of the signal [s].
  double RowTime(std::uint64_t r) const;
  /// Takes n samples more and writes the rows that they complete, [Rows(n) × Bins()]; returns their number.
  std::uint64_t Process(float* rows, const float* x, std::uint64_t n);
  /// Starts a new signal.
  void Restart();

  /// Gives a curve of [Bins()] samples the axis and the unit of a row, for samples in `unit`. False when
  /// there is no memory.
  bool MakeRow(CSigCurve& row, const CMeasuringUnit& unit) const;

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};
