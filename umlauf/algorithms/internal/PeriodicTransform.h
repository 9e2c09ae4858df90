#pragma once

#include <cstdint>

#include "umlauf/spectrum/RealTransform.h"

namespace umlauf::algorithms {

/// The transform of a whole signal, as one period. A signal whose length is slow to transform is continued to
/// a fast one by a smooth way from its last value back to its first.
class PeriodicTransform {
 public:
  PeriodicTransform(const float* samples, std::uint64_t n);
  bool IsValid() const { return transform_.IsValid(); }
  CRealTransform& Transform() { return transform_; }
  /// Transforms back; the first n samples are those of the signal.
  const float* Back();

 private:
  CRealTransform transform_;
};

}  // namespace umlauf::algorithms
