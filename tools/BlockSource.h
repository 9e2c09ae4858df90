#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace umlauf::tool {

/// Successive samples: sample i is `samples[i * stride]`, that of further channels lie behind it, one each.
/// Valid until the next read.
struct SampleBlock {
  const float* samples = nullptr;
  std::size_t count = 0;  ///< 0 = the recording has ended
  unsigned stride = 1;
};

/// The `width` channels of a block side by side, without others between them; where they are not, through
/// the buffer. Valid as long as block and buffer.
const float* Contiguous(const SampleBlock& block, unsigned width, std::vector<float>& buffer);

/// One channel of a recording, or all of them side by side, read from start to end block by block: memory
/// does not grow with the length of the file. Failures throw ToolError. Not for several threads.
class BlockSource {
 public:
  virtual ~BlockSource() = default;
  BlockSource(const BlockSource&) = delete;
  BlockSource& operator=(const BlockSource&) = delete;

  double sampleRate() const { return sampleRate_; }                ///< [samples/s], > 0
  double startTime() const { return startTime_; }                  ///< [s] of the first sample
  std::uint64_t frames() const { return frames_; }                 ///< samples in the channel
  unsigned channels() const { return channels_; }                  ///< that the recording has
  unsigned width() const { return width_; }                        ///< channels in a block: 1 or all
  const std::string& channelName() const { return channelName_; }  ///< for people

  /// The next up to `count` samples (fewer only at the end); `count` at least 1.
  virtual SampleBlock Read(std::size_t count) = 0;
  /// Back to the first sample.
  virtual void Rewind() = 0;

 protected:
  BlockSource() = default;

  double sampleRate_ = 0;
  double startTime_ = 0;
  std::uint64_t frames_ = 0;
  unsigned channels_ = 1;
  unsigned width_ = 1;
  std::string channelName_;
};

enum class RawFormat { f32, i16, i32, u32 };

/// What to read of which file.
struct RecordingOptions {
  std::filesystem::path path;
  std::optional<unsigned> channel;    ///< from 1; sound and raw files
  std::optional<std::string> column;  ///< number from 1 (1 is the time) or name; CSV files
  std::optional<RawFormat> raw;       ///< set: the file is headerless samples
  std::optional<double> rate;         ///< [samples/s]; must be given for raw, replaces the time column of CSV
  std::optional<unsigned> channels;   ///< raw; 1 when not given
  bool allChannels = false;           ///< blocks hold every channel, unless one was asked for above
  const char* rateOption = "--rate";  ///< what the option for `rate` is called, for messages
};

/// Opens a recording: raw when asked for, text as CSV, all else through libsndfile.
std::unique_ptr<BlockSource> OpenRecording(const RecordingOptions& options);

// The kinds by themselves; `OpenRecording` has checked that the file is there.
std::unique_ptr<BlockSource> OpenSoundFile(const RecordingOptions& options);
std::unique_ptr<BlockSource> OpenCsvFile(const RecordingOptions& options);
std::unique_ptr<BlockSource> OpenRawFile(const RecordingOptions& options);

/// Throws ToolError when there is no such file, or it is a folder.
void CheckRecordingExists(const std::filesystem::path& path);

/// Index from 0 of the wanted channel; the first one when none was asked for. Throws ToolError when the
/// recording has no such channel.
unsigned ChannelIndex(const RecordingOptions& options, unsigned channels);

}  // namespace umlauf::tool
