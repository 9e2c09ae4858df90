#pragma once

#include <cstddef>
#include <vector>

#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/internal/FilterKernels.h"
#include "umlauf/rotation/ShaftAngle.h"

namespace umlauf::orders {

/// Halves the number of steps of frames over angle, low-passed by orders, whatever the speed does: those
/// whose count is even are kept, and count half. Beyond their ends the frames go on with the first and last
/// one. Nothing is allocated after construction.
class StepHalver {
 public:
  static constexpr std::size_t batch = 256;  ///< frames that can be put at a time

  /// Passes up to `pass` and stops from `stop` on, in cycles per kept step. Empty when there is no memory.
  StepHalver(double pass, double stop, unsigned channels);
  bool IsValid() const { return !planes_.empty(); }

  /// Takes n ≤ `batch` frames [n, channels] with their places. `Get` must have given all it had before.
  void Put(const float* frames, const CShaftAngle::Passing* places, std::size_t n);
  void Finish();
  /// Writes the next frames [n, channels] and, unless null, their places; returns n ≤ most.
  std::size_t Get(float* frames, CShaftAngle::Passing* places, std::size_t most);
  void Restart();

 private:
  void Append(const float* frames, const CShaftAngle::Passing* places, std::size_t n);
  void Repeat(const float* frame, CShaftAngle::Passing place);

  unsigned channels_;
  std::size_t half_ = 0, capacity_ = 0;
  CAlignedMem<float> taps_, planes_;
  std::vector<CShaftAngle::Passing> places_;
  std::vector<vekta::TapWindow> windows_;
  std::vector<float> last_;
  std::size_t next_ = 0, held_ = 0;  ///< place that is looked at next; frames held
};

}  // namespace umlauf::orders
