// The seam with FFTW in single precision. Its planner is not for several threads at once, its plans are.

#include <fftw3.h>

#include <mutex>
#include <new>

#include "umlauf/spectrum/internal/RealSplit.h"
#include "umlauf/spectrum/internal/TransformBackend.h"

namespace umlauf::spectrum {
namespace {

std::mutex& Planner() {
  static std::mutex planner;
  return planner;
}

fftwf_complex* Raw(std::complex<float>* spectrum) { return reinterpret_cast<fftwf_complex*>(spectrum); }

fftwf_complex* Pairs(float* samples) { return reinterpret_cast<fftwf_complex*>(samples); }

class FftwTransform : public TransformBackend {
 public:
  // Plans are estimated, not measured: the same one, and so the same digits, in every run. Of an even size
  // the complex transform of the half, whose estimated plans are good, and the step behind it take half the
  // time of the real one.
  FftwTransform(std::size_t n, bool withInverse, float* samples, std::complex<float>* spectrum)
      : isEven_(n % 2 == 0) {
    if (isEven_ && !split_.Alloc(n / 2)) return;
    const std::lock_guard lock(Planner());
    const auto size = static_cast<int>(n);
    forward_ = isEven_
                   ? fftwf_plan_dft_1d(size / 2, Pairs(samples), Raw(split_.Packed()), FFTW_FORWARD,
                                       FFTW_ESTIMATE | FFTW_PRESERVE_INPUT)
                   : fftwf_plan_dft_r2c_1d(size, samples, Raw(spectrum), FFTW_ESTIMATE | FFTW_PRESERVE_INPUT);
    if (withInverse) inverse_ = fftwf_plan_dft_c2r_1d(size, Raw(spectrum), samples, FFTW_ESTIMATE);
    complete_ = forward_ != nullptr && (inverse_ != nullptr || !withInverse);
  }
  FftwTransform(const FftwTransform&) = delete;
  FftwTransform& operator=(const FftwTransform&) = delete;
  ~FftwTransform() override {
    const std::lock_guard lock(Planner());
    if (forward_ != nullptr) fftwf_destroy_plan(forward_);
    if (inverse_ != nullptr) fftwf_destroy_plan(inverse_);
  }
  bool IsComplete() const { return complete_; }
  bool HasInverse() const override { return inverse_ != nullptr; }
  void Forward(const float* samples, std::complex<float>* spectrum) override {
    float* const kept = const_cast<float*>(samples);
    if (!isEven_) return fftwf_execute_dft_r2c(forward_, kept, Raw(spectrum));
    fftwf_execute_dft(forward_, Pairs(kept), Raw(split_.Packed()));
    split_.Split(spectrum);
  }
  void Inverse(std::complex<float>* spectrum, float* samples) override {
    fftwf_execute_dft_c2r(inverse_, Raw(spectrum), samples);
  }

 private:
  bool isEven_;
  RealSplit split_;
  fftwf_plan forward_ = nullptr, inverse_ = nullptr;
  bool complete_ = false;
};

}  // namespace

std::unique_ptr<TransformBackend> MakeBackend(std::size_t n, bool withInverse, float* samples,
                                              std::complex<float>* spectrum) {
  std::unique_ptr<FftwTransform> made(new (std::nothrow) FftwTransform(n, withInverse, samples, spectrum));
  if (made == nullptr || !made->IsComplete()) return nullptr;
  return made;
}

}  // namespace umlauf::spectrum
