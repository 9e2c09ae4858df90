#pragma once

#include <complex>
#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/spectrum/SpectrumSettings.h"

/// How an excitation x and a response y belong together, frequency by frequency, averaged over overlapping
/// segments. With the means Sxx, Syy of the powers and Sxy of conj(X) Y:
///
///  - cross spectral density c Sxy / (fs Σ w²), one-sided
///  - coherence |Sxy|² / (Sxx Syy), 0 to 1; 1 from a single segment
///  - transfer function H1 = Sxy / Sxx, for noise on the response, H2 = Syy / Syx, for noise on the
///  excitation
///
/// A quotient by 0 is 0. Segments with samples that are no finite numbers are left out. Blocks of any size
/// give the same results to the bit; memory does not grow with the signals. Source: J. S. Bendat, A. G.
/// Piersol, "Random Data: Analysis and Measurement Procedures".
///
/// Movable. One object is used by one thread at a time. `Process` allocates nothing.
class UMLAUF_API CCrossSpectrumAverage {
 public:
  enum class Estimator { H1, H2 };

  /// rate [samples/s] > 0.
  explicit CCrossSpectrumAverage(const SpectrumSettings& settings, double rate);
  ~CCrossSpectrumAverage();
  CCrossSpectrumAverage(CCrossSpectrumAverage&& other) noexcept;
  CCrossSpectrumAverage& operator=(CCrossSpectrumAverage&& other) noexcept;

  /// False for settings or a rate that cannot be used and without memory; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Takes n simultaneous samples more of both signals.
  void Process(const float* x, const float* y, std::uint64_t n);
  std::uint64_t Segments() const;
  /// Segments that were left out.
  std::uint64_t LeftOut() const;
  void Restart();

  // Results, from 0 Hz to half the sample rate. False, with empty curves, before the first segment is
  // complete and when there is no memory.
  /// Real and imaginary part.
  bool CrossDensity(CSigCurve& real, CSigCurve& imaginary) const;
  bool Coherence(CSigCurve& out) const;
  /// Magnitude, and phase [°] from −180 to 180, positive where y leads.
  bool Transfer(Estimator estimator, CSigCurve& magnitude, CSigCurve& phase) const;

 private:
  struct Engine;
  template <class Value>
  bool Fill(CSigCurve& first, CSigCurve* second, Value value) const;
  std::unique_ptr<Engine> engine_;
};
