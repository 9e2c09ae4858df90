#pragma once

#include <filesystem>
#include <memory>

#include "umlauf/recording/BlockSource.h"
#include "umlauf_io/Export.h"
#include "umlauf_io/RecordingFailure.h"
#include "umlauf_io/RecordingFormat.h"

namespace umlauf::io {
class FrameReader;
}

/// A recording in a file or from a pipe, read block by block: memory does not grow with its length. Made by
/// `OpenRecording`. Owns the open file. Not for several threads at once.
class UMLAUF_IO_API CRecordingSource final : public CBlockSource {
 public:
  ~CRecordingSource() override;
  CRecordingSource(const CRecordingSource&) = delete;
  CRecordingSource& operator=(const CRecordingSource&) = delete;

  double SampleRate() const override;
  /// The channels that were asked for, in the order in which they were.
  unsigned Channels() const override;
  std::optional<std::uint64_t> Frames() const override;
  double StartTime() const override;
  /// "channel 2 of 3", or "column" with its name or number.
  CString ChannelName(unsigned c) const override;
  SampleBlock Read(std::size_t count) override;
  bool Rewind() override;
  bool Seek(std::uint64_t frame) override;
  CString Failure() const override;
  bool HasFailed() const override;

  /// Channels of the recording, also those that were not asked for.
  unsigned RecordingChannels() const;
  /// Number from 1 that channel c has in the recording; of a table the number of its column. 0 for none.
  unsigned ChannelNumber(unsigned c) const;
  /// What kind of file it is, for people: "WAV, 32 bit float".
  CString FormatName() const;
  /// Unit of a channel's samples, as it was given; else the one that the recording tells (a text table in its
  /// header), unless the samples are scaled. May be empty.
  CString Unit(unsigned c = 0) const;
  /// What was noticed so far; some of it shows only at the end of the recording.
  const RecordingWarnings& Warnings() const;

 private:
  friend UMLAUF_IO_API std::unique_ptr<CRecordingSource> OpenRecording(const std::filesystem::path&,
                                                                       const RecordingFormat&,
                                                                       RecordingFailure&);
  struct State;

  CRecordingSource(std::unique_ptr<umlauf::io::FrameReader> reader, const RecordingFormat& format);

  std::unique_ptr<State> state_;
};

/// Opens a recording: raw samples where the format says so, text as a table, all else as a sound file (WAV,
/// FLAC, W64, RF64, MAT and whatever else libsndfile reads). The path "-" is standard input.
///
/// Floating-point sound files keep their numbers, integer ones come as parts of full scale (-1 ... 1); raw
/// integers keep their plain value. A table has the time [s] in its first column; the columns are parted by
/// `;`, tab, `,` or blanks, numbers have a decimal point.
///
/// Returns null when that fails, and `failure` says why.
UMLAUF_IO_API std::unique_ptr<CRecordingSource> OpenRecording(const std::filesystem::path& path,
                                                              const RecordingFormat& format,
                                                              RecordingFailure& failure);
