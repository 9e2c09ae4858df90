#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "umlauf/recording/BlockSource.h"
#include "umlauf_io/RecordingFailure.h"
#include "umlauf_io/RecordingFormat.h"
#include "umlauf_io/internal/ByteStream.h"

namespace umlauf::io {

/// One channel of a recording.
struct Channel {
  unsigned number = 0;  ///< from 1; of a table that of its column
  std::string name;     ///< for people
  std::string unit;     ///< that the recording tells; may be empty
};

/// One format of recordings: frames from start to end, as they lie in the file. Throws Error.
class FrameReader {
 public:
  virtual ~FrameReader() = default;
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  double rate() const { return rate_; }    ///< [samples/s], > 0
  double start() const { return start_; }  ///< [s] of the first frame
  const std::optional<std::uint64_t>& frames() const { return frames_; }
  const std::vector<Channel>& channels() const { return channels_; }  ///< that a frame holds
  unsigned recordingChannels() const { return recordingChannels_; }
  const std::string& name() const { return name_; }
  const std::string& format() const { return format_; }
  const RecordingWarnings& warnings() const { return warnings_; }

  /// The next frames, `count` at most; none at the end.
  virtual SampleBlock Read(std::size_t count) = 0;
  /// Back to the first frame; false when that is not possible.
  virtual bool Rewind() = 0;
  /// Passes over frames.
  virtual void Skip(std::uint64_t frames);
  /// Whether that is faster than to read them.
  virtual bool SkipsFast() const { return false; }

 protected:
  explicit FrameReader(std::string name) : name_(std::move(name)) {}

  /// Keeps a warning; each code once.
  void Warn(const char* code, const std::string& text);
  /// Channels that are called "channel 1 of n" and so on.
  void NumberChannels(unsigned count);

  double rate_ = 0, start_ = 0;
  std::optional<std::uint64_t> frames_;
  std::vector<Channel> channels_;
  unsigned recordingChannels_ = 1;
  std::string name_, format_;
  RecordingWarnings warnings_;
};

std::unique_ptr<FrameReader> OpenSoundFile(std::unique_ptr<ByteStream> stream);
std::unique_ptr<FrameReader> OpenTable(std::unique_ptr<ByteStream> stream, const RecordingFormat& format);
std::unique_ptr<FrameReader> OpenRaw(std::unique_ptr<ByteStream> stream, const RecordingFormat& format);

}  // namespace umlauf::io
