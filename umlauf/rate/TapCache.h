#pragma once

#include <memory>

#include "umlauf/Export.h"

namespace umlauf::rate {

class PhasedTaps;

/// The taps that a filter object keeps re-ordered for its last ratio. A copy of the object begins without
/// them and arranges its own.
class UMLAUF_API TapCache {
 public:
  TapCache();
  TapCache(const TapCache&);
  TapCache& operator=(const TapCache& other);
  ~TapCache();

  /// Null when there is no memory for them.
  PhasedTaps* Get();
  /// Drops them: another table may lie where the last one was.
  void Forget();

 private:
  std::unique_ptr<PhasedTaps> taps_;
};

}  // namespace umlauf::rate
