#pragma once

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace umlauf {

/// Allocator of a vector of plain records whose `resize(n)` leaves new records as the memory is, for whoever
/// writes all of them at once. `resize(n, T())` gives them their initial state.
template <class T>
struct UnfilledAllocator : std::allocator<T> {
  static_assert(std::is_trivially_copyable_v<T>);
  UnfilledAllocator() = default;
  template <class U>
  UnfilledAllocator(const UnfilledAllocator<U>&) noexcept {}
  void construct(T*) noexcept {}
  template <class... Arguments>
  void construct(T* place, Arguments&&... arguments) {
    std::construct_at(place, std::forward<Arguments>(arguments)...);
  }
};

template <class T>
using UnfilledVector = std::vector<T, UnfilledAllocator<T>>;

}  // namespace umlauf
