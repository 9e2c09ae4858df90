#pragma once

#include <new>
#include <stdexcept>
#include <utility>

// What the library does where memory cannot be had: nothing is thrown across its interface. A function that
// returns a result tells the failure there; a text, a list or a copy that cannot be made is empty; an object
// that was to be changed stays as it was. Everything that allocates through the standard library goes
// through what is here.

namespace umlauf {

/// Runs an action that may allocate: true when it came to its end, false when it found no memory. What it
/// had changed by then is its own to take back.
template <class Action>
bool HadMemory(Action&& action) {
  try {
    std::forward<Action>(action)();
    return true;
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {  // more than a container can ever hold
  }
  return false;
}

/// The result of an action that may allocate; `otherwise` when it found no memory.
template <class Result, class Action>
Result WithMemory(Result otherwise, Action&& action) {
  HadMemory([&] { otherwise = std::forward<Action>(action)(); });
  return otherwise;
}

/// A container or text as a member of a class that copies: where there is no memory, the copy is empty.
template <class Container>
struct QuietCopy : Container {
  using Container::Container;
  QuietCopy() = default;
  QuietCopy(const QuietCopy& other) : Container() { *this = other; }
  QuietCopy(QuietCopy&&) noexcept = default;
  QuietCopy& operator=(const QuietCopy& other) {
    if (!HadMemory([&] { Container::operator=(other); })) this->clear();
    return *this;
  }
  QuietCopy& operator=(QuietCopy&&) noexcept = default;
};

}  // namespace umlauf
