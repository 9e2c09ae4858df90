#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "umlauf_io/Export.h"
#include "umlauf_io/OutputFile.h"
#include "umlauf_io/RecordingFailure.h"

/// What a recording that is written looks like.
struct RecordingShape {
  double rate = 0;                           ///< [samples/s], > 0
  unsigned channels = 1;                     ///< at least 1
  std::optional<std::uint64_t> frames = {};  ///< that are to come, where they are known
  double startTime = 0;                      ///< [s] of the first frame; only tables tell it
  std::vector<std::string> names = {};       ///< of the channels, UTF-8; only tables tell them
};

namespace umlauf::io {
class FrameWriter;
}

/// Writes a recording, frame after frame, in the format that the ending of the name chooses: .wav and .w64
/// with the numbers as they are (float), .flac with 24 bits of full scale (-1 ... 1), .csv as a table of time
/// and channels, .f32 as raw samples. Nothing throws: after a failure nothing more is written. Not for
/// several threads at once.
class UMLAUF_IO_API CRecordingWriter {
 public:
  CRecordingWriter();
  ~CRecordingWriter();
  CRecordingWriter(const CRecordingWriter&) = delete;
  CRecordingWriter& operator=(const CRecordingWriter&) = delete;

  /// Whether the ending of a name chooses a format.
  static bool IsKnown(const std::filesystem::path& name);
  /// The endings that do, for people.
  static const char* KnownEndings();
  /// The rate that a file of this name can tell for a wanted one: sound files know whole rates only.
  static double ToldRate(const std::filesystem::path& name, double rate);

  /// Begins a recording in a file that is open and outlives this object.
  bool Open(COutputFile& out, const RecordingShape& shape);
  /// Interleaved channels.
  bool Write(const float* samples, std::uint64_t frames);
  /// Completes the content; does not commit the file.
  bool Close();

  const RecordingFailure& Failure() const { return failure_; }

 private:
  std::unique_ptr<umlauf::io::FrameWriter> writer_;
  RecordingFailure failure_;
};
