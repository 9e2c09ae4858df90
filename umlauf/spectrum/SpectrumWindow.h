#pragma once

#include <cstddef>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CAlignedMem.h"

/// Shapes of windows, with N the size and u = 2π i / N:
///
/// | shape | w[i] |
/// |---|---|
/// | Rectangle | 1 |
/// | Hann | 0.5 − 0.5 cos u |
/// | Hamming | 0.54 − 0.46 cos u |
/// | Blackman | 0.42 − 0.5 cos u + 0.08 cos 2u |
/// | FlatTop | five cosine terms, for amplitudes that are right to 0.01 dB between two bins |
/// | Kaiser | I0(β √(1 − (2i/N − 1)²)) / I0(β) |
///
/// Sources: F. J. Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform",
/// Proc. IEEE 66 (1978); flat top: ISO 18431-2 with the coefficients of D'Antona and Ferrero.
enum class WindowShape { Rectangle, Hann, Hamming, Blackman, FlatTop, Kaiser };

/// A window of n samples and the factors by which its results are read. Periodic, as spectra need it: sample
/// n would be sample 0 again. A value; safe on several threads while it is not changed.
class UMLAUF_API CSpectrumWindow {
 public:
  CSpectrumWindow() = default;
  /// `beta` is the Kaiser window's and ignored by the others; 0 is the rectangle, 8.6 is near Blackman.
  /// Empty when there is no memory.
  explicit CSpectrumWindow(WindowShape shape, std::size_t n, double beta = 8.6);

  std::size_t Size() const { return static_cast<std::size_t>(samples_.size()); }
  /// [Size()], 128-byte aligned.
  const float* Samples() const { return samples_.data(); }
  /// Σ w and Σ w².
  double Sum() const { return sum_; }
  double SumSquares() const { return sumSquares_; }
  /// Σ w / n: what a sine's amplitude is multiplied by.
  double AmplitudeFactor() const;
  /// n Σ w² / (Σ w)² [bins]: width of the rectangular filter that passes the same noise; 1 for the rectangle.
  double NoiseBandwidth() const;

 private:
  CAlignedMem<float> samples_;
  double sum_ = 0.0;
  double sumSquares_ = 0.0;
};
