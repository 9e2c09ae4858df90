#pragma once

#include <vector>

namespace umlauf::orders {

/// The impulse response of a low-pass filter over output steps: a sinc in a Kaiser window, as a table. Passes
/// up to `pass` and is 90 dB down from `stop` on, both in cycles per step. Source: J. F. Kaiser,
/// "Nonrecursive digital filter design using the I0-sinh window function", Proc. IEEE Int. Symp. Circuits and
/// Systems (1974). Throws std::bad_alloc without memory.
class KaiserSinc {
 public:
  KaiserSinc(double pass, double stop);

  double HalfLength() const { return halfLength_; }  ///< [steps]
  /// Of integral 1; 0 beyond its ends.
  double At(double steps) const;

 private:
  double halfLength_;
  std::vector<double> values_;  ///< from the middle on
};

}  // namespace umlauf::orders
