#pragma once

#include <cmath>
#include <cstdint>

#include "umlauf/platform/vekta/numeric.h"

namespace umlauf::rate {

/// A position in samples: whole + part / parts, with the parts of its grid.
struct GridPosition {
  std::uint64_t whole = 0, part = 0;
};

/// Positions `ratio` apart, without drift: a whole number and a fraction, in parts of a sample that make the
/// distance exact. There are 2^64 parts unless the ratio is a simple fraction.
class RatioGrid {
 public:
  /// ratio above 0 and below 2^52, exact from 2^-11 on. A ratio within rounding of a fraction whose
  /// denominator is at most `maxDenominator` (64.3 is 643 / 10) is taken as that fraction.
  RatioGrid(double ratio, std::uint32_t maxDenominator) {
    parts_ = Denominator(ratio, maxDenominator, 0.0, 0x1p-52);
    if (parts_ == 0) {
      step_ = Position(ratio);
    } else {
      const auto parts = numeric::trunc_sat<std::uint64_t>(ratio * static_cast<double>(parts_) + 0.5);
      step_ = {parts / parts_, parts % parts_};
    }
  }

  /// Smallest q, at most `most`, for which q * x is a whole number to within a tolerance (plus q * x times
  /// the relative one); 0 when there is none.
  static std::uint32_t Denominator(double x, std::uint32_t most, double tolerance, double relative) {
    for (std::uint32_t q = 1; q <= most; ++q) {
      const double product = x * q;
      if (std::fabs(product - std::floor(product + 0.5)) <= tolerance + product * relative) return q;
    }
    return 0;
  }

  /// Number of parts; 0 stands for 2^64.
  std::uint64_t Parts() const { return parts_; }
  const GridPosition& Step() const { return step_; }
  /// A position at x >= 0, to the part below; for grids of 2^64 parts.
  static GridPosition Position(double x) {
    const double whole = std::floor(x);
    return {numeric::trunc_sat<std::uint64_t>(whole),
            numeric::trunc_sat<std::uint64_t>(std::ldexp(x - whole, 64))};
  }
  double Fraction(const GridPosition& position) const {
    const auto part = static_cast<double>(position.part);
    return parts_ == 0 ? std::ldexp(part, -64) : part / static_cast<double>(parts_);
  }
  void Add(GridPosition& position, const GridPosition& distance) const {
    position.part += distance.part;
    const bool carry = parts_ == 0 ? position.part < distance.part : position.part >= parts_;
    if (carry) position.part -= parts_;
    position.whole += distance.whole + (carry ? 1 : 0);
  }
  void Advance(GridPosition& position) const { Add(position, step_); }

 private:
  std::uint64_t parts_;
  GridPosition step_;
};

}  // namespace umlauf::rate
