// The seam with kissfft: the transform of half the size for even sizes, the complex one for odd sizes.

#include <kiss_fft.h>
#include <kiss_fftr.h>

#include <new>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/spectrum/internal/TransformBackend.h"

namespace umlauf::spectrum {
namespace {

static_assert(sizeof(kiss_fft_scalar) == sizeof(float) && sizeof(kiss_fft_cpx) == 2 * sizeof(float));

struct PlanDeleter {
  void operator()(void* plan) const noexcept { kiss_fft_free(plan); }
};
template <class Config>
using Plan = std::unique_ptr<std::remove_pointer_t<Config>, PlanDeleter>;

class EvenTransform : public TransformBackend {
 public:
  EvenTransform(std::size_t n, bool withInverse)
      : forward_(kiss_fftr_alloc(static_cast<int>(n), 0, nullptr, nullptr)) {
    if (withInverse) inverse_.reset(kiss_fftr_alloc(static_cast<int>(n), 1, nullptr, nullptr));
    complete_ = forward_ != nullptr && (inverse_ != nullptr || !withInverse);
  }
  bool IsComplete() const { return complete_; }
  bool HasInverse() const override { return inverse_ != nullptr; }
  void Forward(const float* samples, std::complex<float>* spectrum) override {
    kiss_fftr(forward_.get(), samples, reinterpret_cast<kiss_fft_cpx*>(spectrum));
  }
  void Inverse(std::complex<float>* spectrum, float* samples) override {
    kiss_fftri(inverse_.get(), reinterpret_cast<const kiss_fft_cpx*>(spectrum), samples);
  }

 private:
  Plan<kiss_fftr_cfg> forward_, inverse_;
  bool complete_ = false;
};

class OddTransform : public TransformBackend {
 public:
  OddTransform(std::size_t n, bool withInverse)
      : n_(n), in_(n), out_(n), forward_(kiss_fft_alloc(static_cast<int>(n), 0, nullptr, nullptr)) {
    if (withInverse) inverse_.reset(kiss_fft_alloc(static_cast<int>(n), 1, nullptr, nullptr));
    complete_ = !in_.empty() && !out_.empty() && forward_ != nullptr && (inverse_ != nullptr || !withInverse);
  }
  bool IsComplete() const { return complete_; }
  bool HasInverse() const override { return inverse_ != nullptr; }
  void Forward(const float* samples, std::complex<float>* spectrum) override {
    for (std::size_t i = 0; i < n_; ++i) in_[i] = {samples[i], 0.0f};
    kiss_fft(forward_.get(), in_.data(), out_.data());
    for (std::size_t k = 0; k <= n_ / 2; ++k) spectrum[k] = {out_[k].r, out_[k].i};
  }
  void Inverse(std::complex<float>* spectrum, float* samples) override {
    in_[0] = {spectrum[0].real(), 0.0f};
    for (std::size_t k = 1; k <= n_ / 2; ++k) {
      in_[k] = {spectrum[k].real(), spectrum[k].imag()};
      in_[n_ - k] = {spectrum[k].real(), -spectrum[k].imag()};
    }
    kiss_fft(inverse_.get(), in_.data(), out_.data());
    for (std::size_t i = 0; i < n_; ++i) samples[i] = out_[i].r;
  }

 private:
  std::size_t n_;
  CAlignedMem<kiss_fft_cpx> in_, out_;
  Plan<kiss_fft_cfg> forward_, inverse_;
  bool complete_ = false;
};

template <class Transform>
std::unique_ptr<TransformBackend> Make(std::size_t n, bool withInverse) {
  std::unique_ptr<Transform> made(new (std::nothrow) Transform(n, withInverse));
  if (made == nullptr || !made->IsComplete()) return nullptr;
  return made;
}

}  // namespace

std::unique_ptr<TransformBackend> MakeBackend(std::size_t n, bool withInverse, float*, std::complex<float>*) {
  return n % 2 == 0 ? Make<EvenTransform>(n, withInverse) : Make<OddTransform>(n, withInverse);
}

}  // namespace umlauf::spectrum
