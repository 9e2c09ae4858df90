#pragma once

#include <cstdint>

namespace KxTimeMachine {

/// Sums and differences of 64-bit counts that wrap around instead of overflowing.
constexpr std::int64_t WrappingSum(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}
constexpr std::int64_t WrappingDifference(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

}  // namespace KxTimeMachine
