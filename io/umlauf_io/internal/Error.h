#pragma once

#include <fmt/format.h>

#include <exception>
#include <new>
#include <string>
#include <utility>

#include "umlauf_io/RecordingFailure.h"

namespace umlauf::io {

using Kind = RecordingFailure::Kind;

/// How failures travel within this component. None leaves it: what is public runs its work through `Guard`.
struct Error {
  Kind kind;
  std::string text;
};

template <class... Args>
[[noreturn]] void Fail(Kind kind, fmt::format_string<Args...> format, Args&&... args) {
  throw Error{kind, fmt::format(format, std::forward<Args>(args)...)};
}

/// Runs `work`; false when it failed, and `failure` then says why.
template <class Work>
bool Guard(RecordingFailure& failure, Work&& work) noexcept {
  try {
    try {
      work();
      return true;
    } catch (const Error& error) {
      failure = {error.kind, CString::FromUtf8(error.text)};
    } catch (const std::bad_alloc&) {
      failure = {Kind::noMemory, L"there is not enough memory"};
    } catch (const std::exception& error) {
      failure = {Kind::unreadable, CString::FromUtf8(error.what())};
    }
  } catch (...) {
    failure.kind = Kind::noMemory;  // not even for the text
  }
  return false;
}

}  // namespace umlauf::io
