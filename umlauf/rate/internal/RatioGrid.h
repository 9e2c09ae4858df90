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
///
/// A ratio is mostly one of two rates, and rounded: 8000 / 5333 as a number lies a trace below the fraction,
/// and output 15,999 would come a trace before sample 24,000, where there is none. So a ratio within rounding
/// of a fraction is that fraction.
class RatioGrid {
 public:
  RatioGrid() = default;
  /// ratio above 0 and below 2^52, exact from 2^-11 on. A fraction whose denominator is at most
  /// `maxDenominator` (64.3 is 643 / 10) gives the parts. Others up to 2^22 have 2^64 of them, and the step
  /// is rounded up: what falls on a sample by the fraction never comes before it.
  RatioGrid(double ratio, std::uint32_t maxDenominator) {
    const std::uint64_t q = FractionOf(ratio);
    if (q == 0) {
      step_ = Position(ratio);
      return;
    }
    const auto p = numeric::trunc_sat<std::uint64_t>(ratio * static_cast<double>(q) + 0.5);
    if (q <= maxDenominator) parts_ = q;
    step_ = {p / q, parts_ != 0 ? p % q : ShareAbove(p % q, q)};
  }

  /// This grid with steps 2^halvings times as short, halvings < 40. It has parts of its own where they are at
  /// most `maxDenominator`, else 2^64; this one has a denominator of at most 2^22, or 2^64 parts.
  RatioGrid Shortened(unsigned halvings, std::uint32_t maxDenominator) const {
    RatioGrid grid;
    if (parts_ == 0) {
      const std::uint64_t low = halvings == 0 ? 0 : step_.whole << (64 - halvings);
      grid.step_ = {step_.whole >> halvings, (step_.part >> halvings) | low};
      return grid;
    }
    std::uint64_t p = step_.whole * parts_ + step_.part, q = parts_;
    for (; halvings > 0 && p % 2 == 0; --halvings) p /= 2;
    q <<= halvings;
    if (q <= maxDenominator) {
      grid.parts_ = q;
      grid.step_ = {p / q, p % q};
      return grid;
    }
    grid.step_.whole = p / q;
    std::uint64_t rest = p % q;
    for (int bit = 0; bit < 64; ++bit) {
      rest *= 2;
      grid.step_.part = grid.step_.part * 2 + (rest >= q ? 1 : 0);
      if (rest >= q) rest -= q;
    }
    return grid;
  }

  /// Denominator of the simplest fraction within rounding of x, at most 2^22; 0 when there is none. Goes
  /// through the convergents of its continued fraction.
  static std::uint64_t FractionOf(double x) {
    double rest = x, q = 1.0, before = 0.0;
    for (int i = 0; i < 40 && q <= 0x1p22; ++i) {
      const double product = x * q;
      if (std::fabs(product - std::floor(product + 0.5)) <= product * 0x1p-52) {
        return numeric::trunc_sat<std::uint64_t>(q);
      }
      const double fraction = rest - std::floor(rest);
      if (!(fraction > 0.0)) break;
      rest = 1.0 / fraction;
      const double next = std::floor(rest) * q + before;
      before = q;
      q = next;
    }
    return 0;
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
  /// Where in its sample a position lies that is `count` steps in front of a whole one, and how many samples
  /// that one is behind this sample.
  GridPosition InFront(std::uint64_t count, std::uint64_t& samples) const {
    GridPosition length;
    for (GridPosition doubled = step_; count > 0; count /= 2) {
      if (count % 2 != 0) Add(length, doubled);
      Add(doubled, GridPosition(doubled));
    }
    samples = length.whole + (length.part != 0 ? 1 : 0);
    return {0, length.part != 0 ? parts_ - length.part : 0};
  }
  /// Moves a position by steps until its whole part is not below `end`; returns the number of steps. The
  /// distance to `end` and a step, in parts, fit in 63 bits.
  std::uint64_t Pass(GridPosition& position, std::uint64_t end) const {
    std::uint64_t count = 0;
    if (position.whole >= end) return count;
    if (parts_ == 0) {
      count = Jump(position, end);
      for (; position.whole < end; ++count) Advance(position);
      return count;
    }
    const std::uint64_t step = step_.whole * parts_ + step_.part;
    const std::uint64_t left = (end - position.whole) * parts_ - position.part;
    count = (left + step - 1) / step;
    const std::uint64_t part = position.part + count * step;
    position.whole += part / parts_;
    position.part = part % parts_;
    return count;
  }

 private:
  /// Moves a position by most of the steps to `end`, for grids of 2^64 parts; returns their number.
  std::uint64_t Jump(GridPosition& position, std::uint64_t end) const {
    const double left = static_cast<double>(end - position.whole) - 1.0;
    const double step = static_cast<double>(step_.whole) + std::ldexp(static_cast<double>(step_.part), -64);
    const double steps = left / step * (1.0 - 0x1p-40) - 1.0;
    if (!(steps >= 1.0)) return 0;
    const auto count = std::uint64_t{numeric::trunc_sat<std::uint32_t>(steps)};
    const std::uint64_t low = (step_.part & 0xFFFFFFFF) * count,
                        high = (step_.part >> 32) * count + (low >> 32);
    Add(position, {step_.whole * count + (high >> 32), step_.part * count});
    return count;
  }
  /// share / whole in parts of 2^64, rounded up; share < whole <= 2^22.
  static std::uint64_t ShareAbove(std::uint64_t share, std::uint64_t whole) {
    const std::uint64_t high = share << 32, low = high % whole << 32;
    return (high / whole << 32) + low / whole + (low % whole != 0 ? 1 : 0);
  }

  std::uint64_t parts_ = 0;
  GridPosition step_;
};

}  // namespace umlauf::rate
