#pragma once

#include <cstdint>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf/spectrum/SpectrogramStream.h"

/// The spectrogram of a signal of any length as a curve array: a curve over Hz for each segment, at the time
/// [s] of the segment's middle on the array axis. In files the curves are not quantised.
///
/// Where the array may have so many curves only, successive segments share a curve, twice as many each time
/// the room is used up: the mean of their powers, at the middle of their times. Memory goes by the curves,
/// not by the signal. Segments with samples that are no finite numbers do not count; a curve that has no
/// others is there with an empty span. Blocks of any size give the same array to the bit.
///
/// Movable. One object is used by one thread at a time.
class UMLAUF_API CSpectrogramBuilder {
 public:
  /// rate [samples/s] > 0, startTime [s] of the first sample; 0 for maxCurves: a curve for each segment.
  explicit CSpectrogramBuilder(const SpectrumSettings& settings, double rate, SpectrumScaling scaling,
                               std::size_t maxCurves = 0, double startTime = 0.0);

  /// False for settings or a rate that cannot be used and without memory; all functions then do nothing.
  bool IsValid() const { return stream_.IsValid() && !rows_.empty(); }
  /// Takes n samples more. False when there is no memory; what was there stays, the rest of the samples is
  /// lost.
  bool Process(const float* x, std::uint64_t n);
  /// Segments so far, and how many of them share a curve.
  std::uint64_t Segments() const { return segments_; }
  std::uint64_t SegmentsPerCurve() const { return perCurve_; }
  /// Starts a new signal.
  void Restart();
  /// Moves the curves into `out`, in place of what it held, with the units of all axes for samples in `unit`,
  /// and starts a new signal. False, with no curves in `out`, before the first segment is complete and when
  /// there is no memory.
  bool Finish(CSigCurveArray& out, const CMeasuringUnit& unit = CMeasuringUnit());

  /// The spectrogram of a whole curve (of an extended one its valid span), whose x is in seconds; name and
  /// unit are taken along. A curve that is shorter than a segment is one segment. False as above and for a
  /// curve without samples or step.
  static bool OfCurve(const CSigCurve& signal, SpectrumSettings settings, SpectrumScaling scaling,
                      CSigCurveArray& out);

 private:
  bool Take(const float* row);
  bool CloseCurve();
  void Join();
  float Middle(std::uint64_t first, std::uint64_t end) const;

  CSpectrogramStream stream_;
  SpectrumScaling scaling_;
  bool root_;  ///< values go with the root of powers
  std::size_t maxCurves_;
  std::uint64_t chunk_;  ///< samples that are transformed at a time
  double startTime_;
  std::uint64_t segments_ = 0, perCurve_ = 1;
  CAlignedMem<float> rows_;    ///< of a chunk
  CAlignedMem<float> sum_;     ///< of the powers over the segments of the curve in progress
  std::uint64_t begun_ = 0;    ///< segments in it
  std::uint64_t counted_ = 0;  ///< those of them that count
  CSigCurveArray curves_;
  std::vector<std::uint64_t> weights_;  ///< segments that count in each curve
};
