#pragma once

#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace umlauf::tool {

/// Ends a subcommand: its text goes to standard error as one line, its code becomes the exit code. The text
/// says what is wrong and what to do about it.
class ToolError : public std::runtime_error {
 public:
  enum Code : int { failure = 1, usage = 2 };

  ToolError(Code code, const std::string& text) : std::runtime_error(text), code_(code) {}
  Code code() const { return code_; }

 private:
  Code code_;
};

/// Something in the world is not as needed (a file, its content).
template <class... Args>
[[noreturn]] void Fail(fmt::format_string<Args...> format, Args&&... args) {
  throw ToolError(ToolError::failure, fmt::format(format, std::forward<Args>(args)...));
}

/// The command line asks for what makes no sense.
template <class... Args>
[[noreturn]] void FailUsage(fmt::format_string<Args...> format, Args&&... args) {
  throw ToolError(ToolError::usage, fmt::format(format, std::forward<Args>(args)...));
}

}  // namespace umlauf::tool
