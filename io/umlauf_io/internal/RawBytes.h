#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "umlauf_io/internal/ByteStream.h"

namespace umlauf::io {

/// Frames of a file without a header, one after the other. Bytes behind the last whole frame are left out.
/// Throws Error.
class RawBytes {
 public:
  /// `frameSize` [bytes], at least 1.
  RawBytes(std::unique_ptr<ByteStream> stream, std::size_t frameSize);

  const std::string& name() const { return stream_->name(); }
  std::size_t frameSize() const { return frameSize_; }
  /// Nothing for a pipe.
  std::optional<std::uint64_t> frames() const;
  /// Bytes behind the last whole frame; of a pipe only known at its end.
  std::size_t oddBytes() const { return oddBytes_; }
  /// What to tell people about them.
  std::string OddBytesText() const;

  /// Reads up to `count` frames to where there is room for them; returns their number, 0 at the end.
  std::size_t Read(void* to, std::size_t count);
  bool Rewind() { return stream_->Seek(0); }
  /// False where frames have to be read to be passed over.
  bool Skip(std::uint64_t frames);

 private:
  std::unique_ptr<ByteStream> stream_;
  std::size_t frameSize_;
  std::size_t oddBytes_ = 0;
};

}  // namespace umlauf::io
