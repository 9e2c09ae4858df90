#include "umlauf/spectrum/RealTransform.h"

#include <algorithm>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/spectrum/internal/TransformBackend.h"

CRealTransform::CRealTransform() = default;
CRealTransform::~CRealTransform() = default;
CRealTransform::CRealTransform(CRealTransform&&) noexcept = default;
CRealTransform& CRealTransform::operator=(CRealTransform&&) noexcept = default;

CRealTransform::CRealTransform(std::size_t n, bool withInverse) {
  if (n == 0 || n > kMaxSize) return;
  size_ = n;
  if (!samples_.alloc(n) || !spectrum_.alloc(2 * Bins())) return;
  backend_ = umlauf::spectrum::MakeBackend(n, withInverse, Samples(), Spectrum());
}

void CRealTransform::Forward() { backend_->Forward(Samples(), Spectrum()); }

void CRealTransform::Inverse() {
  if (!backend_->HasInverse()) return;
  Spectrum()[0].imag(0.0f);
  if (size_ % 2 == 0) Spectrum()[size_ / 2].imag(0.0f);
  backend_->Inverse(Spectrum(), Samples());
  QVL::MulFloat(Samples(), Samples(), size_, 1.0f / static_cast<float>(size_));
}

std::size_t CRealTransform::FastSize(std::size_t n) {
  if (n >= kMaxSize) return kMaxSize;
  std::size_t best = kMaxSize;
  for (std::size_t fives = 1; fives < best; fives *= 5) {
    for (std::size_t threes = fives; threes < best; threes *= 3) {
      std::size_t size = 2 * threes;
      while (size < n) size *= 2;
      best = std::min(best, size);
    }
  }
  return best;
}
