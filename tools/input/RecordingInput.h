#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/FilePath.h"
#include "umlauf/rotation/RotationWarning.h"
#include "umlauf_io/RecordingSource.h"

namespace umlauf::tool {

/// What to read of which file, as the command line tells it.
struct RecordingOptions {
  FilePath path;
  std::optional<unsigned> channel;    ///< from 1; sound and raw files
  std::optional<std::string> column;  ///< number from 1 (1 is the time) or name; CSV files
  std::optional<RawSamples> raw;      ///< set: the file is headerless samples
  std::optional<double> rate;         ///< [samples/s]; must be given for raw, replaces the time column of CSV
  std::optional<unsigned> channels;   ///< raw; 1 when not given
  std::vector<unsigned> channelList;  ///< in place of the one above, where not empty
  std::vector<std::string> columnList;  ///< likewise
  bool allChannels = false;             ///< blocks hold every channel, unless one was asked for above
  const char* rateOption = "--rate";    ///< what the option for `rate` is called, for messages
  std::optional<double> from, to;       ///< [s] only this part
  double scale = 1, offset = 0;         ///< samples become sample * scale + offset
  std::string unit;                     ///< of the samples
  bool rewindable = true;               ///< pipes go through a temporary file, to be read again
};

/// Throws ToolError when the part ends before it begins.
void CheckSection(const RecordingOptions& options);

/// The format for the library. Throws ToolError for options that contradict each other.
RecordingFormat FormatOf(const RecordingOptions& options);

/// Opens a recording: raw when asked for, text as CSV, all else through libsndfile. Throws ToolError.
std::unique_ptr<CRecordingSource> OpenRecording(const RecordingOptions& options);

/// Ends the program with what the library could not do, and what to do about it.
[[noreturn]] void FailWith(const RecordingFailure& failure, const RecordingOptions& options);

/// Adds what is doubtful about pulses of a recording with this start time [s].
void Add(const std::vector<RotationWarning>& doubts, double startTime, RecordingWarnings& warnings);

/// One line on standard error for each thing that people should know about a recording.
void PrintWarnings(const RecordingWarnings& warnings);

/// As the source reads; what cannot be read throws ToolError.
SampleBlock Read(CBlockSource& source, std::size_t count);
/// Back to the first frame, or ToolError.
void Rewind(CBlockSource& source);

/// The channels of a block side by side, without others between them; where they are not, through the
/// buffer. Valid as long as block and buffer.
const float* Contiguous(const SampleBlock& block, unsigned channels, std::vector<float>& buffer);

}  // namespace umlauf::tool
