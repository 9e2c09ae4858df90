#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "python/src/Arrays.h"
#include "python/src/Errors.h"
#include "umlauf_io/RecordingSource.h"

namespace umlauf::python {

/// One channel of a recording in a file. It is opened anew by whoever reads it, so that threads do not meet.
class FileChannel {
 public:
  FileChannel(std::filesystem::path path, RecordingFormat format);

  /// Raises why it cannot be opened.
  std::unique_ptr<CRecordingSource> Open() const;

  double rate = 0, startTime = 0;
  std::optional<std::uint64_t> frames;
  CString name, unit, format;
  unsigned number = 0, channels = 0;

 private:
  /// Finds out whether the file has channels or columns.
  std::unique_ptr<CRecordingSource> OpenFirst();
  std::unique_ptr<CRecordingSource> OrWhy(std::unique_ptr<CRecordingSource> source,
                                          RecordingFailure& failure) const;

  std::filesystem::path path_;
  RecordingFormat format_;
};

}  // namespace umlauf::python
