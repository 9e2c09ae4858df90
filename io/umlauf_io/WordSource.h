#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>

#include "umlauf/platform/framework/Types.h"
#include "umlauf_io/Export.h"
#include "umlauf_io/RecordingFailure.h"
#include "umlauf_io/RecordingFormat.h"

/// The 32-bit words of a digital stream, block by block, bit for bit (as floating-point samples they would
/// lose bits). Frames of interleaved channels, all that the stream has. Made by `OpenWords`. Owns the open
/// file. Not for several threads at once.
class UMLAUF_IO_API CWordSource final {
 public:
  ~CWordSource();
  CWordSource(const CWordSource&) = delete;
  CWordSource& operator=(const CWordSource&) = delete;

  /// [words/s] of each channel.
  double SampleRate() const;
  unsigned Channels() const;
  /// Time of the first frame [s].
  double StartTime() const;
  /// Nothing where the length shows only at the end (a pipe).
  std::optional<std::uint64_t> Frames() const;

  /// The next up to `count` frames, preceded by the last `keep` frames of the block before (fewer when it
  /// had fewer). Without a new frame it is empty: the stream has ended, or it failed. Valid until the next
  /// read.
  std::span<const ULONG> Read(std::size_t count, std::size_t keep = 0);
  /// Back to the first frame; false where that is not possible.
  bool Rewind();

  /// Why reading ended before the end; empty when nothing went wrong.
  CString Failure() const;
  /// Whether something did go wrong, also where there is no memory to say what.
  bool HasFailed() const;
  /// What was noticed so far; some of it shows only at the end.
  const RecordingWarnings& Warnings() const;

 private:
  friend UMLAUF_IO_API std::unique_ptr<CWordSource> OpenWords(const std::filesystem::path&,
                                                              const RecordingFormat&, RecordingFailure&);
  struct State;

  explicit CWordSource(std::unique_ptr<State> state);

  std::unique_ptr<State> state_;
};

/// Opens a file or pipe ("-": standard input) of little-endian 32-bit words. Of the format rate,
/// `rawChannels`, `from`, `to` and `rewindable` count; `raw` is u32 or not set. Null when that fails, and
/// `failure` says why.
UMLAUF_IO_API std::unique_ptr<CWordSource> OpenWords(const std::filesystem::path& path,
                                                     const RecordingFormat& format,
                                                     RecordingFailure& failure);
