#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/basis/CAlignedMem.h"

namespace umlauf::pairs {

/// A point's x and index in one integer that orders as (x, index): points sort without being moved.
using OrderKey = std::uint64_t;

/// x must be a number; -0 and 0 order alike.
inline OrderKey KeyOf(float x, std::size_t index) {
  const auto bits = std::bit_cast<std::uint32_t>(x + 0.0f);
  const std::uint32_t ordered = (bits & 0x80000000u) != 0 ? ~bits : bits | 0x80000000u;
  return OrderKey{ordered} << 32 | static_cast<std::uint32_t>(index);
}
inline std::uint32_t IndexOf(OrderKey key) { return static_cast<std::uint32_t>(key); }
inline bool SameX(OrderKey a, OrderKey b) { return a >> 32 == b >> 32; }

/// Keys of at most 2^32 points by ascending x, equal ones by index. Points for which `use` is false are left
/// out. False when there is no memory or there are too many points.
bool SortedKeys(const SPunkt* points, std::size_t n, bool (*use)(const SPunkt&), CAlignedMem<OrderKey>& keys);

/// Sorts n points by x into the order that the exchange sort gives:
///
///     for i = 1 ... n - 1: for j = 0 ... i - 1: if x[j] > x[i], swap the points
///
/// in O(n log n) (see docs/decisions/exchange-sort-order.md); by these very loops when there is no memory.
void SortAsExchanging(SPunkt* points, std::size_t n);

}  // namespace umlauf::pairs
