#pragma once

#include <utility>

namespace umlauf {

/// Holds an object that is made once and never destroyed: what lives as long as the process can be used by
/// the destructors of other static objects, whatever their order. For function-local statics.
template <class T>
union Immortal {
  template <class... Args>
  explicit Immortal(Args&&... args) : object(std::forward<Args>(args)...) {}
  ~Immortal() {}
  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;

  T object;
};

}  // namespace umlauf
