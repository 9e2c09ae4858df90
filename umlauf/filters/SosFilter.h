#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/filters/SosSections.h"
#include "umlauf/signal/SigCurve.h"

/// A recursive filter of second-order sections with its state, for signals of any length. Samples come and go
/// in single precision, everything between is in double precision. Blocks of any size give the same outputs
/// to the bit. A sample that is no finite number stays in the state until `Restart`.
///
/// A value: copies go on independently. One object is used by one thread at a time. Nothing allocates.
class UMLAUF_API CSosFilter {
 public:
  CSosFilter() = default;
  explicit CSosFilter(const SosSections& sections) : sections_(sections) {}

  const SosSections& Sections() const { return sections_; }
  /// Filters n samples; `out` may be `in`.
  void Process(float* out, const float* in, std::uint64_t n);
  /// The same in double precision.
  void Process(double* out, const double* in, std::uint64_t n);
  /// The samples of a curve (of an extended one those of its valid span), in place.
  void Process(CSigCurve& curve);
  /// Starts a new signal, before which all was 0.
  void Restart() { Settle(0.0); }
  /// Starts a new signal, before which the input was `value` for ever. Nothing rings when the signal begins
  /// with it.
  void Settle(double value);

 private:
  /// The last and the last but one value in front of a section, or behind the last one.
  struct Past {
    double last = 0.0, before = 0.0;
  };
  template <std::size_t Count, class In, class Out>
  void Run(std::size_t section, const Past& entering, Out* out, const In* in, std::size_t n);
  template <class Sample>
  void RunAll(Sample* out, const Sample* in, std::uint64_t n);

  SosSections sections_;
  std::array<Past, SosSections::kMost + 1> past_{};
};
