#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "umlauf/Export.h"
#include "umlauf/pulses/FueGroeListe.h"

/// One step of a stepwise reference variable: a value that holds over a stretch of samples. A plain value
/// whose 24 bytes are its flat form.
class UMLAUF_API CFueGroeHop {
 public:
  CFueGroeHop() = default;
  CFueGroeHop(std::uint64_t samples, float value) : value_(value), samples_(samples) {}

  void Set(float value, std::uint64_t samples) {
    value_ = value;
    samples_ = samples;
  }
  float Value() const { return value_; }
  void SetValue(float value) { value_ = value; }
  /// First sample of the stretch.
  std::uint64_t StartSample() const { return start_; }
  void SetStartSample(std::uint64_t sample) { start_ = sample; }
  std::uint64_t NrSamples() const { return samples_; }
  void SetNrSamples(std::uint64_t samples) { samples_ = samples; }
  bool Covers(std::uint64_t sample) const { return sample >= start_ && sample - start_ < samples_; }

  /// Samples times value.
  double Produkt() const { return static_cast<double>(samples_) * static_cast<double>(value_); }
  /// Merges another hop: the value becomes the mean of both, weighted with their samples, which add up; the
  /// start stays. Without any samples there is no mean and the value is not a number.
  CFueGroeHop& operator+=(const CFueGroeHop& other) {
    const double product = other.Produkt() + Produkt();
    samples_ += other.samples_;
    value_ = static_cast<float>(product / static_cast<double>(samples_));
    return *this;
  }

 private:
  friend struct CFueGroeHopLayout;

  float value_ = 0.0f;
  [[maybe_unused]] std::uint32_t reserved_ = 0;
  std::uint64_t start_ = 0;
  std::uint64_t samples_ = 0;
};

/// The flat form of a hop, checked where it is defined.
struct CFueGroeHopLayout {
  static_assert(std::is_trivially_copyable_v<CFueGroeHop> && std::is_standard_layout_v<CFueGroeHop>);
  static_assert(sizeof(CFueGroeHop) == 24);
  static_assert(offsetof(CFueGroeHop, value_) == 0 && offsetof(CFueGroeHop, reserved_) == 4 &&
                offsetof(CFueGroeHop, start_) == 8 && offsetof(CFueGroeHop, samples_) == 16);
};

/// A reference variable as a run of hops, each starting where the one before ends.
class UMLAUF_API CFueGroeHopListe : public CFueGroeListe<CFueGroeHop> {
 public:
  /// Appends a hop where the last one ends (at sample 0 when there is none).
  CFueGroeHop& AddEntry(std::uint64_t samples, float value) override;
  /// Appends the hops of another list, or of this one, in order.
  void Anhaengen(const CFueGroeHopListe& other);
  CFueGroeHopListe& operator+=(const CFueGroeHopListe& other) {
    Anhaengen(other);
    return *this;
  }
  /// Value at a sample: that of the hop that covers it, behind the last hop that of the last; 0 for an empty
  /// list.
  float WertBei(std::uint64_t sample) const;
  /// Ends the list of a block of `total` samples: forms the average over all hops, weighted with their
  /// samples (the last value when they have none), then fills what is missing to `total` with a hop of the
  /// last value. True when a hop was added; a total of 0 adds none.
  bool ListeAbschliessen(std::uint64_t total);
};
