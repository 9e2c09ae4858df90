#pragma once

#include <exception>

namespace umlauf::rotation {

/// Does what may ask for memory; false when there is none, and whatever was to be changed stays.
template <class F>
bool HasMemory(F&& change) {
  try {
    change();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace umlauf::rotation
