#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "umlauf/Export.h"

namespace umlauf {

/// Memory for arrays that grow with a recording. Great ones come in large pages where the system has them: it
/// clears and hands out the usual small ones one by one, which takes longer than to fill them. For the same
/// reason blocks of 64 kB to 8 MB that are freed wait for others of about their size, 16 MB of them at most.
/// Throws std::bad_alloc. Safe from every thread.
UMLAUF_API void* AllocateLarge(std::size_t bytes);
UMLAUF_API void FreeLarge(void* block, std::size_t bytes) noexcept;

/// Memory of that kind for containers. Elements that are given no value get none: `resize` leaves numbers as
/// they come.
template <class T>
struct LargeAllocator {
  using value_type = T;

  LargeAllocator() = default;
  template <class U>
  LargeAllocator(const LargeAllocator<U>&) {}

  T* allocate(std::size_t n) {
    if (n > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(AllocateLarge(n * sizeof(T)));
  }
  void deallocate(T* block, std::size_t n) noexcept { FreeLarge(block, n * sizeof(T)); }
  template <class U, class... Args>
  void construct(U* at, Args&&... args) {
    if constexpr (sizeof...(Args) == 0) {
      ::new (static_cast<void*>(at)) U;
    } else {
      ::new (static_cast<void*>(at)) U(std::forward<Args>(args)...);
    }
  }
  friend bool operator==(const LargeAllocator&, const LargeAllocator&) { return true; }
};

template <class T>
using LargeVector = std::vector<T, LargeAllocator<T>>;

}  // namespace umlauf
