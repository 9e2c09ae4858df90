#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <span>

#include "umlauf/Export.h"

/// One section of a recursive filter, of second order or, with b2 = a2 = 0, of first:
///
///     y[i] = b0 x[i] + b1 x[i−1] + b2 x[i−2] − a1 y[i−1] − a2 y[i−2]
struct SosSection {
  double b0 = 1.0, b1 = 0.0, b2 = 0.0;
  double a1 = 0.0, a2 = 0.0;

  bool IsFirstOrder() const { return b2 == 0.0 && a2 == 0.0; }
  /// Output for a lasting input of 1.
  double SteadyGain() const { return (b0 + b1 + b2) / (1.0 + a1 + a2); }
};

/// Sections one behind the other; none pass everything. A value.
class UMLAUF_API SosSections {
 public:
  static constexpr std::size_t kMost = 16;

  SosSections() = default;
  /// The first kMost of the given ones.
  explicit SosSections(std::span<const SosSection> sections);

  std::size_t Count() const { return count_; }
  const SosSection& operator[](std::size_t i) const { return sections_[i]; }
  const SosSection* begin() const { return sections_.data(); }
  const SosSection* end() const { return sections_.data() + count_; }
  /// False, and nothing changed, when there is no room.
  bool Append(const SosSection& section);

  /// Complex response at a frequency in parts of the sample rate (0 to 0.5).
  std::complex<double> Response(double frequency) const;
  /// 20 lg of its magnitude [dB]; −∞ where nothing passes.
  double Gain(double frequency) const;
  /// Whether all poles lie within the unit circle.
  bool IsStable() const;

 private:
  std::array<SosSection, kMost> sections_{};
  std::size_t count_ = 0;
};
