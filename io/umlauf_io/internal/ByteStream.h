#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace umlauf::io {

struct CloseFile {
  void operator()(std::FILE* file) const;
};
using FilePointer = std::unique_ptr<std::FILE, CloseFile>;

/// The bytes of a file or a pipe ("-": standard input), from start to end. Throws Error. Not for several
/// threads.
class ByteStream {
 public:
  explicit ByteStream(const std::filesystem::path& path);

  /// Name for messages.
  const std::string& name() const { return name_; }
  /// The first bytes, 4096 at most; only before anything was read.
  std::string_view start() const { return {start_.data(), startSize_}; }
  /// Whether `Rewind` and `Seek` work.
  bool seekable() const { return seekable_; }
  /// [bytes]; nothing for a pipe.
  std::optional<std::uint64_t> length() const { return length_; }
  std::uint64_t position() const { return position_; }

  /// Up to `count` bytes; fewer only at the end.
  std::size_t Read(void* to, std::size_t count);
  /// To a position within the length; false where that is not possible.
  bool Seek(std::uint64_t position);
  /// Copies a pipe to a temporary file and goes on with that; does nothing with a file.
  void MakeSeekable();

 private:
  void Open(const std::filesystem::path& path);

  std::string name_;
  FilePointer file_;
  std::array<char, 4096> start_{};
  std::size_t startSize_ = 0;
  bool seekable_ = false;
  std::optional<std::uint64_t> length_;
  std::uint64_t position_ = 0;
};

}  // namespace umlauf::io
