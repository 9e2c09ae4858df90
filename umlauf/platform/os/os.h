#pragma once

// The operating system behind one interface. Nothing outside platform/os includes a system header or asks
// which system it runs on; each system is a folder of its own (posix/, windows/). Where there is no memory
// these functions throw std::bad_alloc, which their callers in the library keep from going further.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace umlauf::os {

/// Value of an environment variable; empty when it is not set.
std::wstring Environment(const char* name);
/// The language that the user wants texts in, as the environment or the system names it ("de_AT.UTF-8",
/// "de-DE"); empty when neither does.
std::wstring UserLanguage();
/// The folder in which the user's programs keep their configuration; empty when the system names none. It
/// need not exist.
std::wstring UserConfigFolder();
/// Creates a folder with all folders above it, for this user alone; true when it is there afterwards.
bool CreateFolders(const std::wstring& path);

/// A path as libraries can hand it to the system, however long it is.
std::wstring SystemPath(const std::wstring& path);

struct OpenMode {
  bool read = true;
  bool write = false;
  bool create = false;
  bool truncate = false;
};

/// An open file with its own position. Closed on destruction. Not shared between threads.
class File {
 public:
  /// Null when it cannot be opened; folders are not files.
  static std::unique_ptr<File> Open(const std::wstring& path, const OpenMode& mode);
  virtual ~File() = default;

  virtual std::size_t Read(void* buffer, std::size_t count) = 0;
  virtual bool Write(const void* buffer, std::size_t count) = 0;
  virtual bool Seek(std::uint64_t position) = 0;
  virtual std::uint64_t Position() const = 0;
  virtual std::uint64_t Length() const = 0;
  virtual bool Flush() = 0;
};

/// [bytes] of a large page where the processor has such.
inline constexpr std::size_t kLargePage = std::size_t{1} << 21;

/// Asks for large pages wherever whole ones fit into a block; does nothing where the system has none.
void WantLargePages(void* block, std::size_t bytes);

/// Raises the calling thread to time-critical priority for the life of the object, where the process may have
/// it.
class TimeCriticalPriority {
 public:
  TimeCriticalPriority();
  ~TimeCriticalPriority();
  TimeCriticalPriority(const TimeCriticalPriority&) = delete;
  TimeCriticalPriority& operator=(const TimeCriticalPriority&) = delete;
  /// False when the system refused: the thread runs as before.
  bool Raised() const { return raised_; }

 private:
  int oldPolicy_ = 0;
  int oldPriority_ = 0;
  bool raised_ = false;
};

}  // namespace umlauf::os
