#include "umlauf/rate/TapCache.h"

#include <new>

#include "umlauf/rate/internal/PhasedTaps.h"

namespace umlauf::rate {

TapCache::TapCache() = default;
TapCache::TapCache(const TapCache&) {}
TapCache& TapCache::operator=(const TapCache& other) {
  if (this != &other) Forget();
  return *this;
}
TapCache::~TapCache() = default;

PhasedTaps* TapCache::Get() {
  if (!taps_) taps_.reset(new (std::nothrow) PhasedTaps);
  return taps_.get();
}

void TapCache::Forget() { taps_.reset(); }

}  // namespace umlauf::rate
