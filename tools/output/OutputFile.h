#pragma once

#include <fmt/format.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "tools/FilePath.h"
#include "umlauf_io/OutputFile.h"

namespace umlauf::tool {

/// An output of the program: as COutputFile, but what fails throws ToolError, and an interrupt removes the
/// temporary file. Not for several threads.
class OutputFile {
 public:
  explicit OutputFile(const FilePath& target);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::filesystem::path& target() const { return file_.Target(); }
  /// Where a library or program that writes by itself puts the content; do not mix with `Write`.
  const std::filesystem::path& temporary() const { return file_.Temporary(); }
  /// For writers that write through it; what was printed before comes before.
  COutputFile& file();

  void Write(std::string_view bytes);
  template <class... Args>
  void Print(fmt::format_string<Args...> format, Args&&... args) {
    fmt::format_to(std::back_inserter(pending_), format, std::forward<Args>(args)...);
    if (pending_.size() >= flushSize) FlushPending();
  }
  /// As `Print`, of text that is ready.
  void Add(std::string_view text) {
    pending_.append(text.data(), text.data() + text.size());
    if (pending_.size() >= flushSize) FlushPending();
  }
  /// Writes out what is pending and gives the file its name.
  void Commit();

 private:
  static constexpr std::size_t flushSize = 1 << 16;

  void Send(std::string_view bytes);
  void FlushPending();
  void CheckWritten(bool good) const;

  COutputFile file_;
  std::string watched_;  ///< the temporary file, for interrupts
  fmt::memory_buffer pending_;
};

/// The file does not exist yet, or is one that may be replaced by an output: not a folder, not this input.
/// `option` names the culprit in the message.
void CheckOutputPath(const std::string& option, const FilePath& output, const FilePath& input);

}  // namespace umlauf::tool
