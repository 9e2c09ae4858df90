#pragma once

#include <cstdint>
#include <memory>

#include "umlauf_io/RecordingWriter.h"

namespace umlauf::io {

/// One format of recordings to be written. Throws Error.
class FrameWriter {
 public:
  virtual ~FrameWriter() = default;
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  virtual void Write(const float* samples, std::uint64_t frames) = 0;
  virtual void Close() = 0;

 protected:
  FrameWriter() = default;
};

/// 0 for an ending that is none of a sound file; otherwise the format as libsndfile counts them.
int SoundFormat(const std::filesystem::path& name);

std::unique_ptr<FrameWriter> CreateSoundFile(COutputFile& out, const RecordingShape& shape);
std::unique_ptr<FrameWriter> CreateTable(COutputFile& out, const RecordingShape& shape);
std::unique_ptr<FrameWriter> CreateRaw(COutputFile& out, const RecordingShape& shape);

}  // namespace umlauf::io
