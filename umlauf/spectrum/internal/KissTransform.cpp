// The seam with kissfft: transforms of parts of half the size for even sizes, the complex one for odd sizes.

#include <kiss_fft.h>
#include <kiss_fftr.h>

#include <complex>
#include <new>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/spectrum/internal/RealSplit.h"
#include "umlauf/spectrum/internal/TransformBackend.h"

namespace umlauf::spectrum {
namespace {

static_assert(sizeof(kiss_fft_scalar) == sizeof(float) && sizeof(kiss_fft_cpx) == 2 * sizeof(float));

struct PlanDeleter {
  void operator()(void* plan) const noexcept { kiss_fft_free(plan); }
};
template <class Config>
using Plan = std::unique_ptr<std::remove_pointer_t<Config>, PlanDeleter>;

/// Transform of n real samples as one of n/2 complex numbers. That is made of transforms of every fourth,
/// sixteenth ... number, as long as these do not get too short; kissfft does those, QVL the steps around
/// them.
class EvenTransform : public TransformBackend {
 public:
  EvenTransform(std::size_t n, bool withInverse) : half_(n / 2), short_(half_) {
    while (short_ % 4 == 0 && short_ / 4 >= kShortest && steps_ < kMostSteps) {
      short_ /= 4;
      ++steps_;
    }
    forward_.reset(kiss_fft_alloc(static_cast<int>(short_), 0, nullptr, nullptr));
    if (withInverse) inverse_.reset(kiss_fftr_alloc(static_cast<int>(n), 1, nullptr, nullptr));
    complete_ =
        forward_ != nullptr && (inverse_ != nullptr || !withInverse) && split_.Alloc(half_) && MakeTwiddles();
  }
  bool IsComplete() const { return complete_; }
  bool HasInverse() const override { return inverse_ != nullptr; }
  void Forward(const float* samples, std::complex<float>* spectrum) override {
    Transform(reinterpret_cast<const kiss_fft_cpx*>(samples),
              reinterpret_cast<kiss_fft_cpx*>(split_.Packed()), half_, steps_);
    split_.Split(spectrum);
  }
  void Inverse(std::complex<float>* spectrum, float* samples) override {
    kiss_fftri(inverse_.get(), reinterpret_cast<const kiss_fft_cpx*>(spectrum), samples);
  }

 private:
  static constexpr std::size_t kShortest = 32;
  static constexpr unsigned kMostSteps = 12;

  /// Those of all steps, the shortest first: behind a step from n to 4 n numbers stand its 3 n.
  bool MakeTwiddles() {
    if (!quarters_.alloc(half_ - short_ + 1)) return false;
    kiss_fft_cpx* next = quarters_.data();
    for (std::size_t n = short_; n < half_; n *= 4) {
      for (std::size_t q = 1; q <= 3; ++q) {
        for (std::size_t k = 0; k < n; ++k, ++next) {
          const std::complex<float> w = Turned(static_cast<double>(q * k) / static_cast<double>(4 * n));
          *next = {w.real(), w.imag()};
        }
      }
    }
    return true;
  }

  /// The n numbers that lie half_ / n apart.
  void Transform(const kiss_fft_cpx* in, kiss_fft_cpx* out, std::size_t n, unsigned steps) {
    const std::size_t stride = half_ / n;
    if (steps == 0) {
      kiss_fft_stride(forward_.get(), in, out, static_cast<int>(stride));
      return;
    }
    const std::size_t quarter = n / 4;
    for (std::size_t q = 0; q < 4; ++q) Transform(in + q * stride, out + q * quarter, quarter, steps - 1);
    QVL::CombineTransforms(&out->r, &quarters_[quarter - short_].r, quarter);
  }

  std::size_t half_, short_;
  unsigned steps_ = 0;
  RealSplit split_;
  CAlignedMem<kiss_fft_cpx> quarters_;
  Plan<kiss_fft_cfg> forward_;
  Plan<kiss_fftr_cfg> inverse_;
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
