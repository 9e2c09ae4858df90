#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace umlauf::tool {

/// Frames of a headerless file, one after the other. Bytes behind the last whole frame are left out. Throws
/// ToolError.
class RawFile {
 public:
  /// `frameSize` [bytes], at least 1.
  RawFile(const std::filesystem::path& path, std::size_t frameSize);

  std::size_t frameSize() const { return frameSize_; }
  std::uint64_t frames() const { return frames_; }
  /// Reads up to `count` frames to where there is room for them; returns their number, 0 at the end.
  std::size_t Read(void* to, std::size_t count);
  void Rewind() { std::rewind(file_.get()); }

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string path_;
  std::unique_ptr<std::FILE, CloseFile> file_;
  std::size_t frameSize_;
  std::uint64_t frames_ = 0;
};

}  // namespace umlauf::tool
