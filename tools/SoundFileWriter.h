#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tools/output/OutputFile.h"

namespace umlauf::tool {

/// Refuses names that end neither in .wav, .w64 nor .flac, before any work is done for them.
void CheckSoundName(const std::string& option, const std::filesystem::path& target);

/// Writes a recording, frame after frame: WAV and W64 with the numbers as they are (float), FLAC with 24
/// bits of full scale (-1 ... 1), chosen by the ending of the name. Throws ToolError. Not for several
/// threads.
class SoundFileWriter {
 public:
  /// `rate` is rounded to what the files can tell, whole samples per second. `frames` are to come.
  SoundFileWriter(OutputFile& out, double rate, unsigned channels, std::uint64_t frames);
  ~SoundFileWriter();
  SoundFileWriter(const SoundFileWriter&) = delete;
  SoundFileWriter& operator=(const SoundFileWriter&) = delete;

  /// Interleaved channels.
  void Write(const float* samples, std::uint64_t frames);
  /// Completes the file; does not commit it.
  void Close();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace umlauf::tool
