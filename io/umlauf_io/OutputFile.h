#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "umlauf_io/Export.h"
#include "umlauf_io/RecordingFailure.h"

/// A file that appears under its name only when it is complete: everything is written to a temporary file
/// beside it, which `Commit` renames and which goes when the object goes without it. A link keeps pointing
/// where it points: its target is what is replaced. "-" is standard output; it and what is no regular file (a
/// device, a pipe) are written directly. Nothing throws: after a failure nothing more is written. Not for
/// several threads at once.
class UMLAUF_IO_API COutputFile {
 public:
  COutputFile() = default;
  ~COutputFile();
  COutputFile(const COutputFile&) = delete;
  COutputFile& operator=(const COutputFile&) = delete;

  /// False when the place cannot be written. An object is opened once. `announce` hears the name of the
  /// temporary file just before there is one, so that a program can remove it when it is interrupted.
  bool Open(const std::filesystem::path& target, void (*announce)(const std::string& temporary) = nullptr);

  const std::filesystem::path& Target() const { return target_; }
  /// Where a library or program that writes by itself puts the content; do not mix with `Write`. The target
  /// itself where it is written directly.
  const std::filesystem::path& Temporary() const { return temporary_; }
  bool IsDirect() const { return direct_; }

  bool Write(std::string_view bytes);
  /// Gives the file its name. False when it could not be written to its end; there is no file then.
  bool Commit();

  const RecordingFailure& Failure() const { return failure_; }

 private:
  bool Note(bool good, int reason);
  bool OpenTemporary(void (*announce)(const std::string& temporary));

  std::filesystem::path target_;
  std::filesystem::path temporary_;
  std::FILE* file_ = nullptr;
  RecordingFailure failure_;
  bool direct_ = false;
  bool committed_ = false;
};
