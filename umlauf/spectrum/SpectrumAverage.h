#pragma once

#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/spectrum/SpectrumScaling.h"
#include "umlauf/spectrum/SpectrumSettings.h"

/// Power spectrum of a signal of any length, averaged over overlapping segments. Blocks of any size give the
/// same spectrum to the bit. Memory does not grow with the signal. Segments with samples that are no finite
/// numbers are left out.
///
/// Source: P. D. Welch, "The use of fast Fourier transform for the estimation of power spectra", IEEE Trans.
/// Audio Electroacoust. 15 (1967).
///
/// Movable. One object is used by one thread at a time. `Process` allocates nothing.
class UMLAUF_API CSpectrumAverage {
 public:
  /// rate [samples/s] > 0.
  explicit CSpectrumAverage(const SpectrumSettings& settings, double rate);
  ~CSpectrumAverage();
  CSpectrumAverage(CSpectrumAverage&& other) noexcept;
  CSpectrumAverage& operator=(CSpectrumAverage&& other) noexcept;

  /// False for settings or a rate that cannot be used and without memory; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Takes n samples more.
  void Process(const float* x, std::uint64_t n);
  /// Segments so far. What does not fill a segment at the end does not count.
  std::uint64_t Segments() const;
  /// Segments that were left out.
  std::uint64_t LeftOut() const;
  /// Starts a new signal.
  void Restart();

  /// The mean over the segments, from 0 Hz to half the sample rate. `unit` is that of the samples. False,
  /// with an empty curve, before the first segment is complete and when there is no memory.
  bool Spectrum(SpectrumScaling scaling, CSigCurve& out, const CMeasuringUnit& unit = CMeasuringUnit()) const;

  /// The spectrum of a whole curve (of an extended one its valid span), whose x is in seconds; name and unit
  /// are taken along. A curve that is shorter than a segment is one segment. False, with an empty curve, for
  /// a curve without samples or step and as above.
  static bool OfCurve(const CSigCurve& signal, SpectrumSettings settings, SpectrumScaling scaling,
                      CSigCurve& out);

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};
