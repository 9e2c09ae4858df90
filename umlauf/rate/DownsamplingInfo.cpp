#include "umlauf/rate/DownsamplingInfo.h"

#include <numeric>

#include "umlauf/rate/internal/BuiltInKernel.h"

CDownsamplingInfo::CDownsamplingInfo(const coefs_t* table) {
  const coefs_t& source = table != nullptr ? *table : umlauf::rate::BuiltInKernel();
  coefs_ = source.coefs;
  count_ = coefs_ != nullptr ? source.count : 0;
  maxRatio_ = tableMaxRatio_ = source.maxRatio;
  FilterNormBerechnen();
}

bool CDownsamplingInfo::SetDownscale(unsigned d) {
  if (d == 0) return false;
  downscale_ = d;
  maxRatio_ = tableMaxRatio_ / static_cast<float>(d);
  return true;
}

void CDownsamplingInfo::FilterNormBerechnen() {
  if (count_ == 0) return;
  norm_ = static_cast<float>(std::accumulate(coefs_, coefs_ + count_, 0.0) / count_);
}
