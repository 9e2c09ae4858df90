#pragma once

#include <cstdint>
#include <string>

#include "tools/FilePath.h"
#include "tools/output/OutputFile.h"
#include "umlauf_io/RecordingWriter.h"

namespace umlauf::tool {

/// Refuses names whose ending chooses no format, before any work is done for them.
void CheckRecordingName(const std::string& option, const FilePath& target);

/// As CRecordingWriter, but what fails throws ToolError.
class RecordingOutput {
 public:
  RecordingOutput(OutputFile& out, const RecordingShape& shape);

  /// Interleaved channels.
  void Write(const float* samples, std::uint64_t frames);
  /// Completes the content; does not commit it.
  void Close();

 private:
  CRecordingWriter writer_;
};

}  // namespace umlauf::tool
