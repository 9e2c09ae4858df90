#pragma once

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace umlauf::tool {

/// A file that appears under its name only when it is complete: everything is written to a temporary file
/// beside it, which `Commit` renames and which goes when the object goes without it (also by an interrupt).
/// "-" is standard output; it and what is no regular file (a device, a pipe) are written directly. Throws
/// ToolError. Not for several threads.
class OutputFile {
 public:
  explicit OutputFile(std::filesystem::path target);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::filesystem::path& target() const { return target_; }
  /// Where a library or program that writes by itself puts the content; do not mix with `Write`.
  const std::filesystem::path& temporary() const { return temporary_; }

  void Write(std::string_view bytes);
  template <class... Args>
  void Print(fmt::format_string<Args...> format, Args&&... args) {
    fmt::format_to(std::back_inserter(pending_), format, std::forward<Args>(args)...);
    if (pending_.size() >= flushSize) FlushPending();
  }
  /// Writes out what is pending and gives the file its name.
  void Commit();

 private:
  static constexpr std::size_t flushSize = 1 << 16;

  void FlushPending();
  void CheckWritten(bool good) const;

  std::filesystem::path target_;
  std::filesystem::path temporary_;
  std::FILE* file_ = nullptr;
  fmt::memory_buffer pending_;
  bool direct_ = false;
  bool committed_ = false;
};

/// The file does not exist yet, or is one that may be replaced by an output: not a folder, not this input.
/// `option` names the culprit in the message.
void CheckOutputPath(const std::string& option, const std::filesystem::path& output,
                     const std::filesystem::path& input);

}  // namespace umlauf::tool
