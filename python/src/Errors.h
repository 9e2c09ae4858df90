#pragma once

#include <stdexcept>
#include <string>

#include "umlauf/platform/framework/CString.h"
#include "umlauf_io/RecordingFailure.h"

namespace umlauf::python {

/// Becomes umlauf.Error: what was asked for is in order, but the data do not give it.
struct Error : std::runtime_error {
  explicit Error(const CString& reason) : std::runtime_error(reason.ToUtf8()) {}
};

/// Raises ValueError.
[[noreturn]] void RefuseValue(const std::string& reason);
/// Raises OSError.
[[noreturn]] void FailSystem(const CString& reason);
/// Raises what fits the kind of the failure: OSError, FileNotFoundError, ValueError, MemoryError or
/// umlauf.Error.
[[noreturn]] void Raise(const RecordingFailure& failure);
/// Raises MemoryError unless there is something.
inline void NeedMemory(bool there) {
  if (!there) throw std::bad_alloc();
}

}  // namespace umlauf::python
