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
  /// At most kScanned until the next `MoveTo`.
  void Add(std::int64_t samples, double value) {
    samples_[count_] = samples;
    values_[count_++] = static_cast<float>(value);
  }
  /// The same for pulse k behind those that were added, which counts once `Keep` has kept it.
  void Put(std::size_t k, std::int64_t samples, double value) {
    samples_[count_ + k] = samples;
    values_[count_ + k] = static_cast<float>(value);
  }
  void Keep(std::size_t count) { count_ += count; }
  void MoveTo(CDzPulsListe& list) {
    const std::size_t count = count_;
    count_ = 0;
    if (count == 0) return;
    PulsEntry* const entries = list.Extend(count, values_[count - 1]);
    for (std::size_t i = 0; i < count; ++i) {
      const auto samples = static_cast<std::uint64_t>(samples_[i]);
      if (entries == nullptr) {
        list.AddEntry(samples, values_[i]);  // as far as there is memory
      } else {
        entries[i].SetNrSamples(samples);
        entries[i].SetValue(values_[i]);
      }
    }
  }

 private:
  std::size_t count_ = 0;
  std::array<std::int64_t, kScanned> samples_;
  std::array<float, kScanned> values_;
};

}  // namespace umlauf::encoder
