#pragma once

#include <complex>
#include <cstddef>
#include <memory>

namespace umlauf::spectrum {

/// The library that transforms, behind one seam: plans for one size and one pair of buffers. The build
/// chooses one implementation of `MakeBackend`.
class TransformBackend {
 public:
  virtual ~TransformBackend() = default;
  virtual bool HasInverse() const = 0;
  /// Keeps the samples.
  virtual void Forward(const float* samples, std::complex<float>* spectrum) = 0;
  /// Not divided by the size; may overwrite the spectrum.
  virtual void Inverse(std::complex<float>* spectrum, float* samples) = 0;
};

/// Plans for n samples and these buffers, which later calls are given again. Their contents may change. Null
/// when there is no memory.
std::unique_ptr<TransformBackend> MakeBackend(std::size_t n, bool withInverse, float* samples,
                                              std::complex<float>* spectrum);

}  // namespace umlauf::spectrum
