#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>

#include "umlauf/Export.h"

namespace umlauf {

/// Alignment of sample blocks in bytes.
inline constexpr std::size_t kSampleAlignment = 128;

/// Allocates `bytes` bytes, aligned to `kSampleAlignment`, not cleared. Null when there is no memory. 0 bytes
/// is a valid block. Great blocks come in large pages where the system has them: it clears and hands out
/// small ones one by one, which takes longer than to fill them.
UMLAUF_API void* AlignedAlloc(std::size_t bytes) noexcept;
UMLAUF_API void AlignedFree(void* block) noexcept;

/// Bytes of n elements of the given size; the greatest number when they overflow, which no allocation can
/// meet.
constexpr std::size_t BytesFor(std::uint64_t n, std::size_t elementSize) {
  constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
  return n > most / elementSize ? most : static_cast<std::size_t>(n) * elementSize;
}

struct AlignedFreeDeleter {
  void operator()(void* block) const noexcept { AlignedFree(block); }
};

/// Owns an aligned block of plain elements, or nothing.
template <class T>
using AlignedBlock = std::unique_ptr<T[], AlignedFreeDeleter>;

/// A block of n elements, not cleared; null when there is no memory.
template <class T>
AlignedBlock<T> MakeAlignedBlock(std::uint64_t n) noexcept {
  static_assert(std::is_trivially_copyable_v<T>);
  return AlignedBlock<T>(static_cast<T*>(AlignedAlloc(BytesFor(n, sizeof(T)))));
}

}  // namespace umlauf
