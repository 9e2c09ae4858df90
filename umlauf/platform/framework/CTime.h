#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <limits>

/// A length of time in whole seconds.
class CTimeSpan {
 public:
  constexpr CTimeSpan() = default;
  template <std::integral Seconds>
  constexpr CTimeSpan(Seconds seconds) : seconds_(seconds) {}  // NOLINT(google-explicit-constructor)
  constexpr CTimeSpan(std::int64_t days, int hours, int minutes, int seconds)
      : seconds_(((days * 24 + hours) * 60 + minutes) * 60 + seconds) {}

  constexpr std::int64_t GetTotalSeconds() const { return seconds_; }
  friend constexpr auto operator<=>(CTimeSpan, CTimeSpan) = default;

 private:
  std::int64_t seconds_ = 0;
};

/// A point in calendar time: whole seconds since 1970-01-01 00:00 UTC, 64 bits wide. Converts from integers
/// but not from floating point, so that a position on some axis is not taken for a time. Sums and differences
/// saturate.
class CTime {
 public:
  constexpr CTime() = default;
  template <std::integral Seconds>
  constexpr CTime(Seconds seconds) : seconds_(seconds) {}  // NOLINT(google-explicit-constructor)

  constexpr std::int64_t GetTime() const { return seconds_; }
  friend constexpr auto operator<=>(CTime, CTime) = default;
  friend constexpr CTime operator+(CTime t, CTimeSpan span) {
    using Limits = std::numeric_limits<std::int64_t>;
    const std::int64_t s = span.GetTotalSeconds();
    if (s > 0 && t.seconds_ > Limits::max() - s) return Limits::max();
    if (s < 0 && t.seconds_ < Limits::min() - s) return Limits::min();
    return t.seconds_ + s;
  }
  friend constexpr CTimeSpan operator-(CTime a, CTime b) {
    using Limits = std::numeric_limits<std::int64_t>;
    if (b.seconds_ < 0 && a.seconds_ > Limits::max() + b.seconds_) return Limits::max();
    if (b.seconds_ > 0 && a.seconds_ < Limits::min() + b.seconds_) return Limits::min();
    return a.seconds_ - b.seconds_;
  }

 private:
  std::int64_t seconds_ = 0;
};

/// Seconds from `start` to `end` (_difftime64), also where they do not fit into 64 bits.
constexpr double TimeDifference(CTime end, CTime start) {
  const auto a = static_cast<std::uint64_t>(end.GetTime());
  const auto b = static_cast<std::uint64_t>(start.GetTime());
  return end >= start ? static_cast<double>(a - b) : -static_cast<double>(b - a);
}
