#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/platform/basis/CAlignedMem.h"

namespace umlauf::spectrum {
class TransformBackend;
}

/// Discrete Fourier transform of n real samples in single precision, with its two buffers:
///
///     X[k] = Σ x[i] exp(−2πj k i / n),  k = 0 … n/2            Forward
///     x[i] = 1/n Σ X[k] exp(+2πj k i / n) over all n bins      Inverse
///
/// where the bins above n/2 are the conjugates of those below. Write into one buffer, transform, read the
/// other. Sizes without other prime factors than 2, 3 and 5 are fast, even ones most of all; a large prime
/// takes time in proportion to n².
///
/// Transforming allocates nothing. Movable. One object is used by one thread at a time; several objects, also
/// of one size, work on several threads.
class UMLAUF_API CRealTransform {
 public:
  static constexpr std::size_t kMaxSize = std::size_t{1} << 28;

  CRealTransform();
  /// For n samples, 1 ≤ n ≤ kMaxSize. The inverse takes some memory of its own, so it is there on request.
  explicit CRealTransform(std::size_t n, bool withInverse = false);
  ~CRealTransform();
  CRealTransform(CRealTransform&& other) noexcept;
  CRealTransform& operator=(CRealTransform&& other) noexcept;

  /// False when the size cannot be had; only the destructor and assignment may then be called.
  bool IsValid() const { return backend_ != nullptr; }
  std::size_t Size() const { return size_; }
  /// n/2 + 1.
  std::size_t Bins() const { return size_ / 2 + 1; }

  /// The samples, [Size()], and the bins, [Bins()]; 128-byte aligned.
  float* Samples() { return samples_.data(); }
  const float* Samples() const { return samples_.data(); }
  std::complex<float>* Spectrum() { return reinterpret_cast<std::complex<float>*>(spectrum_.data()); }
  const std::complex<float>* Spectrum() const {
    return reinterpret_cast<const std::complex<float>*>(spectrum_.data());
  }

  /// Samples to spectrum. The samples stay.
  void Forward();
  /// Spectrum to samples; the spectrum is lost. The imaginary parts of bin 0 and, for even n, of bin n/2 do
  /// not count. Nothing without the inverse.
  void Inverse();

  /// The least fast even size of at least n: a product of 2, 3 and 5. At most kMaxSize.
  static std::size_t FastSize(std::size_t n);

 private:
  std::size_t size_ = 0;
  CAlignedMem<float> samples_;
  CAlignedMem<float> spectrum_;
  std::unique_ptr<umlauf::spectrum::TransformBackend> backend_;
};
