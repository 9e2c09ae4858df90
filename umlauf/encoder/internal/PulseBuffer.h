#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "umlauf/encoder/internal/WordScan.h"
#include "umlauf/pulses/DzPulsListe.h"

namespace umlauf::encoder {

/// The pulses of words that were looked at together, on their way into a list.
class PulseBuffer {
 public:
  PulseBuffer() { ends_[0] = 0; }
  /// At most kScanned until the next `MoveTo`.
  void Add(std::int64_t samples, double value) {
    ends_[count_ + 1] = ends_[count_] + samples;
    values_[count_++] = static_cast<float>(value);
  }
  /// Where the pulses behind those that were added are written, which count once `Keep` has kept them: their
  /// values, and the samples of the block behind each.
  float* Values() { return values_.data() + count_; }
  std::int64_t* Ends() { return ends_.data() + count_ + 1; }
  void Keep(std::size_t count) { count_ += count; }
  void MoveTo(CDzPulsListe& list) {
    if (!list.AddPulses(ends_.data(), values_.data(), count_, 0)) {
      for (std::size_t k = 0; k < count_; ++k)  // as far as there is memory
        list.AddEntry(static_cast<std::uint64_t>(ends_[k + 1] - ends_[k]), values_[k]);
    }
    ends_[0] = ends_[count_];
    count_ = 0;
  }

 private:
  std::size_t count_ = 0;
  std::array<std::int64_t, kScanned + 1> ends_;  // the first: where the first pulse begins
  std::array<float, kScanned> values_;
};

}  // namespace umlauf::encoder
